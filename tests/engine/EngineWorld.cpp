#include "EngineWorld.h"

#include "controller/ComposeFile.h"
#include "controller/DockerKind.h"
#include "support/Await.h"
#include "task/Clock.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QTcpServer>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QCoro::Task<ReleaseResult> latestRelease(QString version) {
    co_return LatestRelease{.version = version};
}

quint16 portFrom(const char* variable) {
    const int port = qEnvironmentVariableIntValue(variable);
    if (port <= 0 || port > 65535) {
        qFatal("%s holds no port: start this program through tests/engine/run", variable);
    }
    return static_cast<quint16>(port);
}

} // namespace

quint16 freePort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

// Docker accepts connections before the server in the container does, and closes them without sending a byte. This
// function then tries again.
std::unique_ptr<QTcpSocket> openPage(int port) {
    std::unique_ptr<QTcpSocket> browser;
    const bool isOpen = waitUntil([&] {
        if (!browser || browser->state() == QAbstractSocket::UnconnectedState) {
            browser = std::make_unique<QTcpSocket>();
            browser->connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
            browser->write("GET /dashboard HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: keep-alive\r\n\r\n");
        }
        return browser->bytesAvailable() > 0;
    });
    return isOpen ? std::move(browser) : nullptr;
}

EngineWorld::EngineWorld()
    : m_mirror(portFrom("ORVANEL_ENGINE_MIRROR_PORT"), portFrom("ORVANEL_ENGINE_REGISTRY_PORT"))
    , m_statusPage(SystemClock::instance()) {}

EngineWorld::~EngineWorld() = default;

void EngineWorld::beginController() {
    ControllerEnvironment environment;
    environment.defaults = &m_settings;
    environment.clock = &SystemClock::instance();
    environment.notifier = &m_notifier;
    environment.loginItem = &m_loginItem;
    environment.desktop = &m_desktop;
    environment.dialogs = &m_dialogs;
    environment.applicationSupport = m_home.path(u"support"_s);
    environment.pageAnswers = [this](int port) { return m_statusPage.pageAnswers(port); };
    environment.fetchStatusPage = [this](int port, QString slug) { return m_statusPage.fetch(port, slug); };
    environment.fetchLatestRelease = [this] { return latestRelease(m_newestVersion); };
    m_controller = std::make_unique<KumaController>(environment);
    m_controller->begin();
}

void EngineWorld::end() {
    if (m_controller) {
        m_controller->cancelOperation();
        m_controller->shutdownPolling();
        await(m_controller->finished());
    }
    docker({u"rm"_s, u"-f"_s, u"orvanel"_s});
    for (const QString& tag : {oldTag, newTag}) {
        docker({u"rmi"_s, u"-f"_s, imageRepository() + u':' + tag});
    }
}

CommandResult EngineWorld::docker(const QStringList& arguments) const {
    CommandResult result = await(DockerCLI::run(m_docker, arguments, std::chrono::seconds(60)));
    result.output = withoutPodmansNotice(result.output);
    return result;
}

QString EngineWorld::containerState() const {
    const CommandResult result = docker({u"inspect"_s, u"-f"_s, u"{{.State.Status}}"_s, u"orvanel"_s});
    return result.status == 0 ? result.output.trimmed() : QString();
}

QString EngineWorld::container(const QString& part) const {
    const QStringList arguments{u"inspect"_s, u"-f"_s, part, u"orvanel"_s};
    return docker(arguments).output.trimmed();
}

bool EngineWorld::hasImage() const {
    return docker({u"image"_s, u"inspect"_s, m_controller->imageReference()}).status == 0;
}

void EngineWorld::script(const QByteArray& lines) const {
    m_home.write(u"support/Orvanel/data/kuma-script"_s, lines);
}

QByteArray EngineWorld::content(const QString& path) const {
    QFile file(m_home.path(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList EngineWorld::backups(const QString& name) const {
    return QDir(m_controller->backupsDir()).entryList({name + u"-*"_s}, QDir::Dirs);
}

bool EngineWorld::isDataInUse() const {
    const QString log = u"support/Orvanel/data/kuma-requests.log"_s;
    const qsizetype before = content(log).size();
    return waitUntil([&] { return content(log).size() > before; });
}

QString EngineWorld::errorMessage() const {
    return m_controller->state().error ? m_controller->state().error->message : QString();
}

QString EngineWorld::describe() const {
    return u"busy %1, kuma %2, error %3, %4"_s.arg(m_controller->state().busy.value_or(u"none"_s))
        .arg(static_cast<int>(m_controller->state().kuma))
        .arg(errorMessage(), m_controller->state().error ? m_controller->state().error->details : QString());
}

} // namespace orvanel::test
