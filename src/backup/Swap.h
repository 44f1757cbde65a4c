#pragma once

#include <QString>

namespace orvanel {

class WorkFolder;

/// Puts `fresh`, which lies in `work` and is on the disk, in the place of `destination`, beside which `work` lies: in
/// one step where the file system can exchange two names, else in two, of which the work folder keeps a note. What was
/// there is in `work` afterwards and goes with it. When it throws, `destination` is as it was; or, when not even that
/// can be had, what was there is in `work`, which is kept and named in the sentence. Blocks; any thread.
void putInPlace(const QString& fresh, const QString& destination, WorkFolder& work);

/// Undoes the swap in two steps that a crashed run left unfinished in the open work folder `work`: what it had taken
/// out of `parent`, an open folder, goes back under its name or, when that was taken meanwhile, the first of "NAME-2",
/// "NAME-3", … that is free up to a thousand; an empty folder in its place is removed first. No link is followed, and
/// nothing but what the note tells is moved.
///
/// False when what was taken away is still in the work folder, which then must stay. Blocks; any thread.
bool undoSwap(int work, int parent);

} // namespace orvanel
