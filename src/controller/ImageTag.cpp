#include "controller/ImageTag.h"

#include <QRegularExpression>
#include <QStringList>
#include <QVersionNumber>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString majorPart(const QString& version) {
    return version.split(u'.', Qt::SkipEmptyParts).value(0);
}

} // namespace

// What a registry accepts as a tag: https://docs.docker.com/reference/cli/docker/image/tag/
bool isValidImageTag(const QString& tag) {
    static const QRegularExpression form(u"\\A[A-Za-z0-9_][A-Za-z0-9_.-]{0,127}\\z"_s);
    return form.match(tag).hasMatch();
}

bool convertsOldData(const QString& imageTag) {
    static const QRegularExpression number(u"\\A(\\d{1,6})(?![0-9])"_s);
    return number.match(imageTag).captured(1).toInt() >= 2;
}

bool isMajorChange(const QString& imageTag, const std::optional<QString>& latestVersion) {
    const QString current = majorPart(imageTag);
    const QString latest = majorPart(latestVersion.value_or(QString()));
    return !current.isEmpty() && !latest.isEmpty() && current != latest;
}

bool isOlderVersion(const QString& version, const QString& imageTag) {
    const QVersionNumber offered = QVersionNumber::fromString(version);
    const QVersionNumber pinned = QVersionNumber::fromString(imageTag);
    const auto count = std::min(offered.segmentCount(), pinned.segmentCount());
    const auto firstOf = [count](const QVersionNumber& number) {
        return QVersionNumber(number.segments().first(count));
    };
    return firstOf(offered) < firstOf(pinned);
}

} // namespace orvanel
