#include "controller/DockerInstaller.h"

#include "controller/CappedLog.h"
#include "controller/PermissionDenied.h"
#include "controller/SetupComplaint.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

/// For the question and the whole work. Package managers have limits of their own.
constexpr auto helperLimit = 3600s;

} // namespace

DockerInstaller::DockerInstaller(SetupFrame& frame)
    : m_frame(frame) {}

void DockerInstaller::install() {
    m_frame.run(u"installation of Docker"_s, [this](std::stop_token stop) { return performInstall(stop); });
}

void DockerInstaller::join() {
    m_frame.run(u"permission to use Docker"_s, [this](std::stop_token stop) { return performJoin(stop); });
}

QCoro::Task<Outcome> DockerInstaller::performInstall(std::stop_token stop) {
    const QString verb = u"install"_s;
    const QString title = u"Installing Docker with this computer's package manager"_s;
    const Outcome notInstalled = co_await help(verb, title);
    m_frame.forgetDocker();
    const std::optional<Container> found = findContainer(m_frame.context());
    if (notInstalled) {
        co_return notInstalled;
    }
    if (!found) {
        co_return m_frame.dockerNotFound();
    }
    m_frame.showTitle(u"Waiting for Docker to answer"_s);
    const Container& container = *found;
    const CommandResult answer = co_await m_frame.waitForDaemon(container.docker(), stop);
    if (!answer.isSuccess()) {
        co_return failed(u"Docker was installed, but it does not answer."_s, answer.output);
    }
    co_await m_frame.publishReady(container.docker(), stop);
    co_return std::nullopt;
}

QCoro::Task<Outcome> DockerInstaller::performJoin(std::stop_token stop) {
    const QString verb = u"join"_s;
    const QString title = u"Letting you use Docker"_s;
    const Outcome notJoined = co_await help(verb, title);
    if (notJoined) {
        co_return notJoined;
    }
    const std::optional<Container> known = knownContainer(m_frame.context());
    if (!known) {
        co_return std::nullopt;
    }
    const Container& container = *known;
    const CommandResult answer = co_await m_frame.ask(container.docker());
    if (isPermissionDenied(answer.output)) {
        co_return failed(u"You are in the group “docker” now. Log out and back in to use Docker."_s, answer.output);
    }
    if (!answer.isSuccess()) {
        co_return failed(answer);
    }
    co_await m_frame.publishReady(container.docker(), stop);
    co_return std::nullopt;
}

QCoro::Task<Outcome> DockerInstaller::help(QString verb, QString title) {
    const std::optional<RootHelper> helper = m_frame.host().rootHelper();
    if (!helper) {
        co_return failed(u"polkit is not installed, so Orvanel cannot ask for your password."_s);
    }
    m_frame.showTitle(u"Waiting for your password"_s);
    const QStringList arguments = helper->arguments(verb);
    m_frame.addToLog(u"$ pkexec %1 %2\n"_s.arg(helper->program, verb));
    const CommandResult result = co_await m_frame.host().runToItsEnd(helper->pkexec, arguments, helperLimit,
                                                                     m_frame.handle(), logWithTitle(title));
    m_frame.showWhenCancelled({});
    co_return outcomeOfHelper(result);
}

/// The helper's first word tells that the password was given. From then on a cancel waits for the step under way.
DockerCLI::OutputCallback DockerInstaller::logWithTitle(const QString& title) const {
    return logFeed([weak = m_frame.state().weak_from_this(), &frame = m_frame, title](const QString& text) {
        if (weak.expired()) {
            return;
        }
        const bool isFirst = frame.state()->setupBusy == u"Waiting for your password"_s;
        if (isFirst) {
            frame.showTitle(title);
            frame.showWhenCancelled(u"Stopping after the step that is under way"_s);
        }
        frame.addToLog(text);
    });
}

} // namespace orvanel
