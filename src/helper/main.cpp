// The root helper: started by pkexec after polkit has asked for the password, never by anything else.

#include "helper/CallersWorld.h"
#include "helper/DockerSetup.h"

#include <cstdlib>

using namespace orvanel;

int main(int argc, char* argv[]) {
    SetupRequest request;
    request.words.assign(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (const char* const user = std::getenv("PKEXEC_UID")) {
        request.polkitUser = user;
    }
    if (!leaveTheCallersWorld()) {
        return static_cast<int>(SetupStatus::badCaller);
    }
    return static_cast<int>(setUpDocker(Computer::real(), request));
}
