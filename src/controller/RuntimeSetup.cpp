#include "controller/RuntimeSetup.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto installLimit = 1800s;
constexpr auto startLimit = 900s;

} // namespace

RuntimeSetup::RuntimeSetup(SetupFrame& frame)
    : m_frame(frame) {}

void RuntimeSetup::installAndStart() {
    m_frame.run(u"runtime installation"_s, [this](std::stop_token stop) { return performInstall(stop); });
}

void RuntimeSetup::start() {
    const std::optional<Container> container = knownContainer(m_frame.context());
    if (container) {
        m_frame.run(u"runtime start"_s, [this, container = *container](std::stop_token stop) {
            return startColimaIfNeeded(container, stop);
        });
    }
}

QCoro::Task<Outcome> RuntimeSetup::performInstall(std::stop_token stop) {
    const Outcome notInstalled = co_await install();
    if (notInstalled) {
        co_return notInstalled;
    }
    m_frame.forgetDocker();
    const std::optional<Container> found = findContainer(m_frame.context());
    if (!found) {
        co_return m_frame.dockerNotFound();
    }
    const Container& container = *found;
    const Outcome started = co_await startColimaIfNeeded(container, stop);
    co_return started;
}

/// Installs what is missing.
QCoro::Task<Outcome> RuntimeSetup::install() {
    const HostFunctions& host = m_frame.host();
    if (host.tool(u"colima"_s) && host.docker(m_frame.state()->dockerOverride)) {
        co_return std::nullopt;
    }
    const std::optional<QString> brew = host.tool(u"brew"_s);
    if (!brew) {
        co_return failed(u"Homebrew is not installed, so the app cannot install Colima for you."_s);
    }
    showStep(u"Installing Colima and Docker with Homebrew"_s, u"brew install colima docker"_s);
    const QStringList arguments{u"install"_s, u"colima"_s, u"docker"_s};
    const CommandResult result = co_await command(*brew, arguments, installLimit);
    if (!result.isSuccess()) {
        co_return cancelledOr(result, u"Homebrew could not install Colima and Docker."_s);
    }
    co_return std::nullopt;
}

QCoro::Task<Outcome> RuntimeSetup::startColimaIfNeeded(Container container, std::stop_token stop) {
    const CommandResult probe = co_await container.runtime();
    if (probe.isSuccess()) {
        co_await m_frame.publishReady(container.docker(), stop);
        co_return std::nullopt;
    }
    const std::optional<QString> colima = m_frame.host().tool(u"colima"_s);
    if (!colima) {
        co_return failed(u"Colima is not installed."_s, probe.output);
    }
    showStep(u"Starting Colima (the first start downloads a small Linux VM)"_s, u"colima start"_s);
    const QStringList arguments(u"start"_s);
    const CommandResult start = co_await command(*colima, arguments, startLimit);
    if (!start.isSuccess()) {
        co_return cancelledOr(start, u"Colima could not start."_s);
    }
    const CommandResult answer = co_await m_frame.waitForDaemon(container.docker(), stop);
    if (!answer.isSuccess()) {
        co_return failed(u"Colima started but the Docker daemon is not answering."_s, start.output);
    }
    co_await m_frame.publishReady(container.docker(), stop);
    co_return std::nullopt;
}

QCoro::Task<CommandResult> RuntimeSetup::command(QString path, QStringList arguments, std::chrono::seconds limit) {
    return m_frame.host().run(path, arguments, limit, m_frame.handle(), m_frame.log());
}

void RuntimeSetup::showStep(const QString& text, const QString& commandLine) {
    m_frame.showTitle(text);
    m_frame.addToLog(u"$ %1\n"_s.arg(commandLine));
}

} // namespace orvanel
