#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>
#include <memory>

namespace orvanel {

/// Owns tasks that nobody awaits: it counts them, catches what they throw, and lets its owner wait for their end. If
/// the scope is destroyed first, its tasks run on, and what they use must outlive them. The scope and its tasks live on
/// one thread.
class TaskScope {
public:
    /// Called with the name of a task that threw, and the error's text. The default writes both to standard error.
    using ErrorReport = std::function<void(const QString& name, const QString& what)>;

    explicit TaskScope(ErrorReport report = {});
    ~TaskScope();
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;

    /// Takes over a task that is already running. `name` identifies it in an error report.
    void start(QCoro::Task<void> task, QString name);

    int running() const;

    /// Ends when no task is running any more. Only one caller may wait at a time.
    QCoro::Task<void> finished();

private:
    struct State;
    static QCoro::Task<void> own(std::shared_ptr<State> state, QCoro::Task<void> task, QString name);

    std::shared_ptr<State> m_state;
};

} // namespace orvanel
