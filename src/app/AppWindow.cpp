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
#include <QShowEvent>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

/// Nothing else refers to the resource, so the linker would leave it out. The macro works only outside namespaces.
static void bringIcons() {
    Q_INIT_RESOURCE(icons);
}

namespace orvanel {
namespace {

constexpr QSize anySize{QWIDGETSIZE_MAX, QWIDGETSIZE_MAX};
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

AppWindow::AppWindow(const QString& title, EscapeKey escapeKey)
    : m_escapeKey(escapeKey)
    , m_quit(new QAction(this)) {
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
    if (event->key() == Qt::Key_Escape && m_escapeKey == EscapeKey::closes && !event->isAutoRepeat()) {
        close();
        return;
    }
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

void AppWindow::setSizes(QSize minimum, QSize maximum, QSize atFirst) {
    m_minimum = minimum;
    m_maximum = maximum;
    resize(atFirst);
    fitToScreen();
}

/// Where a size is larger than the free part of the screen, the content scrolls.
void AppWindow::fitToScreen() {
    // A window that was never shown has no frame yet.
    const QSize frame = frameGeometry().size() - size();
    const QSize room = screen()->availableSize() - frame;
    setMinimumSize(m_minimum.boundedTo(room));
    setMaximumSize(m_maximum == anySize ? anySize : m_maximum.boundedTo(room));
    if (isMaximized() || isFullScreen()) {
        return;
    }
    resize(size().boundedTo(room));
    const QRect free = screen()->availableGeometry();
    const QPoint corner = frameGeometry().topLeft();
    const QPoint lowest = free.bottomRight() - QPoint(frameGeometry().width(), frameGeometry().height()) + QPoint(1, 1);
    const QPoint inside(std::clamp(corner.x(), free.left(), std::max(free.left(), lowest.x())),
                        std::clamp(corner.y(), free.top(), std::max(free.top(), lowest.y())));
    if (isVisible() && inside != corner) {
        move(inside);
    }
}

void AppWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous()) {
        return;
    }
    followScreen();
    connect(windowHandle(), &QWindow::screenChanged, this, &AppWindow::followScreen, Qt::UniqueConnection);
}

void AppWindow::followScreen() {
    disconnect(m_screenChanges);
    m_screenChanges = connect(screen(), &QScreen::availableGeometryChanged, this, &AppWindow::fitToScreen);
    // Queued, because the window system tells of the frame only after the window is shown.
    QMetaObject::invokeMethod(this, &AppWindow::fitToScreen, Qt::QueuedConnection);
}

MainWindow::MainWindow(ViewContext context)
    : AppWindow(u"Orvanel"_s, EscapeKey::nothing)
    , m_view(new MainView(context)) {
    setSizes(mainMinimum, anySize, mainAtFirst);
    fillWith(this, m_view);
}

QAbstractButton* MainWindow::defaultButton() const {
    return m_view->defaultButton();
}

LogsWindow::LogsWindow(KumaController& controller, Dialogs& dialogs, Clock& clock)
    : AppWindow(u"Uptime Kuma Logs"_s, EscapeKey::closes) {
    setSizes(logsMinimum, anySize, logsAtFirst);
    fillWith(this, new LogsView(controller, dialogs, clock));
}

SettingsWindow::SettingsWindow(ViewContext context, Dialogs& dialogs)
    : AppWindow(u"Settings"_s, EscapeKey::closes) {
    setSizes(settingsFrame, settingsFrame, settingsFrame);
    fillWith(this, new SettingsView(context, dialogs));
}

} // namespace orvanel
