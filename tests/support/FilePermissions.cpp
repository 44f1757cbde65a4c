#include "support/FilePermissions.h"

#include <QtGlobal>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orvanel::test {

void obeyFilePermissions() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    constexpr __u32 overrides = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH);
    // Programs started from here must not get the rights back either. The kernel would then no longer tell them of
    // their parent's end.
    for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        ::prctl(PR_CAPBSET_DROP, static_cast<unsigned long>(capability));
    }
    if (::syscall(SYS_capget, &header, data) != 0) {
        qFatal("the capabilities of this process cannot be read");
    }
    data[0].effective &= ~overrides;
    data[0].permitted &= ~overrides;
    data[0].inheritable &= ~overrides;
    if (::syscall(SYS_capset, &header, data) != 0) {
        qFatal("the capabilities of this process cannot be changed");
    }
}

} // namespace orvanel::test
