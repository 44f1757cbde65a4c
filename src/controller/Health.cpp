#include "controller/Health.h"

#include <algorithm>

namespace orvanel {

Health healthOf(DockerState dockerState, KumaState kuma, const QList<MonitorRow>& monitors) {
    if (dockerState != DockerState::ready || kuma != KumaState::running) {
        return Health::inactive;
    }
    const bool anyDown =
        std::any_of(monitors.begin(), monitors.end(), [](const MonitorRow& row) { return row.status == 0; });
    return anyDown ? Health::someDown : Health::allUp;
}

} // namespace orvanel
