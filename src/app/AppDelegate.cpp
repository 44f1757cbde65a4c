#include "app/AppDelegate.h"

#include "controller/KumaController.h"

#include <exception>

using namespace Qt::StringLiterals;

namespace orvanel {

bool stopsContainerFirst(bool stopOnQuit, KumaState kuma, DockerState dockerState) {
    return stopOnQuit && kuma != KumaState::stopped && dockerState == DockerState::ready;
}

AppDelegate::AppDelegate(KumaController& controller)
    : m_controller(controller) {}

void AppDelegate::applicationDidFinishLaunching() {
    m_controller.begin();
}

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate() {
    m_controller.shutdownPolling();
    const KumaState kuma = m_controller.mayBeComingUp() ? KumaState::starting : m_controller.state().kuma;
    if (!stopsContainerFirst(m_controller.state().stopOnQuit, kuma, m_controller.state().dockerState)) {
        return TerminateReply::TerminateNow;
    }
    m_tasks.start(stopThenReply(), u"stop before the end"_s);
    return TerminateReply::TerminateLater;
}

QCoro::Task<void> AppDelegate::stopThenReply() {
    const std::optional<QString> docker = m_controller.state().dockerPath;
    std::exception_ptr failure;
    if (docker) {
        try {
            // A stop beside it would find nothing to stop yet.
            co_await m_controller.bringUpEnd();
            co_await m_controller.runStop(*docker);
        } catch (...) {
            failure = std::current_exception();
        }
    }
    // Whatever became of the stop: nobody may be kept from leaving.
    Q_EMIT replyToApplicationShouldTerminate(true);
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace orvanel
