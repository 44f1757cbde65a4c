#include "platform/Folders.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace orvanel::folders {
namespace {

// The base directory rules call a relative path invalid; followed, it would move the data with the working directory.
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
