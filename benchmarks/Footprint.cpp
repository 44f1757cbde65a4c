#include "Footprint.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

int entriesOf(const QString& folder) {
    return static_cast<int>(QDir(folder).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

/// Reads the number from a line such as "Rss:   1024 kB".
double number(const QByteArray& lines, const QByteArray& field) {
    for (const QByteArray& line : lines.split('\n')) {
        if (line.startsWith(field + ':')) {
            return line.mid(field.size() + 1).simplified().split(' ').value(0).toDouble();
        }
    }
    return 0;
}

} // namespace

qint64 Footprint::wakeUps(qint64 processId) {
    const QString threads = u"/proc/%1/task/"_s.arg(processId);
    qint64 sum = 0;
    for (const QString& thread : QDir(threads).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(threads + thread + u"/status"_s);
        const QByteArray lines = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
        sum += static_cast<qint64>(number(lines, "voluntary_ctxt_switches"));
    }
    return sum;
}

Footprint Footprint::of(qint64 processId) {
    const QString process = u"/proc/%1/"_s.arg(processId);
    QFile memory(process + u"smaps_rollup"_s);
    const QByteArray lines = memory.open(QIODevice::ReadOnly) ? memory.readAll() : QByteArray();
    constexpr double kibibytes = 1024;
    return {number(lines, "Rss") / kibibytes, number(lines, "Anonymous") / kibibytes, entriesOf(process + u"fd"_s),
            entriesOf(process + u"task"_s)};
}

Footprint Footprint::ofQuiet(qint64 processId) {
    Footprint least = of(processId);
    for (int i = 0; i < 200; ++i) {
        QThread::msleep(10);
        const Footprint now = of(processId);
        least.resident = std::min(least.resident, now.resident);
        least.anonymous = std::min(least.anonymous, now.anonymous);
        least.descriptors = std::min(least.descriptors, now.descriptors);
        least.threads = std::min(least.threads, now.threads);
    }
    return least;
}

} // namespace orvanel
