// Feeds any bytes to the reader of the settings file.
#include "Fuzz.h"
#include "platform/SettingsStore.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFile>

#include <array>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

const std::array names{"port",         "slug",        "stopOnQuit", "dockerOverride", "imageTag",
                       "hasSeenGuide", "dailyBackup", "a",          "group/b"};

QStringList textsOf(const SettingsStore& store) {
    QStringList texts;
    for (const char* name : names) {
        texts << store.text(QString::fromLatin1(name), u"(none)"_s);
    }
    return texts;
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Setting one key must change only that key, for this run and the next.
void checkSet(const QString& path, const QString& value) {
    SettingsStore store(path);
    QStringList expected = textsOf(store);
    expected[1] = value;
    require(store.setText(u"slug"_s, value), "a value can be stored whatever the file holds");
    require(textsOf(store) == expected, "one value is set, the others stay");
    const SettingsStore next(path);
    require(textsOf(next) == expected, "the next start reads the same");
}

} // namespace

/// The input has two parts: the file, and a value to set.
void fuzz(QByteArrayView input) {
    static const TestHome home;
    // Qt remembers files by name for a while, so each input gets a new name.
    static int number = 0;
    const QString folder = home.path(QString::number(++number));
    const QByteArray content = takePart(&input).toByteArray();
    const QString path = home.write(u"%1/Orvanel.conf"_s.arg(number), content);
    {
        const SettingsStore store(path);
        require(textsOf(store) == textsOf(SettingsStore(path)), "reading changes nothing");
        require(store.integer(u"port"_s, 7) == 7 || !store.text(u"port"_s, QString()).isEmpty(), "a number was a text");
    }
    require(contentOf(path) == content, "reading writes nothing");
    const QString value = QString::fromUtf8(takePart(&input));
    checkSet(path, value);
    const QString broken = path + u".broken"_s;
    require(!QFile::exists(broken) || contentOf(broken) == content, "what is moved aside stays as it was");
    checkSet(path, value + u'x');
    require(!QFile::exists(broken + u'2'), "a file of ours is not broken");
    QDir(folder).removeRecursively();
}

} // namespace orvanel::test
