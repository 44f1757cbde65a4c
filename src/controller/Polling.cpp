#include "backup/BackupManager.h"
#include "controller/ContainerAnswer.h"
#include "controller/KumaController.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <QDebug>

#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto pollPeriod = 3s;
constexpr auto statusPeriod = 30s;
constexpr auto probeLimit = 10s;
constexpr auto stopLimit = 60s;

QString restartLoopMessage() {
    return u"Uptime Kuma keeps restarting. Open the logs to see why."_s;
}

bool isRestartLoop(const std::optional<OpError>& error) {
    return error && error->message.startsWith(u"Uptime Kuma keeps restarting"_s);
}

QString normalised(const QString& slug) {
    return slug.trimmed().toLower();
}

} // namespace

void KumaController::begin() {
    if (m_pollTask) {
        return;
    }
    m_isLeaving = false;
    // What a restore left that ended with the last run: no look at the data is to find it missing.
    BackupManager::recover(dataDir(), backupsDir());
    m_pollTask.emplace();
    m_tasks.start(poll(m_pollTask->get_token()), u"poll loop"_s);
}

void KumaController::recheck() {
    m_state.set(&ControllerState::dockerPath, std::nullopt);
    setDockerState(DockerState::unknown);
    m_tasks.start(refreshSoon(), u"recheck"_s);
}

void KumaController::shutdownPolling() {
    m_isLeaving = true;
    if (m_pollTask) {
        m_pollTask->request_stop();
        m_pollTask.reset();
    }
    if (m_setupHandle) {
        m_setupHandle->cancel();
    }
    if (m_setupTask) {
        m_setupTask->request_stop();
    }
    if (m_processHandle) {
        m_processHandle->cancel();
    }
    // The program may end before the operation notices that its download was cancelled.
    takeBackTag();
}

QCoro::Task<void> KumaController::poll(std::stop_token stop) {
    while (!stop.stop_requested()) {
        // One tick that fails must not be the last one.
        try {
            co_await pollOnce(stop);
        } catch (const std::exception& failure) {
            qWarning() << "A poll ended with an error:" << failure.what();
        }
        co_await sleepFor(m_env.clock, pollPeriod, stop);
    }
}

QCoro::Task<void> KumaController::pollOnce(std::stop_token stop) {
    co_await refresh(stop);
    if (!stop.stop_requested()) {
        co_await maybeFetchStatus();
    }
}

/// In a later turn of the event loop, so that the interface gets to show that nothing is known.
QCoro::Task<void> KumaController::refreshSoon() {
    const Event<> turn;
    const PostToThread post = postToThisThread();
    post([turn] { turn.complete(); });
    co_await turn;
    const std::stop_token never;
    co_await refresh(never);
}

QCoro::Task<void> KumaController::refresh(std::stop_token stop) {
    if (m_state->busy || !findTools()) {
        co_return;
    }
    const QString docker = *m_state->dockerPath;
    const int operations = m_operations;
    const CommandResult probe = co_await probeContainer(docker);
    if (isOutdated(docker, operations) || stop.stop_requested() || probe.timedOut || probe.cancelled) {
        co_return;
    }
    if (probe.status == 0 && stateWord(probe.output) == u"running"_s) {
        setDockerState(DockerState::ready);
        const bool answers = co_await m_env.pageAnswers(m_state->port);
        if (isOutdated(docker, operations)) {
            co_return;
        }
        publishRunning(answers);
    } else {
        publishNotRunning(probe);
    }
    m_comingUp.reset();
    if (m_state->dockerState == DockerState::ready && !m_state->composeAvailable) {
        co_await ensureCompose(docker);
    }
}

/// Whether an operation has begun since `operations` were counted, which knows better even when it has ended by now,
/// or the user has chosen another tool than `docker`.
bool KumaController::isOutdated(const QString& docker, int operations) const {
    return m_state->busy || m_operations != operations || m_state->dockerPath != docker;
}

/// Looks up the tools; false when there is no docker to ask.
bool KumaController::findTools() {
    m_state.set(&ControllerState::brewPath, m_env.findTool(u"brew"_s));
    m_state.set(&ControllerState::colimaPath, m_env.findTool(u"colima"_s));
    if (!m_state->dockerPath) {
        m_state.set(&ControllerState::dockerPath, m_env.findDocker(m_state->dockerOverride));
    }
    m_state.set(&ControllerState::dockerElsewhere,
                m_state->dockerPath ? std::nullopt : m_env.findToolElsewhere(u"docker"_s));
    if (!m_state->dockerPath) {
        setDockerState(DockerState::missing);
        m_state.set(&ControllerState::kuma, KumaState::stopped);
        return false;
    }
    if (m_state->dockerState == DockerState::unknown || m_state->dockerState == DockerState::missing) {
        setDockerState(DockerState::notRunning);
    }
    return true;
}

