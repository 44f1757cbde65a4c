#pragma once

#include <QString>

namespace orvanel {

class WorkFolder;

/// Puts `fresh`, which is in `work` and on the disk, in the place of `destination`, beside which `work` lies. This
/// takes one step where the file system can exchange two names, otherwise two, of which the work folder keeps a note.
/// What was at `destination` is then in `work` and is deleted with it. If this throws, `destination` is as it was; or,
/// if even that is impossible, what was there is in `work`, which is kept and named in the sentence. Blocks; any
/// thread.
void putInPlace(const QString& fresh, const QString& destination, WorkFolder& work);

/// Undoes the swap in two steps that a crashed run left unfinished in the open work folder `work`. What the swap had
/// taken out of `parent`, an open folder, gets its name back. If that name has been taken meanwhile, it gets the first
/// free one of "NAME-2", "NAME-3", … up to a thousand; an empty folder of that name is removed first. No link is
/// followed, and nothing is moved but what the note names.
///
/// Returns false if what was taken out is still in the work folder, which must then stay. Blocks; any thread.
bool undoSwap(int work, int parent);

} // namespace orvanel
