#include "controller/ComposeFile.h"

#include "backup/BackupManager.h"
#include "controller/KumaController.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

namespace orvanel {

QString imageRepository() {
    return u"louislam/uptime-kuma"_s;
}

QString composeText(const QString& imageTag, int port) {
    const QStringList lines{
        u"# Written by Orvanel. Image tag and port come from the app's settings."_s,
        u"services:"_s,
        u"  uptime-kuma:"_s,
        u"    image: "_s + imageRepository() + u':' + imageTag,
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

/// A file that cannot be read, or is longer than any text of ours, is simply another text.
bool holds(const QString& path, const QByteArray& content) {
    QFile file(path);
    // To open a pipe would wait for its writer.
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && file.size() == content.size() &&
           file.readAll() == content;
}

/// QSaveFile refuses to take the place of a file that may not be written, and would inherit that it may not be read.
void makeReplaceable(const QString& path) {
    const QFileInfo existing(path);
    if (existing.isFile() && !(existing.isReadable() && existing.isWritable())) {
        QFile::remove(path);
    }
}

} // namespace

std::optional<QString> KumaController::prepareFiles() {
    // What a killed restore took away must come back before an empty folder takes its place.
    BackupManager::recover(dataDir(), backupsDir());
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(dataDir()).toStdString(), error);
    if (error) {
        return u"%1: %2"_s.arg(dataDir(), QString::fromStdString(error.message()));
    }
    const QByteArray text = composeText(m_state->imageTag, m_state->port).toUtf8();
    if (holds(composeURL(), text)) {
        return std::nullopt;
    }
    makeReplaceable(composeURL());
    QSaveFile file(composeURL());
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        return u"%1: %2"_s.arg(composeURL(), file.errorString());
    }
    return std::nullopt;
}

QStringList KumaController::composeArgs(const QStringList& extra) const {
    return QStringList{u"compose"_s, u"-p"_s, u"orvanel"_s, u"-f"_s, composeURL()} + extra;
}

QCoro::Task<bool> KumaController::ensureCompose(QString docker) {
    if (m_state->composeAvailable) {
        co_return *m_state->composeAvailable;
    }
    const QStringList arguments{u"compose"_s, u"version"_s};
    const CommandResult result = co_await command(docker, arguments, std::chrono::seconds(10));
    // The user may have chosen another tool meanwhile, about which this answer says nothing.
    if (m_state->dockerPath != docker) {
        co_return result.isSuccess();
    }
    // Somebody else may have asked at the same time; all go by the first answer.
    if (!m_state->composeAvailable) {
        m_state.set(&ControllerState::composeAvailable, result.isSuccess());
    }
    co_return *m_state->composeAvailable;
}

std::optional<int> KumaController::freePort() const {
    for (int candidate = 3002; candidate <= 3010; ++candidate) {
        if (candidate != m_state->port && m_env.isPortFree(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

} // namespace orvanel
