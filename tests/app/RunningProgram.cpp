#include "RunningProgram.h"

#include "controller/ComposeFile.h"
#include "support/Await.h"

#include <csignal>

namespace orvanel::test {
namespace {

/// Nobody answers there.
constexpr int port = 13977;

} // namespace

RunningProgram::RunningProgram()
    : environment(QProcessEnvironment::systemEnvironment()) {
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    setting("port=" + QByteArray::number(port));
    setting("hasSeenGuide=true");
}

RunningProgram::~RunningProgram() {
    for (const auto& process : m_processes) {
        process->kill();
        process->waitForFinished();
    }
}

void RunningProgram::setting(const QByteArray& line) {
    m_settings += line + '\n';
    home.write(QStringLiteral(".config/Orvanel/Orvanel.conf"), "[General]\n" + m_settings);
}

void RunningProgram::addContainer(const char* state) {
    home.write(QStringLiteral(".local/share/Orvanel/docker-compose.yml"),
               composeText(QStringLiteral("2"), port).toUtf8());
    tools.change([state](standin::DockerState& docker) { standin::addContainer(docker, state, port); });
}

QProcess& RunningProgram::start() {
    return startThrough(QStringLiteral("/usr/bin/env"), {});
}

QProcess& RunningProgram::startThrough(const QString& program, QStringList arguments) {
    m_processes.push_back(std::make_unique<QProcess>());
    QProcess& process = *m_processes.back();
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    arguments << QStringLiteral(ORVANEL_PROGRAM);
    process.start(program, arguments);
    return process;
}

bool RunningProgram::knowsItsContainer() const {
    // Asked last in the first round.
    return waitUntil([this] { return hasCalled(QStringLiteral("compose version")); });
}

void RunningProgram::signal(const QProcess& process, int number) {
    ::kill(static_cast<pid_t>(process.processId()), number);
}

std::optional<int> RunningProgram::exitCode(QProcess& process) {
    if (!waitUntil([&] { return process.state() == QProcess::NotRunning; })) {
        return std::nullopt;
    }
    return process.exitStatus() == QProcess::NormalExit ? std::optional(process.exitCode()) : std::nullopt;
}

} // namespace orvanel::test
