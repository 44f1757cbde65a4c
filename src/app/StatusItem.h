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

/// The program's place in the status area. The icon appears when there is a panel to show it, now or later;
/// Qt brings it back by itself when the panel restarts. An old panel (see LegacyTray) gets it only where none of the
/// new kind comes, because that choice is for good.
class StatusItem final : public QObject {
    Q_OBJECT

public:
    struct Surroundings {
        KumaController& controller;
        Desktop& desktop;
        Clock& clock;
        QDBusConnection bus = QDBusConnection::sessionBus();
        LegacyTray& legacyTray;
    };

    explicit StatusItem(Surroundings surroundings);

    /// Whether the icon was made. Until then QSystemTrayIcon has not been touched.
    bool hasIcon() const { return m_icon != nullptr; }

Q_SIGNALS:
    /// The user asks for the main window.
    void openWindowRequested();
    /// There was no panel for some seconds after the start, so the icon is no way in.
    void noPanel();

private:
    void makeIcon(MenuContent::Painter painter);
    void onPanelOverdue();
    void considerLegacyTray();
    void render();

    const Surroundings m_surroundings;
    /// Only until the icon is made.
    std::unique_ptr<TrayHostWatcher> m_panels;
    std::unique_ptr<Clock::Timer> m_patience;
    bool m_isOverdue = false;

    std::unique_ptr<MenuContent> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    std::optional<Health> m_health;
    /// Each made once: Qt keeps the pictures of every icon that it ever drew.
    std::map<Health, QIcon> m_icons;
    RenderTrigger m_trigger;
};

} // namespace orvanel
