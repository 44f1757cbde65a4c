#include "support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace orvanel::test {
namespace {

struct Place {
    const char* variable;
    const char* folder;
};

constexpr Place places[] = {
    {"HOME", ""},
    {"XDG_CONFIG_HOME", ".config"},
    {"XDG_DATA_HOME", ".local/share"},
    {"XDG_CACHE_HOME", ".cache"},
    {"XDG_RUNTIME_DIR", "run"},
};

} // namespace

TestHome::TestHome() {
    for (const Place& place : places) {
        const QString folder = path(QString::fromLatin1(place.folder));
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(place.variable, QFile::encodeName(folder));
    }
}

TestHome::~TestHome() {
    for (const Place& place : places) {
        qunsetenv(place.variable);
    }
}

QString TestHome::path(const QString& relative) const {
    return relative.isEmpty() ? m_folder.path() : m_folder.filePath(relative);
}

QString TestHome::write(const QString& relative, const QByteArray& content, bool executable) const {
    QString target = path(relative);
    QDir().mkpath(QFileInfo(target).path());
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("could not write %s", qPrintable(target));
    }
    file.close();
    if (executable) {
        file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeUser);
    }
    return target;
}

} // namespace orvanel::test
