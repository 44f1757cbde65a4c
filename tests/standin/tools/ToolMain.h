#pragma once

namespace orvanel::standin {

/// The main function of a stand-in executable that plays `tool` ("docker", "brew" or "colima"). It records the call,
/// uses the state in its own folder, and says and does what answer() returns. The exit code is 99 if the stand-in
/// itself cannot go on, for example because of an error in the state file.
int toolMain(const char* tool, int argumentCount, char** arguments);

} // namespace orvanel::standin
