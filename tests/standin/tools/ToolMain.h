#pragma once

namespace orvanel::standin {

/// The main function of a stand-in executable that plays `tool` ("docker", "brew" or "colima"): records the call, works
/// on the state in its own folder, and says and does what answer() tells. Ends with 99 when the stand-in itself
/// cannot go on, such as with a state file that is wrong.
int toolMain(const char* tool, int argumentCount, char** arguments);

} // namespace orvanel::standin
