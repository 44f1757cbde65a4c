#pragma once

#include "app/LegacyTray.h"
#include "app/MenuContent.h"
#include "app/RenderTrigger.h"
#include "controller/Health.h"
#include "platform/TrayHostWatcher.h"
#include "task/Clock.h"

#include <QSystemTrayIcon>

#include <map>
#include <memory>
#include <optional>

namespace orvanel {

/// The program's place in the status area. The icon appears as soon as there is a panel to show it, and Qt brings it
/// back when the panel restarts. An old panel (see LegacyTray) gets the icon only where no panel of the new kind comes,
/// because Qt makes that choice once for the whole process.
class StatusItem final : public QObject {
    Q_OBJECT

public:
    /// All of them must outlive the item.
    StatusItem(KumaController& controller, Desktop& desktop, Clock& clock, LegacyTray& legacyTray,
               const QDBusConnection& bus = QDBusConnection::sessionBus());

    /// Whether the icon has been made. Until then QSystemTrayIcon has not been used.
    bool hasIcon() const { return m_icon != nullptr; }

Q_SIGNALS:
    /// The user asks for the main window.
    void openWindowRequested();
    /// No panel came within some seconds of the start, so the user needs another way to reach the program.
    void noPanel();

private:
    void makeIcon(MenuContent::Painter painter);
    void onPanelOverdue();
    void considerLegacyTray();
    void render();

    KumaController& m_controller;
    Desktop& m_desktop;
    Clock& m_clock;
    LegacyTray& m_legacyTray;
    /// Only until the icon is made.
    std::unique_ptr<TrayHostWatcher> m_panels;
    std::unique_ptr<Clock::Timer> m_patience;
    bool m_isOverdue = false;

    std::unique_ptr<MenuContent> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    std::optional<Health> m_health;
    /// Each icon is made once, because Qt keeps the pictures of every icon that it ever drew.
    std::map<Health, QIcon> m_icons;
    RenderTrigger m_trigger;
};

} // namespace orvanel
