#pragma once

#include "app/AppDelegate.h"
#include "app/QuitPath.h"
#include "app/StatusItem.h"
#include "app/UserTime.h"
#include "app/WidgetDialogs.h"
#include "app/Windows.h"
#include "controller/ControllerEnvironment.h"
#include "controller/KumaController.h"

namespace orvanel {

/// What the program runs in. The dialogs of `controller` are left out: the program brings its own.
struct AppEnvironment {
    ControllerEnvironment controller;
    QDBusConnection bus = QDBusConnection::sessionBus();
    LegacyTray& legacyTray;
};

/// The program: the one controller, the status item and the windows.
/// It lives beside the application object, and takes over its quitting. While tasks still run at the program's end it
/// must not be destroyed (see KumaController). The status item and the windows go with the event loop.
class OrvanelApp final : public QObject {
    Q_OBJECT

public:
    explicit OrvanelApp(const AppEnvironment& environment);

    /// Call it just before the event loop runs.
    void start();

    /// Opens the main window because the user asked for it; see Windows::open(). On X11 the window opens a moment
    /// later. A program that is quitting opens nothing.
    void openMainWindow(const QString& activationToken = {});

    KumaController& controller() { return m_controller; }
    /// The open window, or nullptr.
    QWidget* window(const QString& id) const;
    QWidget* mainWindow() const { return window(windowId::main()); }
    /// From start() to quitting(); otherwise nullptr.
    const StatusItem* statusItem() const { return m_statusItem.get(); }

Q_SIGNALS:
    /// See QuitPath.
    void quitting();

private:
    ControllerEnvironment withDialogs(ControllerEnvironment environment);
    void addWindows();
    void addWindow(const QString& id, const Windows::Factory& make);
    QWidget* windowForQuestions();
    void takeDown();

    const AppEnvironment m_environment;
    std::unique_ptr<Windows> m_windows;
    std::unique_ptr<UserTime> m_userTime;
    WidgetDialogs m_dialogs;
    /// Each asks over its window, which may be closed meanwhile.
    WidgetDialogs m_logsDialogs;
    WidgetDialogs m_settingsDialogs;
    KumaController m_controller;
    AppDelegate m_delegate;
    QuitPath m_quitPath;
    std::unique_ptr<StatusItem> m_statusItem;
};

} // namespace orvanel
