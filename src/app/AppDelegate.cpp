#include "app/AppDelegate.h"

#include "controller/KumaController.h"

#include <exception>

using namespace Qt::StringLiterals;

namespace orvanel {

bool stopsContainerFirst(const ControllerState& state) {
    const bool isStopped = state.kuma == KumaState::stopped && !state.isPaused;
    return state.stopOnQuit && !isStopped && state.dockerState == DockerState::ready;
}

AppDelegate::AppDelegate(KumaController& controller)
    : m_controller(controller) {}

void AppDelegate::applicationDidFinishLaunching() {
    m_controller.begin();
}

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate() {
    m_controller.shutdownPolling();
    ControllerState state = m_controller.state();
    if (m_controller.mayBeComingUp()) {
        state.kuma = KumaState::starting;
    }
    if (!stopsContainerFirst(state)) {
        return TerminateReply::TerminateNow;
    }
    m_tasks.start(stopThenReply(), u"stop before the end"_s);
    return TerminateReply::TerminateLater;
}

QCoro::Task<void> AppDelegate::stopThenReply() {
    std::exception_ptr failure;
    try {
        co_await m_controller.runStop();
    } catch (...) {
        failure = std::current_exception();
    }
    // Even a failed stop must not keep the user from quitting.
    Q_EMIT replyToApplicationShouldTerminate(true);
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace orvanel
