#include "app/WidgetDialogs.h"

#include "app/OpenPathDialog.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/PushButton.h"
#include "task/Event.h"

#include <QAbstractItemView>
#include <QAction>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QMessageBox::Icon iconOf(Alert::Style style) {
    switch (style) {
    case Alert::Style::Information:
        return QMessageBox::Information;
    case Alert::Style::Warning:
        return QMessageBox::Warning;
    case Alert::Style::Critical:
        return QMessageBox::Critical;
    }
    Q_UNREACHABLE();
}

/// Shows the dialog without waiting for it. `done` is completed with whether it was accepted, also when the window
/// below takes it along.
void open(QDialog* dialog, const Event<bool>& done) {
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    QObject::connect(dialog, &QObject::destroyed, dialog, [done] { done.complete(false); });
    dialog->open();
}

/// The paths that an accepted dialog leaves behind.
using ChosenPath = std::shared_ptr<std::optional<QString>>;

ChosenPath openPanel(QFileDialog* dialog, const QString& title, const QString& message, const Event<bool>& done) {
    auto chosen = std::make_shared<std::optional<QString>>();
    // No file dialog of this desktop has room for a message but its title.
    const bool saysMore = !message.isEmpty() && message != title;
    dialog->setWindowTitle(saysMore ? u"%1 – %2"_s.arg(title, message) : title);
    QObject::connect(dialog, &QFileDialog::accepted, dialog, [dialog, chosen, done] {
        *chosen = dialog->selectedFiles().value(0);
        done.complete(true);
    });
    open(dialog, done);
    return chosen;
}

/// Qt's own dialog lets files be deleted and renamed, and asks or complains in a way that holds up everything until it
/// is answered. New folders can be made still.
void forbidDeleting(QFileDialog* dialog) {
    for (QShortcut* shortcut : dialog->findChildren<QShortcut*>()) {
        shortcut->setEnabled(shortcut->key() != QKeySequence(QKeySequence::Delete));
    }
    for (const char* name : {"qt_delete_action", "qt_rename_action"}) {
        if (auto* action = dialog->findChild<QAction*>(QString::fromLatin1(name))) {
            action->setVisible(false);
        }
    }
    for (QAbstractItemView* view : dialog->findChildren<QAbstractItemView*>()) {
        view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    }
}

Alert replaceQuestion(const QString& name) {
    return {
        .style = Alert::Style::Warning,
        .message = u"\"%1\" already exists. Do you want to replace it?"_s.arg(name),
        .informativeText = u"What it holds now is lost then."_s,
        .confirmButton = u"Replace"_s,
        .cancelButton = u"Cancel"_s,
        .confirmsByReturn = false,
    };
}

/// A link that leads nowhere would be replaced too.
bool isTaken(const QFileInfo& place) {
    return place.exists() || place.isSymLink();
}

QMessageBox* makeAlert(const Alert& alert, QWidget* parent, const Event<bool>& done) {
    auto* box = new QMessageBox(iconOf(alert.style), u"Orvanel"_s, alert.message, QMessageBox::NoButton, parent);
    box->setInformativeText(alert.informativeText);
    for (QLabel* label : box->findChildren<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
    }
    // Of our own, because the key that asked may still be held down.
    auto* confirm = new PushButton(plainButtonText(alert.confirmButton), PushButton::Kind::plain);
    auto* cancel = new PushButton(plainButtonText(alert.cancelButton), PushButton::Kind::plain);
    box->addButton(confirm, QMessageBox::AcceptRole);
    box->addButton(cancel, QMessageBox::RejectRole);
    box->setDefaultButton(alert.confirmsByReturn ? confirm : cancel);
    box->setEscapeButton(cancel);
    QObject::connect(confirm, &QPushButton::clicked, box, [done] { done.complete(true); });
    return box;
}

} // namespace

WidgetDialogs::WidgetDialogs(ParentWindow parentWindow)
    : m_parentWindow(std::move(parentWindow)) {}

QCoro::Task<bool> WidgetDialogs::confirm(Alert alert) {
    QWidget* const parent = m_parentWindow();
    if (parent == nullptr) {
        co_return false;
    }
    const Event<bool> done;
    open(makeAlert(alert, parent, done), done);
    const bool confirmed = co_await done;
    co_return confirmed;
}

QCoro::Task<std::optional<QString>> WidgetDialogs::chooseSavePath(SavePanel panel) {
    QString proposed = QDir::home().filePath(panel.proposedName);
    while (true) {
        const std::optional<QString> path = co_await askForSavePath(panel, proposed);
        if (!path || !isTaken(QFileInfo(*path))) {
            co_return path;
        }
        const Alert question = replaceQuestion(QFileInfo(*path).fileName());
        const bool isReplaced = co_await confirm(question);
        if (isReplaced) {
            co_return path;
        }
        proposed = *path;
    }
}

QCoro::Task<std::optional<QString>> WidgetDialogs::askForSavePath(SavePanel panel, QString proposed) {
    QWidget* const parent = m_parentWindow();
    if (parent == nullptr) {
        co_return std::nullopt;
    }
    auto* dialog = new QFileDialog(parent);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // The dialog's own question would hold up everything until it is answered.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->setDirectory(QFileInfo(proposed).path());
    dialog->selectFile(QFileInfo(proposed).fileName());
    const Event<bool> done;
    const ChosenPath chosen = openPanel(dialog, panel.title, panel.message, done);
    forbidDeleting(dialog);
    co_await done;
    co_return *chosen;
}

QCoro::Task<std::optional<QString>> WidgetDialogs::chooseOpenPath(OpenPanel panel) {
    QWidget* const parent = m_parentWindow();
    if (parent == nullptr) {
        co_return std::nullopt;
    }
    auto* dialog = new OpenPathDialog(panel, parent);
    dialog->setDirectory(QDir::home());
    const Event<bool> done;
    const ChosenPath chosen = openPanel(dialog, panel.title, panel.message, done);
    co_await done;
    co_return *chosen;
}

} // namespace orvanel
