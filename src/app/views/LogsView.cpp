#include "app/views/LogsView.h"

#include "app/widgets/Buttons.h"
#include "app/widgets/Switch.h"
#include "app/widgets/TextBox.h"
#include "app/widgets/TextLabel.h"
#include "app/widgets/TextStyle.h"
#include "controller/KumaController.h"
#include "platform/Dialogs.h"
#include "task/Clock.h"
#include "task/Worker.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QSaveFile>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr std::chrono::seconds followInterval{2};
constexpr double shade = 0.06;

/// Writes the whole file or nothing. Returns the reason for a failure.
std::optional<QString> writeFile(const QString& path, const QString& text) {
    QSaveFile file(path);
    const QByteArray content = text.toUtf8();
    // commit() alone would not notice if the disk is full at the very end.
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush() && file.commit();
    return isWritten ? std::nullopt : std::optional(file.errorString());
}

} // namespace

LogsView::LogsView(KumaController& controller, Dialogs& dialogs, Clock& clock, QWidget* parent)
    : QWidget(parent)
    , m_controller(controller)
    , m_dialogs(dialogs)
    , m_clock(clock)
    , m_follow(new Switch(u"Follow"_s))
    , m_problem(new TextLabel(TextStyle::body))
    , m_logs(new TextBox(u"Logs"_s)) {
    m_logs->setPlaceholder(u"No logs yet."_s);
    m_logs->setShade(shade);
    connect(m_follow, &Switch::toggled, m_logs, &TextBox::setFollowing);
    m_follow->setChecked(true);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(spacing::padding, spacing::padding, spacing::padding, spacing::padding);
    column->setSpacing(spacing::parts);
    column->addLayout(makeToolbar());
    column->addWidget(m_problem);
    column->addWidget(m_logs, 1);
    m_problem->setMeaning(Meaning::bad);
    m_problem->hide();

    addShortcut(QKeySequence::Refresh, &LogsView::refresh);
    addShortcut(QKeySequence::Copy, &LogsView::copy);
    addShortcut(QKeySequence::Save, &LogsView::save);
}

LogsView::~LogsView() {
    m_followTask.request_stop();
}

QHBoxLayout* LogsView::makeToolbar() {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    addButton(row, u"Refresh"_s, [this] { refresh(); })->setToolTip(u"F5"_s);
    row->addSpacing(spacing::related);
    row->addWidget(m_follow);
    row->addStretch();
    addButton(row, u"Copy"_s, [this] { copy(); })->setToolTip(u"Ctrl+C"_s);
    m_save = addButton(row, u"Save…"_s, [this] { save(); });
    m_save->setToolTip(u"Ctrl+S"_s);
    return row;
}

void LogsView::addShortcut(const QKeySequence& keys, void (LogsView::*action)()) {
    auto* shortcut = new QAction(this);
    shortcut->setShortcut(keys);
    // A key that is held down must not start one reading after another.
    shortcut->setAutoRepeat(false);
    connect(shortcut, &QAction::triggered, this, action);
    addAction(shortcut);
}

void LogsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!m_hasBegun) {
        m_hasBegun = true;
        m_tasks.start(follow(this, &m_controller, &m_clock, m_followTask.get_token()), u"follow the logs"_s);
    }
}

void LogsView::refresh() {
    m_tasks.start(fetchOnce(this, &m_controller), u"refresh the logs"_s);
}

void LogsView::copy() {
    QGuiApplication::clipboard()->setText(m_logs->content());
}

void LogsView::save() {
    m_tasks.start(chooseAndSave(this, &m_dialogs), u"save the logs"_s);
}

QCoro::Task<void> LogsView::follow(Self self, KumaController* controller, Clock* clock, std::stop_token stop) {
    while (!stop.stop_requested()) {
        const QString text = co_await controller->fetchLogs();
        if (self.isNull()) {
            co_return;
        }
        self->m_logs->setContent(text);
        if (!self->m_follow->isChecked()) {
            co_return;
        }
        co_await sleepFor(clock, followInterval, stop);
    }
}

QCoro::Task<void> LogsView::fetchOnce(Self self, KumaController* controller) {
    const QString text = co_await controller->fetchLogs();
    if (!self.isNull()) {
        self->m_logs->setContent(text);
    }
}

QCoro::Task<void> LogsView::chooseAndSave(Self self, Dialogs* dialogs) {
    const SavePanel panel{
        .title = u"Save the Uptime Kuma logs"_s, .message = {}, .proposedName = u"uptime-kuma-logs.txt"_s};
    const std::optional<QString> path = co_await dialogs->chooseSavePath(panel);
    if (!path || self.isNull()) {
        co_return;
    }
    const auto job = [path = *path, text = self->m_logs->content()] { return writeFile(path, text); };
    const std::optional<QString> failure = co_await onWorker(job);
    if (!self.isNull()) {
        self->showWhetherSaved(*path, failure);
    }
}

void LogsView::showWhetherSaved(const QString& path, const std::optional<QString>& failure) {
    const QString problem = failure ? u"The logs could not be saved to %1: %2"_s.arg(path, *failure) : QString();
    m_problem->setOutsideText(problem);
    m_problem->setVisible(failure.has_value());
    m_save->setAccessibleDescription(problem);
}

} // namespace orvanel
