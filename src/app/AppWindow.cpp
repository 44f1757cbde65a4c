#include "app/AppWindow.h"

#include "app/ApplicationIcon.h"
#include "app/widgets/TextStyle.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QKeyEvent>

namespace orvanel {

AppWindow::AppWindow(const QString& title) {
    setWindowTitle(title);
    // One for all windows: Qt remembers what it drew of every icon that is made.
    if (QApplication::windowIcon().isNull()) {
        QApplication::setWindowIcon(applicationIcon());
    }

    auto* quit = new QAction(this);
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    connect(quit, &QAction::triggered, quit, &QCoreApplication::quit);
    addAction(quit);

    auto* close = new QAction(this);
    close->setShortcut(Qt::CTRL | Qt::Key_W);
    connect(close, &QAction::triggered, this, &QWidget::close);
    addAction(close);
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
