#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>
#include <memory>

namespace orvanel {

/// Owns the tasks that nobody awaits: it keeps count of them, catches what they throw, and lets its owner wait for
/// their end. The tasks run on when the scope goes first; what they use must then outlive them.
/// Lives on one thread, like its tasks.
class TaskScope {
public:
    /// Told what a task threw: the task's name and the error's text. The default writes it to the program's
    /// standard error.
    using ErrorReport = std::function<void(const QString& name, const QString& what)>;

    explicit TaskScope(ErrorReport report = {});
    ~TaskScope();
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;

    /// Takes over a task that is already running. `name` says in an error report which one it was.
    void start(QCoro::Task<void> task, QString name);

    int running() const;

    /// Ends when no task is running any more. One caller at a time.
    QCoro::Task<void> finished();

private:
    struct State;
    static QCoro::Task<void> own(std::shared_ptr<State> state, QCoro::Task<void> task, QString name);

    std::shared_ptr<State> m_state;
};

} // namespace orvanel
