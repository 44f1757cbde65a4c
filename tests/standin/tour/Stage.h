#pragma once

#include "standin/desktop/DesktopScreen.h"
#include "standin/desktop/NotificationServer.h"
#include "standin/desktop/ScreenReader.h"
#include "standin/desktop/StatusArea.h"

#include <QProcess>

namespace orvanel::standin {

constexpr const char* sessionBusVariable = "DBUS_SESSION_BUS_ADDRESS";

/// Everything that a step of the tour can look at or touch: the desktop, the program on it, and the monitored world.
class Stage final : public QObject {
    Q_OBJECT

public:
    struct Setup {
        QString program;
        /// The address of the session bus on which the program will run.
        QString bus;
        /// The file for the program's output.
        QString log;
        /// The folder with the answers of the stand-in server (see site/), and the folder that the server reads.
        QString site;
        QString server;
        bool dark = false;
    };

    /// Takes the names of a desktop on that bus; isReady() is false if another program has them.
    explicit Stage(const Setup& setup);
    ~Stage() override;

    bool isReady() const { return m_ready; }

    StatusArea& statusArea() { return m_statusArea; }
    NotificationServer& notifications() { return m_notifications; }
    DesktopScreen& screen() { return m_screen; }
    ScreenReader& reader() { return m_reader; }

    // --- The program.

    void startProgram();
    bool isRunning() const { return m_program.state() != QProcess::NotRunning; }
    /// A sentence that says how the program ended; empty while it runs and before it was started.
    QString end() const;
    bool endedWell() const;

    // --- What its icon and menu say; everything is empty if there is no icon.

    QString toolTip() const;
    /// "gray", "green", "red" or "" (none of these).
    QString iconColor() const;
    std::optional<MenuEntry> menuEntry(const QString& text) const;
    void openMenu();
    /// Chooses the entry of the open or closed menu, if it can be chosen.
    void choose(const QString& text);

    // --- What its windows say, and their buttons.

    /// The button of that name in a window that can be pressed; the first one after the text `after`, if there is one,
    /// because a question and the window below it may have buttons of the same name.
    std::optional<ScreenElement> button(const QString& name, const QString& after = {}) const;
    std::optional<ScreenElement> toggle(const QString& name) const;

    // --- The world that Uptime Kuma watches: "all-up" or "one-down" (names of files of the site).

    void setMonitors(const QString& state);

    // --- How the stand-in server behaves from its next start on (see tests/standin/kuma/main.cpp).

    void setServerScript(const QByteArray& script);

private:
    std::optional<ScreenElement> control(const QString& role, const QString& name, const QString& after) const;

    const Setup m_setup;
    const QDBusConnection m_bus;
    StatusArea m_statusArea;
    NotificationServer m_notifications;
    DesktopScreen m_screen;
    ScreenReader m_reader;
    const bool m_ready;
    QProcess m_program;
    bool m_started = false;
};

} // namespace orvanel::standin
