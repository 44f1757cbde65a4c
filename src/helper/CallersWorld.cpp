#include "helper/CallersWorld.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvanel {
namespace {

/// What systemd gives a service. A hard limit that is higher stays, and one that cannot be raised, as in some
/// containers.
void raise(decltype(RLIMIT_STACK) resource, rlim_t soft, rlim_t hard) {
    rlimit limit{};
    ::getrlimit(resource, &limit);
    const rlim_t present = limit.rlim_max;
    limit = {.rlim_cur = soft, .rlim_max = std::max(present, hard)};
    if (::setrlimit(resource, &limit) != 0) {
        limit = {.rlim_cur = std::min(soft, present), .rlim_max = present};
        ::setrlimit(resource, &limit);
    }
}

} // namespace

bool leaveTheCallersWorld() {
    ::clearenv();
    ::umask(022);
    for (const auto resource : {RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_DATA, RLIMIT_AS, RLIMIT_NPROC}) {
        raise(resource, RLIM_INFINITY, RLIM_INFINITY);
    }
    constexpr rlim_t stack = rlim_t{8} * 1024 * 1024;
    raise(RLIMIT_STACK, stack, RLIM_INFINITY);
    raise(RLIMIT_NOFILE, 1024, 524'288);
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    return ::chdir("/") == 0;
}

} // namespace orvanel
