#include "controller/CappedLog.h"

namespace orvanel {

QString appendCapped(QString log, const QString& chunk) {
    constexpr qsizetype most = 30000;
    constexpr qsizetype kept = 20000;

    log += chunk;
    if (log.size() <= most) {
        return log;
    }
    const qsizetype start = log.size() - kept;
    return log.sliced(log.at(start).isLowSurrogate() ? start + 1 : start);
}

} // namespace orvanel
