#include "app/views/MonitorStatus.h"

namespace orvanel {

MonitorStatus monitorStatus(std::optional<std::int64_t> code) {
    switch (code.value_or(-1)) {
    case 0:
        return {QStringLiteral("Down"), Meaning::bad};
    case 1:
        return {QStringLiteral("Up"), Meaning::good};
    case 2:
        return {QStringLiteral("Pending"), Meaning::pending};
    case 3:
        return {QStringLiteral("Maintenance"), Meaning::maintenance};
    default:
        return {QStringLiteral("No data"), Meaning::inactive};
    }
}

} // namespace orvanel
