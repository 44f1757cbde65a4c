#include "release/ReleaseAnswer.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

ReleaseError statusError(int status) {
    return {u"Could not check for updates (HTTP %1)."_s.arg(status)};
}

QString withoutV(const QString& tag) {
    return tag.startsWith(u'v') ? tag.mid(1) : tag;
}

} // namespace

ReleaseError transferError(const QString& description) {
    return {u"Could not check for updates: "_s + description};
}

ReleaseResult readRelease(int status, const QByteArray& body) {
    if (status != 200) {
        return statusError(status);
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError) {
        return transferError(u"the answer is not valid JSON (%1)."_s.arg(error.errorString()));
    }
    const QJsonObject release = document.object();
    const QJsonValue tag = release[u"tag_name"];
    if (!tag.isString()) {
        return statusError(status);
    }
    const QString version = withoutV(tag.toString());
    if (version.trimmed().isEmpty()) {
        return statusError(status);
    }
    const QJsonValue page = release[u"html_url"];
    return LatestRelease{
        .version = version,
        .page = page.isString() ? std::optional(page.toString()) : std::nullopt,
    };
}

} // namespace orvanel
