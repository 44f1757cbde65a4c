// Feeds any bytes to the reader of the two answers that make up a status page.
#include "Fuzz.h"
#include "statuspage/StatusPageAnswer.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QString keyOf(std::int64_t id) {
    return QString::number(id);
}

/// The simplest page that contains `data`.
QJsonDocument pageOf(const StatusPageData& data) {
    QJsonArray groups;
    for (const MonitorRow& row : data.monitors) {
        const QJsonObject monitor{{u"id"_s, qint64(row.id)}, {u"name"_s, row.name}};
        groups.append(QJsonObject{{u"name"_s, row.group}, {u"monitorList"_s, QJsonArray{monitor}}});
    }
    const QJsonObject config{{u"title"_s, data.title}};
    return QJsonDocument(QJsonObject{{u"config"_s, config}, {u"publicGroupList"_s, groups}});
}

QJsonObject beatOf(std::optional<Heartbeat::Time> time, std::optional<std::int64_t> status,
                   std::optional<std::int64_t> ping) {
    QJsonObject beat;
    if (time) {
        const qint64 seconds = time->time_since_epoch().count();
        beat[u"time"] = QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc()).toString(u"yyyy-MM-dd HH:mm:ss.zzz");
    }
    if (status) {
        beat[u"status"] = qint64(*status);
    }
    if (ping) {
        beat[u"ping"] = qint64(*ping);
    }
    return beat;
}

bool isKnown(std::optional<std::int64_t> status) {
    return status && Heartbeat::isStatus(*status);
}

/// The heartbeats, of which the last is told as the row has it. One of unknown status is not among them.
QJsonArray beatsOf(const MonitorRow& row) {
    QJsonArray beats;
    for (const Heartbeat& beat : row.beats) {
        beats.append(beatOf(beat.time(), beat.status(), beat.ping()));
    }
    std::optional<Heartbeat::Time> time;
    if (isKnown(row.status) && !row.beats.isEmpty()) {
        time = row.beats.fromNewest(0).time();
        beats.removeLast();
    }
    beats.append(beatOf(time, row.status, row.ping));
    return beats;
}

QJsonDocument heartbeatsOf(const StatusPageData& data) {
    QJsonObject beats;
    QJsonObject uptimes;
    for (const MonitorRow& row : data.monitors) {
        beats[keyOf(row.id)] = beatsOf(row);
        if (row.uptime24) {
            uptimes[keyOf(row.id) + u"_24"_s] = *row.uptime24;
        }
    }
    return QJsonDocument(QJsonObject{{u"heartbeatList"_s, beats}, {u"uptimeList"_s, uptimes}});
}

std::optional<QJsonDocument> documentOf(QByteArrayView bytes) {
    const JsonResult result = readJson(HttpAnswer{200, bytes.toByteArray()});
    if (const auto* error = std::get_if<StatusPageError>(&result)) {
        require(error->message.startsWith(u"Could not read the status page"_s), "an error is a sentence");
        return std::nullopt;
    }
    return std::get<QJsonDocument>(result);
}

/// As many as there are bytes, in the order of their times, and the one that `status` and `ping` tell of.
Heartbeats inventedBeats(QByteArrayView bytes, std::optional<std::int64_t> status, std::optional<std::int64_t> ping) {
    const auto block = std::make_shared<Heartbeats::Block>();
    Heartbeat::Time time{std::chrono::seconds(1)};
    for (const char byte : bytes.first(std::min<qsizetype>(bytes.size(), Heartbeats::longest - 1))) {
        const auto value = static_cast<unsigned char>(byte);
        time += std::chrono::seconds(value * value * value);
        const auto response = value % 3 == 0 ? std::nullopt : std::optional<std::int64_t>(value * value);
        block->emplace_back(time, value % 4, response);
    }
    if (isKnown(status)) {
        block->emplace_back(std::nullopt, *status, ping);
    }
    return {block, 0, block->size()};
}

/// Makes a row from each of the first lines, whatever is in it.
StatusPageData inventedData(QByteArrayView input) {
    constexpr std::int64_t tooLargeForDouble = 9007199254740993;
    StatusPageData data{.title = QString::fromUtf8(input.first(input.size() / 2)), .monitors = {}};
    const QByteArrayList lines = input.toByteArray().split('\n');
    for (const QByteArray& line : lines.mid(0, 50)) {
        QByteArrayView rest = line;
        const int has = takeByte(&rest);
        MonitorRow row{.id = data.monitors.size() - 2 + (has % 2 == 0 ? 0 : tooLargeForDouble)};
        if (has / 2 % 2 == 0) {
            row.status = takeByte(&rest) - 100;
        }
        if (has / 4 % 2 == 0) {
            row.ping = tooLargeForDouble * takeByte(&rest);
        }
        if (has / 8 % 2 == 0) {
            row.uptime24 = takeByte(&rest) / 255.0;
        }
        row.beats = inventedBeats(rest, row.status, row.ping);
        row.name = QString::fromUtf8(rest);
        row.group = QString::fromUtf8(rest.first(rest.size() / 2));
        data.monitors << row;
    }
    return data;
}

void checkBeats(const StatusPageData& data) {
    for (const MonitorRow& row : data.monitors) {
        require(row.beats.size() <= 50, "no monitor has more than fifty heartbeats");
        require(!isKnown(row.status) || !row.beats.isEmpty(), "a known status comes from a heartbeat");
        Heartbeat::Time last{};
        for (const Heartbeat& beat : row.beats) {
            require(Heartbeat::isStatus(beat.status()), "each heartbeat has a known status");
            require(!beat.time() || *beat.time() >= last, "heartbeats stand in the order of their times");
            last = beat.time().value_or(last);
        }
    }
}

/// Where beats and times are in no order, the latest may be any of them.
StatusPageResult withoutBeats(StatusPageResult result) {
    if (auto* data = std::get_if<StatusPageData>(&result)) {
        for (MonitorRow& row : data->monitors) {
            row.beats = {};
        }
    }
    return result;
}

} // namespace

/// The input has three parts: the page, the heartbeats, and the material for a well-formed page.
void fuzz(QByteArrayView input) {
    const auto page = documentOf(takePart(&input));
    const auto heartbeats = documentOf(takePart(&input));
    const StatusPageData invented = inventedData(takePart(&input));
    const StatusPageResult told = readStatusPage(pageOf(invented), heartbeatsOf(invented), u"home"_s);
    require(told == StatusPageResult(invented), "a well-formed page is read as it was written");
    if (!page || !heartbeats) {
        return;
    }
    const QString slug = u"home"_s;
    const StatusPageResult result = readStatusPage(*page, *heartbeats, slug);
    if (const auto* data = std::get_if<StatusPageData>(&result)) {
        checkBeats(*data);
        const StatusPageResult again = readStatusPage(pageOf(*data), heartbeatsOf(*data), slug);
        require(withoutBeats(again) == withoutBeats(result), "pages with the same content read the same");
    }
}

} // namespace orvanel::test
