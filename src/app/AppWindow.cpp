#include "app/AppWindow.h"

#include "app/views/LogsView.h"
#include "app/views/MainView.h"
#include "app/views/SettingsView.h"
#include "app/widgets/TextStyle.h"
#include "platform/AppIdentity.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QChildEvent>
#include <QDialog>
#include <QEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

/// Nothing else refers to the resource, so the linker would leave it out. The macro works only outside namespaces.
static void bringIcons() {
    Q_INIT_RESOURCE(icons);
}

namespace orvanel {
namespace {

constexpr QSize mainMinimum{560, 520};
constexpr QSize mainAtFirst{640, 600};
constexpr QSize logsMinimum{600, 400};
constexpr QSize logsAtFirst{760, 520};
constexpr QSize settingsFrame{560, 640};

/// The icon theme's where the program is installed, otherwise the one that the program contains. It is read only when
/// it is first drawn, so the idle program loads nothing for it.
QIcon applicationIcon() {
    bringIcons();
    const QString name = identity::iconName();
    return QIcon::fromTheme(name, QIcon(u":/icons/%1.svg"_s.arg(name)));
}

void fillWith(QWidget* window, QWidget* view) {
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins({});
    layout->addWidget(view);
}

} // namespace

AppWindow::AppWindow(const QString& title)
    : m_quit(new QAction(this)) {
    setWindowTitle(title);
    // All windows share one icon, because Qt keeps what it drew of every icon that is made.
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

/// A question over the window takes the keys, so it gets the same action. A second action would make the key ambiguous.
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

/// Qt gives only dialogs a default button, so Return is handled here: it presses the focused button, or else the
/// default one.
void AppWindow::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // A Return that is held down would press whatever button comes next.
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

MainWindow::MainWindow(ViewContext context)
    : AppWindow(u"Orvanel"_s)
    , m_view(new MainView(context)) {
    setMinimumSize(mainMinimum);
    resize(mainAtFirst);
    fillWith(this, m_view);
}

QAbstractButton* MainWindow::defaultButton() const {
    return m_view->defaultButton();
}

LogsWindow::LogsWindow(KumaController& controller, Dialogs& dialogs, Clock& clock)
    : AppWindow(u"Uptime Kuma Logs"_s) {
    setMinimumSize(logsMinimum);
    resize(logsAtFirst);
    fillWith(this, new LogsView(controller, dialogs, clock));
}

SettingsWindow::SettingsWindow(ViewContext context, Dialogs& dialogs)
    : AppWindow(u"Settings"_s) {
    // On a small screen the settings scroll.
    setFixedSize(settingsFrame.boundedTo(screen()->availableSize()));
    fillWith(this, new SettingsView(context, dialogs));
}

} // namespace orvanel
