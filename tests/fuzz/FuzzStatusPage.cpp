// Feeds any bytes to the reader of the two answers that make up a status page.
#include "Fuzz.h"
#include "statuspage/StatusPageAnswer.h"

#include <QJsonArray>
#include <QJsonObject>

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

QJsonDocument heartbeatsOf(const StatusPageData& data) {
    QJsonObject beats;
    QJsonObject uptimes;
    for (const MonitorRow& row : data.monitors) {
        QJsonObject beat;
        if (row.status) {
            beat[u"status"] = qint64(*row.status);
        }
        if (row.ping) {
            beat[u"ping"] = qint64(*row.ping);
        }
        beats[keyOf(row.id)] = QJsonArray{beat};
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
        row.name = QString::fromUtf8(rest);
        row.group = QString::fromUtf8(rest.first(rest.size() / 2));
        data.monitors << row;
    }
    return data;
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
        const StatusPageResult again = readStatusPage(pageOf(*data), heartbeatsOf(*data), slug);
        require(again == result, "pages with the same content read the same");
    }
}

} // namespace orvanel::test
