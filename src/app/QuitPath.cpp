#include "app/QuitPath.h"

#include "app/AppDelegate.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimerEvent>

namespace orvanel {

QuitPath::QuitPath(AppDelegate& delegate)
    : m_delegate(delegate) {
    // Queued, so that a reply never overtakes the answer that announces it.
    connect(&delegate, &AppDelegate::replyToApplicationShouldTerminate, this, &QuitPath::leave, Qt::QueuedConnection);
    QCoreApplication::instance()->installEventFilter(this);
}

bool QuitPath::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Quit || watched != QCoreApplication::instance()) {
        return QObject::eventFilter(watched, event);
    }
    event->ignore();
    if (!m_isQuitting) {
        m_isQuitting = true;
        const AppDelegate::TerminateReply reply = m_delegate.applicationShouldTerminate();
        Q_EMIT quitting();
        if (reply == AppDelegate::TerminateReply::TerminateNow) {
            leave();
        }
    }
    return true;
}

/// Waits a few turns of the event loop: tasks that were just told to stop end in them, and so do questions whose
/// windows were closed.
void QuitPath::leave() {
    m_turnsLeft = 3;
    m_exit.start(0, this);
}

void QuitPath::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_exit.timerId() && --m_turnsLeft == 0) {
        m_exit.stop();
        QCoreApplication::exit(0);
    }
}

} // namespace orvanel
