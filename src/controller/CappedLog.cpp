#include "controller/CappedLog.h"

namespace orvanel {

QString appendCapped(QString log, const QString& chunk) {
    constexpr qsizetype kept = 20000;

    log += chunk;
    if (log.size() < cappedLogLimit) {
        return log;
    }
    const qsizetype start = log.size() - kept;
    return log.sliced(log.at(start).isLowSurrogate() ? start + 1 : start);
}

} // namespace orvanel
