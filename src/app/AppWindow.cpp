#include "app/AppWindow.h"

#include "app/widgets/TextStyle.h"
#include "platform/AppIdentity.h"

#include <QAction>
#include <QCoreApplication>
#include <QEvent>
#include <QIcon>

namespace orvanel {

AppWindow::AppWindow(const QString& title) {
    setWindowTitle(title);
    setWindowIcon(QIcon::fromTheme(identity::iconName()));

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

} // namespace orvanel
