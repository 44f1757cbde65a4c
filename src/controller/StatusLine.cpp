#include "controller/StatusLine.h"

#include <algorithm>

namespace orvanel {
namespace {

QString monitorSummary(const QList<MonitorRow>& monitors) {
    if (monitors.isEmpty()) {
        return QStringLiteral("Uptime Kuma is running");
    }
    const auto count = [&](std::int64_t status) {
        return std::count_if(monitors.begin(), monitors.end(),
                             [status](const MonitorRow& row) { return row.status == status; });
    };
    const auto down = count(0);
    const auto up = count(1);
    if (down == 0) {
        return QStringLiteral("All %1 monitors up").arg(up);
    }
    return QStringLiteral("%1 down, %2 up").arg(down).arg(up);
}

} // namespace

QString statusLineOf(const std::optional<QString>& busy, DockerState dockerState, KumaState kuma,
                     const QList<MonitorRow>& monitors) {
    if (busy) {
        return *busy;
    }
    switch (dockerState) {
    case DockerState::unknown:
        return QStringLiteral("Checking Docker…");
    case DockerState::missing:
        return QStringLiteral("Docker is not installed");
    case DockerState::notRunning:
        return QStringLiteral("Docker is not running");
    case DockerState::ready:
        break;
    }
    switch (kuma) {
    case KumaState::stopped:
        return QStringLiteral("Uptime Kuma is stopped");
    case KumaState::starting:
        return QStringLiteral("Uptime Kuma is starting…");
    case KumaState::error:
        return QStringLiteral("Uptime Kuma has a problem");
    case KumaState::running:
        break;
    }
    return monitorSummary(monitors);
}

} // namespace orvanel
