#pragma once

#include "controller/ControllerState.h"
#include "task/TaskScope.h"

#include <QObject>

namespace orvanel {

class KumaController;

/// Whether the container must be stopped before the program ends: the user wants that, the container is not stopped,
/// and Docker answers.
bool stopsContainerFirst(const ControllerState& state);

/// What the program does when it has started and when it is asked to quit.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    enum class TerminateReply {
        TerminateNow,
        /// replyToApplicationShouldTerminate() always follows.
        TerminateLater,
    };

    explicit AppDelegate(KumaController& controller);

    void applicationDidFinishLaunching();
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }
    /// Ends the polling, and begins to stop the container where it must be stopped first.
    TerminateReply applicationShouldTerminate();

Q_SIGNALS:
    void replyToApplicationShouldTerminate(bool terminate);

private:
    QCoro::Task<void> stopThenReply();

    KumaController& m_controller;
    TaskScope m_tasks;
};

} // namespace orvanel
