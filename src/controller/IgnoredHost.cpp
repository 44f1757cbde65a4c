#include "controller/IgnoredHost.h"

#include "controller/EngineAddress.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// As one word for a shell, whatever it contains.
QString quoted(QString word) {
    static const QRegularExpression plain(u"\\A[A-Za-z0-9@%_+=:,./~-]+\\z"_s);
    if (plain.match(word).hasMatch()) {
        return word;
    }
    return u'\'' + word.replace(u'\'', u"'\\''"_s) + u'\'';
}

} // namespace

std::optional<QString> contextCommand(const QString& dockerHost, const QString& complaint) {
    const auto defaultPlace = u"unix:///var/run/docker.sock"_s;
    if (isSystemEngine(dockerHost) || engineAddress(complaint) != defaultPlace) {
        return std::nullopt;
    }
    return u"docker context create orvanel --docker %1 && docker context use orvanel"_s.arg(
        quoted(u"host="_s + dockerHost));
}

} // namespace orvanel
