#include "app/AppWindow.h"

#include "app/ApplicationIcon.h"
#include "app/widgets/TextStyle.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QChildEvent>
#include <QDialog>
#include <QEvent>
#include <QKeyEvent>

namespace orvanel {

AppWindow::AppWindow(const QString& title)
    : m_quit(new QAction(this)) {
    setWindowTitle(title);
    // One for all windows: Qt remembers what it drew of every icon that is made.
    if (QApplication::windowIcon().isNull()) {
        QApplication::setWindowIcon(applicationIcon());
    }

    m_quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    connect(m_quit, &QAction::triggered, m_quit, &QCoreApplication::quit);
    addAction(m_quit);

    auto* close = new QAction(this);
    close->setShortcut(Qt::CTRL | Qt::Key_W);
    connect(close, &QAction::triggered, this, &QWidget::close);
    addAction(close);
}

/// A question over the window takes the keys, so it gets the same action: with one of its own there could be two for
/// one key.
void AppWindow::childEvent(QChildEvent* event) {
    QWidget::childEvent(event);
    auto* question = qobject_cast<QDialog*>(event->child());
    if (event->polished() && question != nullptr) {
        question->addAction(m_quit);
    }
}

void AppWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        refreshTextStyles(this);
    }
}

/// Only dialogs of Qt have a default button, so Return is looked after here: the focused button first, as on other
/// desktops, then the default.
void AppWindow::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // Held down it would press whatever button comes next.
    if (!isReturn || event->isAutoRepeat()) {
        QWidget::keyPressEvent(event);
        return;
    }
    QAbstractButton* button = qobject_cast<QAbstractButton*>(focusWidget());
    if (button == nullptr) {
        button = defaultButton();
    }
    if (button != nullptr && button->isVisible()) {
        button->click();
    }
}

} // namespace orvanel
