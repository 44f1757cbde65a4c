#include "app/views/MonitorStatus.h"

using namespace Qt::StringLiterals;

namespace orvanel {

MonitorStatus monitorStatus(std::optional<std::int64_t> code) {
    switch (code.value_or(-1)) {
    case 0:
        return {u"Down"_s, Meaning::bad};
    case 1:
        return {u"Up"_s, Meaning::good};
    case 2:
        return {u"Pending"_s, Meaning::pending};
    case 3:
        return {u"Maintenance"_s, Meaning::maintenance};
    default:
        return {u"No data"_s, Meaning::inactive};
    }
}

} // namespace orvanel
