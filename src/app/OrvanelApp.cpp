#include "app/OrvanelApp.h"

#include "app/LogsWindow.h"
#include "app/MainWindow.h"
#include "app/SettingsWindow.h"
#include "app/WindowPlace.h"

#include <QApplication>

namespace orvanel {

OrvanelApp::OrvanelApp(const Surroundings& surroundings)
    : m_surroundings(surroundings)
    , m_windows(std::make_unique<Windows>())
    , m_dialogs([this] { return windowForQuestions(); })
    , m_logsDialogs([this] { return window(windowId::logs()); })
    , m_settingsDialogs([this] { return window(windowId::settings()); })
    , m_controller(withDialogs(surroundings.controller))
    , m_delegate(m_controller)
    , m_quitPath(m_delegate) {
    QGuiApplication::setQuitOnLastWindowClosed(m_delegate.applicationShouldTerminateAfterLastWindowClosed());
    QCoreApplication::setQuitLockEnabled(false);
    addWindows();
    connect(&m_quitPath, &QuitPath::quitting, this, &OrvanelApp::takeDown);
    connect(&m_quitPath, &QuitPath::quitting, this, &OrvanelApp::quitting);
    // No window and no icon may outlive the application object, however its event loop ended.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        m_statusItem.reset();
        m_windows.reset();
    });
}

ControllerEnvironment OrvanelApp::withDialogs(ControllerEnvironment environment) {
    environment.dialogs = &m_dialogs;
    return environment;
}

/// The one in which the user asked for what is in question; from the menu it may be none.
QWidget* OrvanelApp::windowForQuestions() {
    if (m_windows == nullptr) {
        return nullptr;
    }
    QWidget* const active = m_windows->active();
    return active != nullptr ? active : m_windows->open(windowId::main());
}

void OrvanelApp::addWindows() {
    const ViewContext context{
        m_controller,
        *m_surroundings.controller.desktop,
        *m_surroundings.controller.clock,
        [this](const QString& id) { m_windows->open(id); },
    };
    addWindow(windowId::main(), [context] { return new MainWindow(context); });
    addWindow(windowId::logs(),
              [this] { return new LogsWindow(m_controller, m_logsDialogs, *m_surroundings.controller.clock); });
    addWindow(windowId::settings(), [this, context] { return new SettingsWindow(context, m_settingsDialogs); });
}

void OrvanelApp::addWindow(const QString& id, const Windows::Factory& make) {
    m_windows->add(id, [this, id, make] {
        QWidget* const window = make();
        rememberPlace(window, id, *m_surroundings.controller.defaults);
        return window;
    });
}

void OrvanelApp::start() {
    m_statusItem = std::make_unique<StatusItem>(StatusItem::Surroundings{
        m_controller,
        *m_surroundings.controller.desktop,
        *m_surroundings.controller.clock,
        m_surroundings.bus,
        m_surroundings.legacyTray,
    });
    connect(m_statusItem.get(), &StatusItem::openWindowRequested, this, [this] { openMainWindow(); });
    connect(m_statusItem.get(), &StatusItem::noPanel, this, [this] { openMainWindow(); });
    QMetaObject::invokeMethod(&m_delegate, &AppDelegate::applicationDidFinishLaunching, Qt::QueuedConnection);
}

/// The end may come later, but there is nothing left to be done here.
void OrvanelApp::takeDown() {
    m_windows->closeForGood();
    if (m_statusItem) {
        // Its menu may be what brought us here.
        m_statusItem.release()->deleteLater();
    }
}

QWidget* OrvanelApp::window(const QString& id) const {
    return m_windows != nullptr ? m_windows->find(id) : nullptr;
}

void OrvanelApp::openMainWindow(const QString& activationToken) {
    if (m_windows != nullptr) {
        m_windows->open(windowId::main(), activationToken);
    }
}

} // namespace orvanel
