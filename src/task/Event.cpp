#include "task/Event.h"

#include <QCoreApplication>
#include <QEvent>

#include <vector>

namespace orvanel {
namespace {

/// Hands actions over to its own thread. Qt's queue could carry them itself, but only a lock of ours lets the thread
/// sanitizer see that what one thread left is what the other finds.
class Receiver final : public QObject {
public:
    static void post(const std::shared_ptr<Receiver>& receiver, std::function<void()> action) {
        {
            const std::lock_guard lock(receiver->m_mutex);
            receiver->m_actions.push_back({receiver, std::move(action)});
        }
        QCoreApplication::postEvent(receiver.get(), new QEvent(QEvent::User));
    }

    void customEvent(QEvent* /*event*/) override {
        for (const Entry& entry : takeAll()) {
            entry.action();
        }
    }

private:
    struct Entry {
        std::shared_ptr<Receiver> self; // kept, or it might be deleted before its turn comes
        std::function<void()> action;
    };

    std::vector<Entry> takeAll() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_actions, {});
    }

    std::mutex m_mutex;
    std::vector<Entry> m_actions;
};

} // namespace

PostToThread postToThisThread() {
    // Deleted in its own thread, whoever drops the last copy: it may be the thread that completes the event.
    const std::shared_ptr<Receiver> receiver(new Receiver, [](Receiver* object) { object->deleteLater(); });
    return [receiver](std::function<void()> action) { Receiver::post(receiver, std::move(action)); };
}

} // namespace orvanel