void KumaController::publishRunning(bool pageAnswers) {
    m_state.set(&ControllerState::kuma, pageAnswers ? KumaState::running : KumaState::starting);
    if (pageAnswers && isRestartLoop(m_state->error)) {
        m_state.set(&ControllerState::error, std::nullopt);
    }
}

void KumaController::publishNotRunning(const CommandResult& probe) {
    if (probe.status != 0) {
        if (saysNoContainer(probe.output)) {
            setDockerState(DockerState::ready);
        } else {
            setDockerState(DockerState::notRunning, probe.output);
        }
        m_state.set(&ControllerState::kuma, KumaState::stopped);
        return;
    }
    setDockerState(DockerState::ready);
    const QString word = stateWord(probe.output);
    if (word != u"restarting"_s) {
        m_state.set(&ControllerState::kuma, KumaState::stopped);
        return;
    }
    m_state.set(&ControllerState::kuma, KumaState::error);
    m_state.set(&ControllerState::error, OpError{restartLoopMessage(), word});
}

QCoro::Task<void> KumaController::maybeFetchStatus() {
    if (m_state->kuma != KumaState::running || m_state->busy) {
        co_return;
    }
    const QString slug = normalised(m_state->slug);
    if (slug.isEmpty()) {
        co_return;
    }
    const Clock::TimePoint now = m_env.clock->now();
    if (m_lastStatusFetch && now - *m_lastStatusFetch < statusPeriod) {
        co_return;
    }
    m_lastStatusFetch = now;
    const StatusPageResult result = co_await m_env.fetchStatusPage(m_state->port, slug);
    if (normalised(m_state->slug) == slug) {
        publishStatus(result);
    }
}

void KumaController::publishStatus(const StatusPageResult& result) {
    if (const auto* failure = std::get_if<StatusPageError>(&result)) {
        m_state.set(&ControllerState::statusError, failure->message);
        m_state.set(&ControllerState::monitors, QList<MonitorRow>());
        return;
    }
    const auto& page = std::get<StatusPageData>(result);
    m_state.set(&ControllerState::statusError, std::nullopt);
    m_state.set(&ControllerState::statusTitle, page.title);
    m_state.set(&ControllerState::lastStatusUpdate, m_env.clock->wallTime());
    applyTransitions(page.monitors);
    m_state.set(&ControllerState::monitors, page.monitors);
    requestNotificationAuthIfNeeded();
}

void KumaController::forgetBaseline() {
    m_previousStatus.clear();
    m_hasBaseline = false;
}

void KumaController::applyTransitions(const QList<MonitorRow>& rows) {
    if (m_hasBaseline && m_env.notifier->mayPost()) {
        for (const MonitorNews& news : monitorNews(m_previousStatus, rows)) {
            m_env.notifier->post(news.title, news.body);
        }
    }
    m_previousStatus = statusesOf(rows);
    m_hasBaseline = true;
}

void KumaController::requestNotificationAuthIfNeeded() {
    if (m_requestedNotificationAuth || !m_env.notifier->mayPost()) {
        return;
    }
    m_requestedNotificationAuth = true;
    m_env.notifier->requestAuthorization();
}

QCoro::Task<CommandResult> KumaController::probeContainer(QString docker) const {
    const QStringList arguments{u"inspect"_s, u"-f"_s, u"{{.State.Status}}"_s, u"orvanel"_s};
    return command(docker, arguments, probeLimit);
}

QCoro::Task<std::optional<QString>> KumaController::containerState(QString docker) const {
    const CommandResult probe = co_await probeContainer(docker);
    if (probe.status != 0) {
        co_return std::nullopt;
    }
    co_return stateWord(probe.output);
}

QCoro::Task<CommandResult> KumaController::runStop(QString docker) {
    const bool hasCompose = co_await ensureCompose(docker);
    if (hasCompose) {
        const std::optional<QString> state = co_await containerState(docker);
        if (state) {
            const QStringList composeStop = composeArgs(QStringList(u"stop"_s));
            const CommandResult result = co_await command(docker, composeStop, stopLimit);
            // A container that compose has not made itself it leaves alone, and calls that a success.
            if (result.isSuccess()) {
                const CommandResult probe = co_await probeContainer(docker);
                if (isStopped(probe)) {
                    co_return result;
                }
            }
        }
    }
    const QStringList plainStop{u"stop"_s, u"orvanel"_s};
    const CommandResult result = co_await command(docker, plainStop, stopLimit);
    co_return result;
}

} // namespace orvanel
