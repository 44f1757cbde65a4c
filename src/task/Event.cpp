#include "task/Event.h"

#include <QCoreApplication>
#include <QEvent>

#include <vector>

namespace orvanel {
namespace {

/// Hands actions over to its own thread. Qt's queue could carry them, but the thread sanitizer cannot see Qt's locks:
/// it would report each hand-over as a data race.
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
        std::shared_ptr<Receiver> self; // keeps the receiver alive until the action has run
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
    // The last copy may be dropped on the thread that completes the event; the receiver must be deleted on its own.
    const std::shared_ptr<Receiver> receiver(new Receiver, [](Receiver* object) { object->deleteLater(); });
    return [receiver](std::function<void()> action) { Receiver::post(receiver, std::move(action)); };
}

} // namespace orvanel
