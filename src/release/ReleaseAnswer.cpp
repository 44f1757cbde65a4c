#include "release/ReleaseAnswer.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace orvanel {
namespace {

ReleaseError statusError(int status) {
    return {QStringLiteral("Could not check for updates (HTTP %1).").arg(status)};
}

QString withoutV(const QString& tag) {
    return tag.startsWith(QLatin1Char('v')) ? tag.mid(1) : tag;
}

} // namespace

ReleaseError transferError(const QString& description) {
    return {QStringLiteral("Could not check for updates: ") + description};
}

ReleaseResult readRelease(int status, const QByteArray& body) {
    if (status != 200) {
        return statusError(status);
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError) {
        return transferError(QStringLiteral("the answer is not valid JSON (%1).").arg(error.errorString()));
    }
    const QJsonObject release = document.object();
    const QJsonValue tag = release[u"tag_name"];
    if (!tag.isString()) {
        return statusError(status);
    }
    const QJsonValue page = release[u"html_url"];
    return LatestRelease{
        .version = withoutV(tag.toString()),
        .page = page.isString() ? std::optional(page.toString()) : std::nullopt,
    };
}

} // namespace orvanel
