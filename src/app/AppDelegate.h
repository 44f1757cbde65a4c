#pragma once

#include "controller/ControllerState.h"
#include "task/TaskScope.h"

#include <QObject>

namespace orvanel {

class KumaController;

/// Whether the container has to be stopped before the program may end: where the user wants that, something runs, and
/// Docker can be told.
bool stopsContainerFirst(bool stopOnQuit, KumaState kuma, DockerState dockerState);

/// What the program does when it has started, and when it is asked to end.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    enum class TerminateReply {
        TerminateNow,
        /// replyToApplicationShouldTerminate() follows, in any case.
        TerminateLater,
    };

    explicit AppDelegate(KumaController& controller);

    void applicationDidFinishLaunching();
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }
    /// Ends the polling, and begins to stop the container where that comes first.
    TerminateReply applicationShouldTerminate();

Q_SIGNALS:
    void replyToApplicationShouldTerminate(bool terminate);

private:
    QCoro::Task<void> stopThenReply();

    KumaController& m_controller;
    TaskScope m_tasks;
};

} // namespace orvanel
