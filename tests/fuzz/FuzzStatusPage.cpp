// Any bytes as the two answers that make up a status page.
#include "Fuzz.h"
#include "statuspage/StatusPageAnswer.h"

#include <QJsonArray>
#include <QJsonObject>

namespace orvanel::test {
namespace {

QString keyOf(std::int64_t id) {
    return QString::number(id);
}

/// The page that tells what `data` holds, in the plainest way.
QJsonDocument pageOf(const StatusPageData& data) {
    QJsonArray groups;
    for (const MonitorRow& row : data.monitors) {
        const QJsonObject monitor{{QStringLiteral("id"), qint64(row.id)}, {QStringLiteral("name"), row.name}};
        groups.append(
            QJsonObject{{QStringLiteral("name"), row.group}, {QStringLiteral("monitorList"), QJsonArray{monitor}}});
    }
    const QJsonObject config{{QStringLiteral("title"), data.title}};
    return QJsonDocument(QJsonObject{{QStringLiteral("config"), config}, {QStringLiteral("publicGroupList"), groups}});
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
            uptimes[keyOf(row.id) + QStringLiteral("_24")] = *row.uptime24;
        }
    }
    return QJsonDocument(
        QJsonObject{{QStringLiteral("heartbeatList"), beats}, {QStringLiteral("uptimeList"), uptimes}});
}

std::optional<QJsonDocument> documentOf(QByteArrayView bytes) {
    const JsonResult result = readJson(HttpAnswer{200, bytes.toByteArray()});
    if (const auto* error = std::get_if<StatusPageError>(&result)) {
        require(error->message.startsWith(QStringLiteral("Could not read the status page")), "an error is a sentence");
        return std::nullopt;
    }
    return std::get<QJsonDocument>(result);
}

} // namespace

/// Two parts: the page and the heartbeats.
void fuzz(QByteArrayView input) {
    const auto page = documentOf(takePart(&input));
    const auto heartbeats = documentOf(takePart(&input));
    if (!page || !heartbeats) {
        return;
    }
    const QString slug = QStringLiteral("home");
    const StatusPageResult result = readStatusPage(*page, *heartbeats, slug);
    if (const auto* data = std::get_if<StatusPageData>(&result)) {
        const StatusPageResult again = readStatusPage(pageOf(*data), heartbeatsOf(*data), slug);
        require(again == result, "a page that tells the same reads the same");
    }
}

} // namespace orvanel::test
