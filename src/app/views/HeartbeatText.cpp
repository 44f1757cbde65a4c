#include "app/views/HeartbeatText.h"

#include "app/views/MonitorModel.h"
#include "app/widgets/LocalTime.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {

QString heartbeatText(const Heartbeat& beat, QDate today) {
    QStringList parts;
    if (beat.time()) {
        parts << dateAndTimeOfDay(*beat.time(), today);
    }
    parts << monitorStatus(beat.status()).word;
    if (beat.ping()) {
        parts << pingText(beat.ping());
    }
    return parts.join(u", "_s);
}

QString heartbeatSummary(const Heartbeats& beats) {
    if (beats.isEmpty()) {
        return {};
    }
    constexpr std::int64_t bestFirst[] = {1, 0, 2, 3};
    QStringList counts;
    for (const std::int64_t status : bestFirst) {
        const auto count = std::count_if(beats.begin(), beats.end(),
                                         [status](const Heartbeat& beat) { return beat.status() == status; });
        if (count > 0) {
            counts << u"%1 %2"_s.arg(count).arg(monitorStatus(status).word.toLower());
        }
    }
    return beats.size() == 1 ? u"last heartbeat: "_s + counts.first().section(u' ', 1)
                             : u"last %1 heartbeats: %2"_s.arg(beats.size()).arg(counts.join(u", "_s));
}

} // namespace orvanel
