#pragma once

#include <optional>
#include <string>

namespace orvanel {

/// Writes a new file with a few words for a later run into an open folder, and waits until it is on the disk. 0, or
/// errno. Blocks; any thread.
int writeNote(int folder, const std::string& name, const std::string& text);

/// The words of the file of that name; none when nothing of that name is there. Empty when it is none that this user's
/// writeNote() made. Throws what the platform says when it cannot be read: another time it may.
std::optional<std::string> readNote(int folder, const std::string& name);

} // namespace orvanel
