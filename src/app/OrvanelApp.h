#pragma once

#include "app/AppDelegate.h"
#include "app/QuitPath.h"
#include "app/StatusItem.h"
#include "app/WidgetDialogs.h"
#include "app/Windows.h"
#include "controller/KumaController.h"

namespace orvanel {

/// The program: the one controller, and the surfaces that show it: the status item and the windows.
/// Lives beside the application object, whose quitting it takes over. Where tasks still run when the program ends, it
/// must not be destroyed (see KumaController); its surfaces go with the event loop.
class OrvanelApp final : public QObject {
    Q_OBJECT

public:
    struct Surroundings {
        /// Without dialogs: the app brings its own.
        ControllerEnvironment controller;
        QDBusConnection bus = QDBusConnection::sessionBus();
        LegacyTray& legacyTray;
    };

    explicit OrvanelApp(const Surroundings& surroundings);

    /// The event loop is about to run.
    void start();

    /// See Windows::open(). Once the program is quitting, nothing is opened any more.
    void openMainWindow(const QString& activationToken = {});

    KumaController& controller() { return m_controller; }
    /// The open one, or nullptr.
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

    const Surroundings m_surroundings;
    std::unique_ptr<Windows> m_windows;
    WidgetDialogs m_dialogs;
    /// Questions of windows that may be closed meanwhile.
    WidgetDialogs m_logsDialogs;
    WidgetDialogs m_settingsDialogs;
    KumaController m_controller;
    AppDelegate m_delegate;
    QuitPath m_quitPath;
    std::unique_ptr<StatusItem> m_statusItem;
};

} // namespace orvanel
