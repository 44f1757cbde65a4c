#include "standin/kuma/KumaServer.h"

#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

KumaServer::KumaServer(const QByteArray& script) {
    if (!script.isEmpty()) {
        this->script(script);
    }
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(program(), {u"--address"_s, u"127.0.0.1"_s, u"--port"_s, u"0"_s, u"--state"_s, folder()});
    const QString portFile = m_folder.filePath(u"kuma-port"_s);
    if (!waitUntil([&] { return QFile::exists(portFile); })) {
        qFatal("the stand-in server did not start: %s", output().constData());
    }
    m_port = contentOf(portFile).trimmed().toInt();
}

KumaServer::~KumaServer() {
    stop();
}

QString KumaServer::program() {
    return QString::fromUtf8(ORVANEL_STANDIN_KUMA);
}

void KumaServer::script(const QByteArray& text) const {
    file(u"kuma-script"_s, text);
}

void KumaServer::page(const QString& slug, const QByteArray& json) const {
    file(u"pages/%1.json"_s.arg(slug), json);
}

void KumaServer::heartbeat(const QString& slug, const QByteArray& json) const {
    file(u"heartbeats/%1.json"_s.arg(slug), json);
}

void KumaServer::file(const QString& name, const QByteArray& content) const {
    const QString path = m_folder.filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    // The server may be reading the file at this moment; it must find either the old text or the new one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        qFatal("could not write %s", qPrintable(path));
    }
}

QList<KumaServer::Request> KumaServer::requests() const {
    QList<Request> requests;
    const QString log = QString::fromUtf8(contentOf(m_folder.filePath(u"kuma-requests.log"_s)));
    for (const QString& line : log.split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u'\t');
        requests.append(
            {fields.value(0), fields.value(1), fields.value(2), fields.value(3) == u"close"_s, fields.value(4)});
    }
    return requests;
}

QByteArray KumaServer::output() {
    return m_process.readAll();
}

int KumaServer::stop() {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
    }
    if (!m_process.waitForFinished(static_cast<int>(std::chrono::milliseconds(patience).count())) &&
        m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
        return -1;
    }
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

} // namespace orvanel::test
