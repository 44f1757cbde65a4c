#include "statuspage/StatusPageAnswer.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// The latest heartbeat of a monitor, and all that are kept.
struct Reading {
    std::optional<std::int64_t> status;
    std::optional<std::int64_t> ping;
    Heartbeats beats;
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

/// A beat whose time cannot be read stays behind the one before it.
void sortByTime(std::vector<Heartbeat>* beats) {
    std::vector<std::pair<Heartbeat::Time, Heartbeat>> timed;
    timed.reserve(beats->size());
    Heartbeat::Time last{};
    for (const Heartbeat& beat : *beats) {
        last = beat.time().value_or(last);
        timed.emplace_back(last, beat);
    }
    std::stable_sort(timed.begin(), timed.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    std::transform(timed.begin(), timed.end(), beats->begin(), [](const auto& beat) { return beat.second; });
}

/// What the heartbeat answer tells, by monitor id.
class HeartbeatAnswer {
public:
    explicit HeartbeatAnswer(const QJsonObject& answer)
        : m_lists(answer[u"heartbeatList"].toObject())
        , m_uptimes(answer[u"uptimeList"].toObject()) {}

    /// Remembered, because an answer may list one monitor many times, each time with the same long list of beats.
    Reading reading(std::int64_t id) {
        const auto known = m_readings.constFind(id);
        if (known != m_readings.cend()) {
            return *known;
        }
        const auto beats = arrayOfObjects(m_lists[QString::number(id)]);
        if (!beats || beats->isEmpty()) {
            return *m_readings.insert(id, {});
        }
        const QJsonObject last = beats->last().toObject();
        return *m_readings.insert(id, {integerOf(last[u"status"]), integerOf(last[u"ping"]), history(*beats)});
    }

    std::optional<double> uptime24(std::int64_t id) const {
        const QJsonValue uptime = m_uptimes[QString::number(id) + u"_24"_s];
        return uptime.isDouble() ? std::optional(uptime.toDouble()) : std::nullopt;
    }

    /// Call it when everything is read: the block had room to grow.
    void giveBackRoom() { m_block->shrink_to_fit(); }

private:
    /// The last of those whose status is known, in the order of their times. The server sends them so, unless its clock
    /// was set.
    Heartbeats history(const QJsonArray& beats) {
        std::vector<Heartbeat> known;
        for (qsizetype i = beats.size() - 1; i >= 0 && known.size() < Heartbeats::longest; --i) {
            const QJsonObject beat = beats[i].toObject();
            const auto status = integerOf(beat[u"status"]);
            if (status && Heartbeat::isStatus(*status)) {
                known.emplace_back(heartbeatTime(beat[u"time"].toString()), *status, integerOf(beat[u"ping"]));
            }
        }
        std::reverse(known.begin(), known.end());
        sortByTime(&known);
        const std::size_t first = m_block->size();
        m_block->insert(m_block->end(), known.begin(), known.end());
        return {m_block, first, known.size()};
    }

    const QJsonObject m_lists;
    const QJsonObject m_uptimes;
    const std::shared_ptr<Heartbeats::Block> m_block = std::make_shared<Heartbeats::Block>();
    QHash<std::int64_t, Reading> m_readings;
};

std::optional<MonitorRow> rowOf(const QJsonObject& monitor, const QString& group, HeartbeatAnswer& heartbeats) {
    const auto id = integerOf(monitor[u"id"]);
    if (!id) {
        return std::nullopt;
    }
    const QJsonValue name = monitor[u"name"];
    const Reading reading = heartbeats.reading(*id);
    return MonitorRow{
        .id = *id,
        .name = name.isString() ? name.toString() : u"Monitor %1"_s.arg(*id),
        .group = group,
        .status = reading.status,
        .ping = reading.ping,
        .uptime24 = heartbeats.uptime24(*id),
        .beats = reading.beats,
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
    HeartbeatAnswer beats(heartbeats.object());
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
    beats.giveBackRoom();
    return data;
}

} // namespace orvanel
