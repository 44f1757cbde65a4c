#include "platform/UserFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace orvanel::folders {
namespace {

// The rules for XDG_DATA_HOME and its like call a relative path invalid: the data would move with the working
// directory.
QString absoluteOr(const QString& folder, const QString& below) {
    return QDir::isAbsolutePath(folder) ? folder : QDir::homePath() + below;
}

QString firstLocation(QStandardPaths::StandardLocation location) {
    return QStandardPaths::standardLocations(location).value(0);
}

} // namespace

QString applicationSupport() {
    return absoluteOr(firstLocation(QStandardPaths::GenericDataLocation), u"/.local/share"_s);
}

QString configuration() {
    return absoluteOr(firstLocation(QStandardPaths::GenericConfigLocation), u"/.config"_s);
}

} // namespace orvanel::folders

namespace orvanel {

std::optional<QByteArray> readSmallFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > smallFileLimit) {
        return std::nullopt;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray content = file.read(smallFileLimit);
    if (file.error() != QFileDevice::NoError) {
        return std::nullopt;
    }
    return content;
}

} // namespace orvanel
