#include "app/OrvanelApp.h"

#include "app/AppWindow.h"
#include "app/WindowPlace.h"

#include <QApplication>

namespace orvanel {

OrvanelApp::OrvanelApp(const AppEnvironment& environment)
    : m_environment(environment)
    , m_windows(std::make_unique<Windows>())
    , m_userTime(std::make_unique<UserTime>())
    , m_dialogs([this] { return windowForQuestions(); })
    , m_logsDialogs([this] { return window(windowId::logs()); })
    , m_settingsDialogs([this] { return window(windowId::settings()); })
    , m_controller(withDialogs(environment.controller))
    , m_delegate(m_controller)
    , m_quitPath(m_delegate) {
    QGuiApplication::setQuitOnLastWindowClosed(m_delegate.applicationShouldTerminateAfterLastWindowClosed());
    QCoreApplication::setQuitLockEnabled(false);
    addWindows();
    connect(&m_quitPath, &QuitPath::quitting, this, &OrvanelApp::takeDown);
    connect(&m_quitPath, &QuitPath::quitting, this, &OrvanelApp::quitting);
    // No window and no icon may outlive the application object, whatever ended its event loop.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        m_statusItem.reset();
        m_userTime.reset();
        m_windows.reset();
    });
}

ControllerEnvironment OrvanelApp::withDialogs(ControllerEnvironment environment) {
    environment.dialogs = &m_dialogs;
    return environment;
}

/// The window in which the user asked for the operation. From the menu there may be none, so the main window opens.
QWidget* OrvanelApp::windowForQuestions() {
    if (m_windows == nullptr) {
        return nullptr;
    }
    if (QWidget* const active = m_windows->active()) {
        return active;
    }
    // This brings the window to the front even if the user asked elsewhere, in the menu of a panel.
    openMainWindow();
    return m_windows->open(windowId::main());
}

void OrvanelApp::addWindows() {
    const ViewContext context{
        m_controller,
        *m_environment.controller.desktop,
        *m_environment.controller.clock,
        [this](const QString& id) { m_windows->open(id); },
    };
    addWindow(windowId::main(), [context] { return new MainWindow(context); });
    addWindow(windowId::logs(),
              [this] { return new LogsWindow(m_controller, m_logsDialogs, *m_environment.controller.clock); });
    addWindow(windowId::settings(), [this, context] { return new SettingsWindow(context, m_settingsDialogs); });
}

void OrvanelApp::addWindow(const QString& id, const Windows::Factory& make) {
    m_windows->add(id, [this, id, make] {
        QWidget* const window = make();
        rememberPlace(window, id, *m_environment.controller.defaults);
        return window;
    });
}

void OrvanelApp::start() {
    m_statusItem =
        std::make_unique<StatusItem>(m_controller, *m_environment.controller.desktop, *m_environment.controller.clock,
                                     m_environment.legacyTray, m_environment.bus);
    connect(m_statusItem.get(), &StatusItem::openWindowRequested, this, [this] { openMainWindow(); });
    // Nobody asked for it, so it must not take the keyboard from another program.
    connect(m_statusItem.get(), &StatusItem::noPanel, this, [this] { m_windows->open(windowId::main()); });
    QMetaObject::invokeMethod(&m_delegate, &AppDelegate::applicationDidFinishLaunching, Qt::QueuedConnection);
}

/// The program may end later, but the user can do nothing more in it.
void OrvanelApp::takeDown() {
    m_windows->closeForGood();
    if (m_statusItem) {
        // Deleted later, because a choice in its menu may have led here.
        m_statusItem.release()->deleteLater();
    }
}

QWidget* OrvanelApp::window(const QString& id) const {
    return m_windows != nullptr ? m_windows->find(id) : nullptr;
}

void OrvanelApp::openMainWindow(const QString& activationToken) {
    if (m_windows != nullptr) {
        m_userTime->renew([this, activationToken] { m_windows->open(windowId::main(), activationToken); });
    }
}

} // namespace orvanel
