// Feeds any bytes to the reader of the file that starts the program at login.
#include "Fuzz.h"
#include "platform/AppIdentity.h"
#include "platform/AutostartEntry.h"
#include "platform/DesktopEntry.h"
#include "support/TestHome.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The keys that the switch sets or removes; every other line is the user's.
bool isOurs(const QByteArray& line) {
    static const QByteArrayList keys{"Exec",      "TryExec", "OnlyShowIn",
                                     "NotShowIn", "Hidden",  "X-GNOME-Autostart-enabled"};
    return keys.contains(line.left(line.indexOf('=')).trimmed());
}

void checkLinesStay(const QByteArray& before, const QByteArray& after) {
    const QByteArrayList lines = after.split('\n');
    for (const QByteArray& line : before.split('\n')) {
        require(isOurs(line) || lines.contains(line), "the user's lines stay");
    }
}

} // namespace

void fuzz(QByteArrayView input) {
    static const TestHome home;
    const QString name = u"autostart/%1.desktop"_s.arg(identity::desktopId());
    const QByteArray content = input.toByteArray();
    const QString path = home.write(name, content);
    AutostartEntry item(u"/bin/sh"_s, {home.path(u"autostart"_s), {}, {u"GNOME"_s, u"Home"_s}});
    const bool wasEnabled = item.isEnabled();
    const bool wasEntry = DesktopEntry::parse(content).has_value();
    require(wasEntry || !wasEnabled, "a file that is not an entry starts nothing");
    require(contentOf(path) == content, "reading the state changes nothing");
    for (const bool enabled : {!wasEnabled, wasEnabled, !wasEnabled}) {
        require(!item.setEnabled(enabled), "the item can be switched");
        require(item.isEnabled() == enabled, "the switch takes effect");
        require(DesktopEntry::parse(contentOf(path)).has_value(), "the written file is an entry");
        if (wasEntry) {
            checkLinesStay(content, contentOf(path));
        }
    }
}

} // namespace orvanel::test
