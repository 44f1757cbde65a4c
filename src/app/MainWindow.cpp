#include "app/MainWindow.h"

#include "app/views/MainView.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QPushButton>
#include <QVBoxLayout>

namespace orvanel {
namespace {

constexpr QSize minimum{560, 520};

} // namespace

MainWindow::MainWindow(ViewContext context)
    : AppWindow(QStringLiteral("Orvanel"))
    , m_view(new MainView(context)) {
    setMinimumSize(minimum);
    resize(minimum);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_view);
}

/// Only dialogs of Qt have a default button, so Return is looked after here: the focused button first, as on other
/// desktops, then the view's default.
void MainWindow::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // Held down it would press whatever button comes next.
    if (!isReturn || event->isAutoRepeat()) {
        AppWindow::keyPressEvent(event);
        return;
    }
    QAbstractButton* button = qobject_cast<QAbstractButton*>(focusWidget());
    if (button == nullptr) {
        button = m_view->defaultButton();
    }
    if (button != nullptr && button->isVisible()) {
        button->click();
    }
}

} // namespace orvanel
