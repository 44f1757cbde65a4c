#include "app/widgets/LocalTime.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QDateTime localTime(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
}

QString written(QTime time) {
    static const QRegularExpression zone(u"[\\s,]*[\\(\\[]?\\bt+\\b[\\)\\]]?"_s);
    QString format = QLocale().timeFormat(QLocale::LongFormat);
    format.remove(zone);
    // Some locales name parts of the day more finely than QLocale can write them.
    format.replace(u'B', u"AP "_s);
    return QLocale().toString(time, format.trimmed());
}

} // namespace

QString timeOfDay(std::chrono::system_clock::time_point time) {
    return written(localTime(time).time());
}

QString dateAndTimeOfDay(std::chrono::system_clock::time_point time, QDate today) {
    const QDateTime local = localTime(time);
    const QString timeText = written(local.time());
    return local.date() == today ? timeText : QLocale().toString(local.date(), QLocale::ShortFormat) + u' ' + timeText;
}

} // namespace orvanel
