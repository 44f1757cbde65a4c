#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

namespace orvanel::test {

/// While this object lives, no file can grow beyond a few bytes, as on a full disk.
class FullDisk {
public:
    FullDisk() {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{.rlim_cur = 16, .rlim_max = m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit m_before{};
};

} // namespace orvanel::test
