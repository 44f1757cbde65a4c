#include "RunningProgram.h"

#include "controller/ComposeFile.h"
#include "support/Await.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <csignal>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// How long the main thread of a process waited for a processor: the second figure of proc(5)'s schedstat.
std::chrono::nanoseconds waitedForProcessor(qint64 pid) {
    QFile file(u"/proc/%1/schedstat"_s.arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return std::chrono::nanoseconds(file.readAll().split(' ').value(1).toLongLong());
}

/// Nothing answers on this port.
constexpr int port = 13977;

} // namespace

RunningProgram::RunningProgram()
    : environment(QProcessEnvironment::systemEnvironment()) {
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
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
    home.write(u".config/Orvanel/Orvanel.conf"_s, "[General]\n" + m_settings);
}

void RunningProgram::addContainer(const char* state) {
    home.write(u".local/share/Orvanel/docker-compose.yml"_s, composeText(u"2"_s, port).toUtf8());
    tools.change([state](standin::DockerState& docker) { standin::addContainer(docker, state, port); });
}

void RunningProgram::delayStop(int milliseconds) const {
    tools.change([milliseconds](standin::DockerState& docker) {
        docker.overrides.push_back({.command = "compose stop", .delay = milliseconds});
    });
}

QProcess& RunningProgram::start() {
    return startThrough(u"/usr/bin/env"_s, {});
}

QProcess& RunningProgram::startThrough(const QString& program, QStringList arguments) {
    m_processes.push_back(std::make_unique<QProcess>());
    QProcess& process = *m_processes.back();
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    if (!errorFile.isEmpty()) {
        process.setProcessChannelMode(QProcess::ForwardedOutputChannel);
        process.setStandardErrorFile(errorFile);
    }
    arguments << QString::fromUtf8(ORVANEL_PROGRAM);
    process.start(program, arguments);
    return process;
}

bool RunningProgram::knowsItsContainer() const {
    // This is the last command of the first poll.
    return waitUntil([this] { return hasCalled(u"compose version"_s); });
}

void RunningProgram::signal(const QProcess& process, int number) {
    ::kill(static_cast<pid_t>(process.processId()), number);
}

std::optional<std::chrono::milliseconds> RunningProgram::timeToEnd(QProcess& process, int number) {
    return timeToEnd(process, [&] { signal(process, number); });
}

std::optional<std::chrono::milliseconds> RunningProgram::timeToEnd(QProcess& process,
                                                                   const std::function<void()>& cause) {
    const qint64 pid = process.processId();
    const auto waitedBefore = waitedForProcessor(pid) + waitedForProcessor(QCoreApplication::applicationPid());
    const auto start = std::chrono::steady_clock::now();
    cause();
    auto itsWait = waitedForProcessor(pid);
    const bool hasEnded = waitUntil([&] {
        itsWait = std::max(itsWait, waitedForProcessor(pid));
        return process.state() == QProcess::NotRunning;
    });
    if (!hasEnded) {
        return std::nullopt;
    }
    const auto waited = itsWait + waitedForProcessor(QCoreApplication::applicationPid()) - waitedBefore;
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start - waited);
}

std::optional<int> RunningProgram::exitCode(QProcess& process) {
    if (!waitUntil([&] { return process.state() == QProcess::NotRunning; })) {
        return std::nullopt;
    }
    return process.exitStatus() == QProcess::NormalExit ? std::optional(process.exitCode()) : std::nullopt;
}

} // namespace orvanel::test
