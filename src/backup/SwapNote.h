#pragma once

#include <string>

namespace orvanel {

/// What a swap in two steps writes down in its work folder before the first of them, so that a later run can undo it:
/// `name` in the folder that holds the work folder is put into the work folder's "replaced", and `fresh` in the work
/// folder then gets its place. It lies where no archive is ever unpacked to.
struct SwapNote {
    std::string fresh;
    std::string name;
};

/// Writes the note into the open work folder, and waits until it is on the disk. 0, or errno. Blocks; any thread.
int writeSwapNote(int work, const SwapNote& note);

/// Undoes the swap that a crashed run left unfinished in the open folder `work`: what it had taken out of `parent`, an
/// open folder, goes back under its name or, when that was taken meanwhile, the first of "NAME-2", "NAME-3", … that is
/// free up to a thousand; an empty folder in its place is removed first. No link is followed, and nothing but what the
/// note tells is moved.
///
/// False when what was taken away is still in the work folder, which then must stay. Blocks; any thread.
bool undoSwap(int work, int parent);

} // namespace orvanel
