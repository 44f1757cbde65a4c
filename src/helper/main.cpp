// The root helper: started by pkexec after polkit has asked for the password, never by anything else.

#include "helper/DockerSetup.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace orvanel;

namespace {

/// pkexec hands the caller's limits and open files on. A limit could end a package manager in the middle.
void leaveTheCallersWorld() {
    ::clearenv();
    ::umask(022);
    for (const auto resource : {RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_DATA, RLIMIT_AS, RLIMIT_NPROC}) {
        const rlimit none{.rlim_cur = RLIM_INFINITY, .rlim_max = RLIM_INFINITY};
        ::setrlimit(resource, &none);
    }
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    if (::chdir("/") != 0) {
        std::_Exit(static_cast<int>(SetupStatus::badCaller));
    }
}

} // namespace

int main(int argc, char* argv[]) {
    SetupRequest request;
    request.words.assign(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (const char* const user = std::getenv("PKEXEC_UID")) {
        request.polkitUser = user;
    }
    leaveTheCallersWorld();
    return static_cast<int>(setUpDocker(Computer::real(), request));
}
