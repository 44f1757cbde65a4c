#include "controller/StatusSummary.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString monitorSummary(const QList<MonitorRow>& monitors) {
    if (monitors.isEmpty()) {
        return u"Uptime Kuma is running"_s;
    }
    const auto count = [&](std::int64_t status) {
        return std::count_if(monitors.begin(), monitors.end(),
                             [status](const MonitorRow& row) { return row.status == status; });
    };
    const auto down = count(0);
    const auto up = count(1);
    if (down == 0) {
        return u"All %1 monitors up"_s.arg(up);
    }
    return u"%1 down, %2 up"_s.arg(down).arg(up);
}

} // namespace

Health healthOf(DockerState dockerState, KumaState kuma, const QList<MonitorRow>& monitors) {
    if (dockerState != DockerState::ready || kuma != KumaState::running) {
        return Health::inactive;
    }
    const bool anyDown =
        std::any_of(monitors.begin(), monitors.end(), [](const MonitorRow& row) { return row.status == 0; });
    return anyDown ? Health::someDown : Health::allUp;
}

QString statusLineOf(const ControllerState& state) {
    if (const std::optional<QString>& operation = operationShown(state)) {
        return *operation;
    }
    switch (state.dockerState) {
    case DockerState::unknown:
        return u"Checking Docker…"_s;
    case DockerState::missing:
        return u"Docker is not installed"_s;
    case DockerState::notRunning:
        return u"Docker is not running"_s;
    case DockerState::ready:
        break;
    }
    switch (state.kuma) {
    case KumaState::stopped:
        return state.isPaused ? u"Uptime Kuma is paused"_s : u"Uptime Kuma is stopped"_s;
    case KumaState::starting:
        return u"Uptime Kuma is starting…"_s;
    case KumaState::error:
        return u"Uptime Kuma has a problem"_s;
    case KumaState::running:
        break;
    }
    return monitorSummary(state.monitors);
}

} // namespace orvanel
