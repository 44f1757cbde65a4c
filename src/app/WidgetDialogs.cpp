#include "app/WidgetDialogs.h"

#include "app/OpenPathDialog.h"
#include "app/widgets/PlainText.h"
#include "app/widgets/PushButton.h"
#include "app/widgets/TextLabel.h"
#include "task/Event.h"

#include <QAbstractItemView>
#include <QAction>
#include <QDir>
#include <QLabel>
#include <QLayout>
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

/// Shows the dialog without waiting for it. `end` is completed with `unanswered` when the dialog is deleted without an
/// answer, even together with the window below.
template <class Answer>
void open(QDialog* dialog, const Event<Answer>& end, Answer unanswered) {
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    QObject::connect(dialog, &QObject::destroyed, dialog, [end, unanswered] { end.complete(unanswered); });
    dialog->open();
}

/// Completed with the chosen path, or with none.
using ChosenPath = Event<std::optional<QString>>;

/// Gives the dialog its title and, where the message says more, a line with it at the top. The desktop's own dialogs
/// have no place for such a line, so the dialog is Qt's then. Call it before anything else of the dialog is set.
void setTexts(QFileDialog* dialog, const QString& title, const QString& message) {
    dialog->setWindowTitle(title);
    if (message.isEmpty() || message == title) {
        return;
    }
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    auto* line = new TextLabel(TextStyle::body, message);
    const QMargins margins = dialog->layout()->contentsMargins();
    line->setContentsMargins(margins.left(), margins.top(), margins.right(), 0);
    // The one place of a layout that is above all of its rows.
    dialog->layout()->setMenuBar(line);
    dialog->setAccessibleDescription(message);
}

ChosenPath openPanel(QFileDialog* dialog) {
    ChosenPath chosen;
    QObject::connect(dialog, &QFileDialog::accepted, dialog,
                     [dialog, chosen] { chosen.complete(dialog->selectedFiles().value(0)); });
    open(dialog, chosen, std::optional<QString>());
    return chosen;
}

/// Qt's dialog lets the user delete and rename files, with questions that run a nested event loop. Making new folders
/// stays possible.
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
        .informativeText = u"Its current contents will be lost."_s,
        .confirmButton = u"Replace"_s,
        .cancelButton = u"Cancel"_s,
        .confirmsByReturn = false,
    };
}

/// A broken link counts too, because it would be replaced as well.
bool isTaken(const QFileInfo& place) {
    return place.exists() || place.isSymLink();
}

QMessageBox* makeAlert(const Alert& alert, QWidget* parent, const Event<bool>& confirmed) {
    auto* box = new QMessageBox(iconOf(alert.style), u"Orvanel"_s, alert.message, QMessageBox::NoButton, parent);
    box->setInformativeText(alert.informativeText);
    for (QLabel* label : box->findChildren<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
    }
    // PushButtons, because they ignore the key that asked while it is still held down.
    auto* confirm = new PushButton(plainButtonText(alert.confirmButton), PushButton::Kind::plain);
    auto* cancel = new PushButton(plainButtonText(alert.cancelButton), PushButton::Kind::plain);
    box->addButton(confirm, QMessageBox::AcceptRole);
    box->addButton(cancel, QMessageBox::RejectRole);
    box->setDefaultButton(alert.confirmsByReturn ? confirm : cancel);
    box->setEscapeButton(cancel);
    QObject::connect(confirm, &QPushButton::clicked, box, [confirmed] { confirmed.complete(true); });
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
    const Event<bool> confirmed;
    const bool unanswered = false;
    open(makeAlert(alert, parent, confirmed), confirmed, unanswered);
    const bool answer = co_await confirmed;
    co_return answer;
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
    setTexts(dialog, panel.title, panel.message);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // The dialog's own question would run a nested event loop.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->setDirectory(QFileInfo(proposed).path());
    dialog->selectFile(QFileInfo(proposed).fileName());
    const ChosenPath chosen = openPanel(dialog);
    forbidDeleting(dialog);
    const std::optional<QString> path = co_await chosen;
    co_return path;
}

QCoro::Task<std::optional<QString>> WidgetDialogs::chooseOpenPath(OpenPanel panel) {
    QWidget* const parent = m_parentWindow();
    if (parent == nullptr) {
        co_return std::nullopt;
    }
    auto* dialog = new OpenPathDialog(panel, parent);
    setTexts(dialog, panel.title, panel.message);
    dialog->setDirectory(QDir::home());
    const ChosenPath chosen = openPanel(dialog);
    const std::optional<QString> path = co_await chosen;
    co_return path;
}

} // namespace orvanel
