#include "statuspage/StatusPageAnswer.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

struct LatestBeat {
    std::optional<std::int64_t> status;
    std::optional<std::int64_t> ping;
};

/// A number without its fraction; none for anything else, and for numbers that 64 bits cannot hold.
std::optional<std::int64_t> integerOf(const QJsonValue& value) {
    constexpr qint64 inexact = 1;
    if (!value.isDouble()) {
        return std::nullopt;
    }
    // Whole numbers are not read as doubles, which would round large ones.
    if (const qint64 whole = value.toInteger(inexact); whole != inexact) {
        return whole;
    }
    const double truncated = std::trunc(value.toDouble());
    if (!(truncated >= -0x1p63 && truncated < 0x1p63)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(truncated);
}

std::optional<QJsonArray> arrayOfObjects(const QJsonValue& value) {
    if (!value.isArray()) {
        return std::nullopt;
    }
    const QJsonArray array = value.toArray();
    const auto isObject = [](const QJsonValue& element) { return element.isObject(); };
    return std::all_of(array.begin(), array.end(), isObject) ? std::optional(array) : std::nullopt;
}

/// The two objects of a heartbeat answer, by monitor id.
class Heartbeats {
public:
    explicit Heartbeats(const QJsonObject& answer)
        : m_beats(answer[u"heartbeatList"].toObject())
        , m_uptimes(answer[u"uptimeList"].toObject()) {}

    /// Remembered, because an answer may list one monitor many times, each time with the same long list of beats.
    LatestBeat latest(std::int64_t id) {
        const auto known = m_latest.constFind(id);
        if (known != m_latest.cend()) {
            return *known;
        }
        const auto beats = arrayOfObjects(m_beats[QString::number(id)]);
        if (!beats || beats->isEmpty()) {
            return *m_latest.insert(id, {});
        }
        const QJsonObject last = beats->last().toObject();
        return *m_latest.insert(id, {integerOf(last[u"status"]), integerOf(last[u"ping"])});
    }

    std::optional<double> uptime24(std::int64_t id) const {
        const QJsonValue uptime = m_uptimes[QString::number(id) + u"_24"_s];
        return uptime.isDouble() ? std::optional(uptime.toDouble()) : std::nullopt;
    }

private:
    const QJsonObject m_beats;
    const QJsonObject m_uptimes;
    QHash<std::int64_t, LatestBeat> m_latest;
};

std::optional<MonitorRow> rowOf(const QJsonObject& monitor, const QString& group, Heartbeats& heartbeats) {
    const auto id = integerOf(monitor[u"id"]);
    if (!id) {
        return std::nullopt;
    }
    const QJsonValue name = monitor[u"name"];
    const LatestBeat beat = heartbeats.latest(*id);
    return MonitorRow{
        .id = *id,
        .name = name.isString() ? name.toString() : u"Monitor %1"_s.arg(*id),
        .group = group,
        .status = beat.status,
        .ping = beat.ping,
        .uptime24 = heartbeats.uptime24(*id),
    };
}

} // namespace

JsonResult readJson(const HttpResult& result) {
    if (const auto* failure = std::get_if<HttpFailure>(&result)) {
        return StatusPageError{u"Could not read the status page: "_s + failure->description};
    }
    const auto& answer = std::get<HttpAnswer>(result);
    if (answer.status != 200) {
        return StatusPageError{u"Could not read the status page (HTTP %1)."_s.arg(answer.status)};
    }
    const QJsonDocument document = QJsonDocument::fromJson(answer.body);
    if (document.isNull()) {
        return StatusPageError{u"Could not read the status page (HTTP 200, unexpected answer)."_s};
    }
    return document;
}

StatusPageResult readStatusPage(const QJsonDocument& page, const QJsonDocument& heartbeats, const QString& slug) {
    const auto groups = arrayOfObjects(page[u"publicGroupList"]);
    if (!groups || !heartbeats.isObject()) {
        return StatusPageError{u"Could not read the status page (HTTP 200, the answer has an unexpected shape)."_s};
    }
    Heartbeats beats(heartbeats.object());
    StatusPageData data{.title = page[u"config"][u"title"].toString(slug), .monitors = {}};
    for (const auto& element : *groups) {
        const QJsonObject group = element.toObject();
        const QString name = group[u"name"].toString();
        const QJsonArray monitors = arrayOfObjects(group[u"monitorList"]).value_or(QJsonArray());
        for (const auto& monitor : monitors) {
            if (auto row = rowOf(monitor.toObject(), name, beats)) {
                data.monitors << *std::move(row);
            }
        }
    }
    return data;
}

} // namespace orvanel
