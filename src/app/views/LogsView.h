#pragma once

#include "task/TaskScope.h"

#include <QPointer>
#include <QWidget>

#include <stop_token>

class QHBoxLayout;
class QKeySequence;
class QPushButton;

namespace orvanel {

class Clock;
class Dialogs;
class KumaController;
class Switch;
class TextBox;
class TextLabel;

/// The content of the logs window: the container's latest output, read every two seconds while "Follow" is on. Reading
/// begins when the view is first shown. Once switching "Follow" off has ended it, it stays ended for the life of the
/// view.
class LogsView final : public QWidget {
    Q_OBJECT

public:
    /// The controller, dialogs and clock must outlive the view and the tasks that it leaves behind.
    LogsView(KumaController& controller, Dialogs& dialogs, Clock& clock, QWidget* parent = nullptr);
    ~LogsView() override;

    void refresh();
    /// Puts the whole log on the clipboard.
    void copy();
    /// Asks for a file, and writes the whole log to it.
    void save();

protected:
    void showEvent(QShowEvent* event) override;

private:
    using Self = QPointer<LogsView>;
    // The view may be gone whenever one of these resumes.
    static QCoro::Task<void> follow(Self self, KumaController* controller, Clock* clock, std::stop_token stop);
    static QCoro::Task<void> fetchOnce(Self self, KumaController* controller);
    static QCoro::Task<void> chooseAndSave(Self self, Dialogs* dialogs);

    void showWhetherSaved(const QString& path, const std::optional<QString>& failure);
    QHBoxLayout* makeToolbar();
    void addShortcut(const QKeySequence& keys, void (LogsView::*action)());

    KumaController& m_controller;
    Dialogs& m_dialogs;
    Clock& m_clock;
    Switch* m_follow;
    QPushButton* m_save = nullptr;
    /// Why the logs could not be saved.
    TextLabel* m_problem;
    TextBox* m_logs;
    bool m_hasBegun = false;
    /// Stopped when the view is deleted.
    std::stop_source m_followTask;
    TaskScope m_tasks;
};

} // namespace orvanel
