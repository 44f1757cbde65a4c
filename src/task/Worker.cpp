#include "task/Worker.h"

#include <QThreadPool>

#include <mutex>

namespace orvanel {
namespace {

/// Guards the hand-over of jobs. Qt's own locks would do, but the thread sanitizer cannot see them: it would report
/// each hand-over as a data race.
constinit std::mutex handover;

class Job final : public QRunnable {
public:
    explicit Job(std::function<void()> work) {
        const std::lock_guard lock(handover);
        m_work = std::move(work);
    }

    void run() override {
        std::function<void()> work;
        {
            const std::lock_guard lock(handover);
            work = std::move(m_work);
        }
        work();
    }

private:
    std::function<void()> m_work;
};

} // namespace

void startOnWorker(std::function<void()> job) {
    QThreadPool::globalInstance()->start(new Job(std::move(job)));
}

} // namespace orvanel
