#include "task/Event.h"

#include <QMetaObject>
#include <QPointer>

namespace orvanel {

PostToThread postToThisThread() {
    // Deleted in its own thread, whoever drops the last copy: it may be the thread that completes the event.
    const std::shared_ptr<QObject> receiver(new QObject, [](QObject* object) { object->deleteLater(); });
    return [receiver](std::function<void()> action) {
        QMetaObject::invokeMethod(
            receiver.get(), [receiver, action = std::move(action)] { action(); }, Qt::QueuedConnection);
    };
}

} // namespace orvanel
