#include "controller/ComposeFile.h"

#include "backup/BackupManager.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {

QString imageRepository() {
    return u"louislam/uptime-kuma"_s;
}

QString imageReference(const QString& tag) {
    return u"%1:%2"_s.arg(imageRepository(), tag);
}

QString imageReference(const QString& tag, DockerKind kind) {
    return kind == DockerKind::podman ? u"docker.io/"_s + imageReference(tag) : imageReference(tag);
}

QString composeText(const QString& imageTag, int port, DockerKind kind) {
    const QStringList lines{
        u"# Written by Orvanel. Image tag and port come from the app's settings."_s,
        u"services:"_s,
        u"  uptime-kuma:"_s,
        u"    image: "_s + imageReference(imageTag, kind),
        u"    container_name: orvanel"_s,
        u"    restart: unless-stopped"_s,
        u"    ports:"_s,
        u"      - \"127.0.0.1:"_s + QString::number(port) + u":3001\""_s,
        u"    volumes:"_s,
        u"      - ./data:/app/data"_s,
    };
    return lines.join(u'\n') + u'\n';
}

namespace {

QString described(const QString& path, const std::error_code& error) {
    return u"%1: %2"_s.arg(path, QString::fromStdString(error.message()));
}

/// A file that cannot be read, or is longer than any text of ours, counts as different.
bool holds(const QString& path, const QByteArray& content) {
    QFile file(path);
    // Opening a pipe would wait for its writer, so only files are opened.
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && file.size() == content.size() &&
           file.readAll() == content;
}

/// Writes a new file beside the old one and renames it when it is complete and on the disk, so that a failure leaves
/// the old file whole. QSaveFile would refuse to replace a write-protected file, and would not notice if the disk is
/// full at the very end.
std::optional<QString> replaceFile(const QString& path, const QByteArray& content) {
    const QFileInfo existing(path);
    const QString target = existing.isSymLink() ? existing.symLinkTarget() : path;
    QTemporaryFile file(target + u".XXXXXX"_s);
    const bool isWritten = file.open() && file.write(content) == content.size() && file.flush();
    if (!isWritten) {
        return u"%1: %2"_s.arg(path, file.errorString());
    }
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    const QByteArray from = QFile::encodeName(file.fileName());
    if (::fsync(file.handle()) != 0 || ::rename(from.constData(), QFile::encodeName(target).constData()) != 0) {
        return described(path, {errno, std::generic_category()});
    }
    file.setAutoRemove(false);
    return std::nullopt;
}

} // namespace

ContainerFiles::ContainerFiles(const QString& applicationSupport)
    : m_folder(applicationSupport + u"/Orvanel"_s) {}

QString ContainerFiles::dataDir() const {
    return m_folder + u"/data"_s;
}

QString ContainerFiles::backupsDir() const {
    return m_folder + u"/Backups"_s;
}

QString ContainerFiles::composeFile() const {
    return m_folder + u"/docker-compose.yml"_s;
}

std::optional<QString> ContainerFiles::prepare(const QString& imageTag, int port, DockerKind kind) const {
    // What a killed restore took away must come back before an empty folder is made in its place.
    BackupManager::recover(dataDir(), backupsDir());
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(dataDir()).toStdString(), error);
    if (error) {
        return described(dataDir(), error);
    }
    const QByteArray text = composeText(imageTag, port, kind).toUtf8();
    if (holds(composeFile(), text)) {
        return std::nullopt;
    }
    return replaceFile(composeFile(), text);
}

} // namespace orvanel
