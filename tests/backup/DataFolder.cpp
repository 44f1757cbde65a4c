#include "DataFolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QString describeEntry(const QString& path) {
    struct stat status {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0) {
        return u"gone"_s;
    }
    const QString date = u"%1.%2"_s.arg(status.st_mtim.tv_sec).arg(status.st_mtim.tv_nsec);
    if (S_ISLNK(status.st_mode)) {
        char text[4096];
        const ssize_t length = ::readlink(QFile::encodeName(path).constData(), text, sizeof text);
        return u"link to %1"_s.arg(QString::fromUtf8(text, length));
    }
    const QString mode = QString::number(status.st_mode & 07777, 8);
    if (S_ISDIR(status.st_mode)) {
        return u"folder %1 %2"_s.arg(mode, date);
    }
    QCryptographicHash hash(QCryptographicHash::Md5);
    QFile file(path);
    if (S_ISREG(status.st_mode) && file.open(QIODevice::ReadOnly)) {
        hash.addData(&file);
    }
    return u"file %1 %2 %3 %4"_s.arg(mode, date, QString::number(status.st_size),
                                     QString::fromLatin1(hash.result().toHex()));
}

} // namespace

void workInMemory() {
    struct statvfs status {};
    constexpr unsigned long wanted = 1UL << 30;
    const char* const memory = "/dev/shm";
    if (::access(memory, W_OK) == 0 && ::statvfs(memory, &status) == 0 && status.f_bavail * status.f_frsize > wanted) {
        qputenv("TMPDIR", memory);
    }
}

DataFolder::DataFolder() {
    QDir().mkpath(path(u"Orvanel"_s));
}

QString DataFolder::path(const QString& relative) const {
    return relative.isEmpty() ? m_folder.path() : m_folder.filePath(relative);
}

QString DataFolder::data(const QString& relative) const {
    return path(u"Orvanel/data"_s + (relative.isEmpty() ? QString() : u'/' + relative));
}

QString DataFolder::backups(const QString& relative) const {
    return path(u"Orvanel/Backups"_s + (relative.isEmpty() ? QString() : u'/' + relative));
}

void DataFolder::write(const QString& relative, const QByteArray& content) const {
    const QString target = path(relative);
    QDir().mkpath(QFileInfo(target).path());
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("could not write %s", qPrintable(target));
    }
}

QByteArray DataFolder::read(const QString& relative) const {
    QFile file(path(relative));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void DataFolder::fill() const {
    const QString root = u"Orvanel/data/"_s;
    write(root + u"kuma.db"_s, "no real database");
    write(root + u"db-config.json"_s, R"({"type":"sqlite"})");
    write(root + u"upload/logo1.png"_s, QByteArray(300'000, 'p'));
    write(root + u"upload/größe 名前 🐟.txt"_s, "named in many letters");
    write(root + u"upload/locked.txt"_s, "read only");
    write(root + u"upload/empty.txt"_s, "");
    write(root + u".hidden"_s, "hidden");
    QDir().mkpath(data(u"screenshots"_s));
    QDir().mkpath(data(u"docker-tls/inner"_s));
    QFile::link(u"upload/logo1.png"_s, data(u"icon.png"_s));
    QFile::link(u"nowhere"_s, data(u"dangling"_s));
    QFile::link(u"upload"_s, data(u"linked folder"_s));
    const auto name = [this](const QString& relative) { return QFile::encodeName(data(relative)); };
    ::chmod(name(u"upload/locked.txt"_s).constData(), 0440);
    ::chmod(name(u"docker-tls"_s).constData(), 0750);
    const timespec times[] = {{1'700'000'000, 0}, {1'600'000'000, 123'456'789}};
    ::utimensat(AT_FDCWD, name(u"upload/logo1.png"_s).constData(), times, 0);
    ::utimensat(AT_FDCWD, name(u"docker-tls"_s).constData(), times, 0);
}

QStringList DataFolder::kept() const {
    return names(u"Orvanel/Backups"_s);
}

QStringList DataFolder::names(const QString& relative) const {
    return QDir(path(relative)).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QMap<QString, QString> describe(const QString& folder) {
    QMap<QString, QString> entries;
    entries.insert(u"."_s, describeEntry(folder));
    QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        entries.insert(path.mid(folder.size() + 1), describeEntry(path));
    }
    return entries;
}

QString difference(const QMap<QString, QString>& folder, const QMap<QString, QString>& other) {
    for (auto entry = folder.begin(); entry != folder.end(); ++entry) {
        if (other.value(entry.key()) != entry.value()) {
            return u"%1: %2 | %3"_s.arg(entry.key(), entry.value(), other.value(entry.key()));
        }
    }
    for (auto entry = other.begin(); entry != other.end(); ++entry) {
        if (!folder.contains(entry.key())) {
            return u"%1: only in the other: %2"_s.arg(entry.key(), entry.value());
        }
    }
    return {};
}

QString difference(const QString& folder, const QString& other) {
    return difference(describe(folder), describe(other));
}

QString runTool(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool isDone = process.waitForFinished(120'000) && process.exitStatus() == QProcess::NormalExit;
    const QString output = QString::fromUtf8(process.readAll());
    return isDone && process.exitCode() == 0 ? output : u"failed: "_s + output;
}

} // namespace orvanel::test
