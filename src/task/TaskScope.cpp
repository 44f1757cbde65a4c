#include "task/TaskScope.h"

#include "task/Event.h"

#include <QDebug>

#include <exception>
#include <optional>

using namespace Qt::StringLiterals;

namespace orvanel {

struct TaskScope::State {
    ErrorReport report;
    int running = 0;
    std::optional<Event<>> idle;

    void ended() {
        running -= 1;
        if (running == 0 && idle) {
            idle->complete();
            idle.reset();
        }
    }
};

TaskScope::TaskScope(ErrorReport report)
    : m_state(std::make_shared<State>()) {
    m_state->report = report ? std::move(report) : [](const QString& name, const QString& what) {
        qWarning().noquote() << name << "ended with an error:" << what;
    };
}

TaskScope::~TaskScope() = default;

void TaskScope::start(QCoro::Task<void> task, QString name) {
    m_state->running += 1;
    own(m_state, std::move(task), std::move(name));
}

int TaskScope::running() const {
    return m_state->running;
}

QCoro::Task<void> TaskScope::finished() {
    const std::shared_ptr<State> state = m_state;
    while (state->running > 0) {
        if (!state->idle) {
            state->idle.emplace();
        }
        const Event<> idle = *state->idle;
        co_await idle;
    }
}

QCoro::Task<void> TaskScope::own(std::shared_ptr<State> state, QCoro::Task<void> task, QString name) {
    try {
        co_await task;
    } catch (const std::exception& error) {
        state->report(name, QString::fromUtf8(error.what()));
    } catch (...) {
        state->report(name, u"an error of unknown kind"_s);
    }
    state->ended();
}

} // namespace orvanel
