#pragma once

#include "app/LegacyTray.h"
#include "app/MenuContent.h"
#include "app/RenderTrigger.h"
#include "controller/StatusSummary.h"
#include "platform/TrayHostWatcher.h"
#include "task/Clock.h"

#include <QSystemTrayIcon>

#include <map>
#include <memory>
#include <optional>

namespace orvanel {

class LegacyIcon;

/// The program's place in the status area. The icon appears when there is a panel to show it, now or later. A panel of
/// the old kind (see LegacyTray) gets it if none of the new kind has come after five seconds; if one comes later, the
/// icon moves there and stays. Qt brings it back by itself when that panel restarts.
class StatusItem final : public QObject {
    Q_OBJECT

public:
    /// All of them must outlive the item.
    StatusItem(KumaController& controller, Desktop& desktop, Clock& clock, LegacyTray& legacyTray,
               const QDBusConnection& bus = QDBusConnection::sessionBus());

    ~StatusItem() override;

    /// Whether there is an icon, in a panel of either kind.
    bool hasIcon() const { return m_icon != nullptr || m_legacyIcon != nullptr; }

Q_SIGNALS:
    /// The user asks for the main window.
    void openWindowRequested();
    /// No panel came within some seconds of the start, so the user needs another way to reach the program.
    void noPanel();

private:
    void onPanelOverdue();
    void onLegacyTrayAppeared();
    void makeLegacyIcon();
    void dropLegacyIcon();
    void makeMenu(MenuContent::Painter painter);
    void makeIcon();
    void setIcon(const QIcon& icon);
    void setToolTip(const QString& text);
    void render();

    KumaController& m_controller;
    Desktop& m_desktop;
    Clock& m_clock;
    LegacyTray& m_legacyTray;
    /// It watches only until there is an icon in a panel of the new kind.
    std::unique_ptr<TrayHostWatcher> m_panels;
    std::unique_ptr<Clock::Timer> m_patience;
    bool m_isOverdue = false;

    std::unique_ptr<MenuContent> m_menu;
    /// The icon in a panel of the old kind.
    std::unique_ptr<LegacyIcon> m_legacyIcon;
    /// The icon in a panel of the new kind. Not touched before there is one: see TrayHostWatcher.
    std::unique_ptr<QSystemTrayIcon> m_icon;
    std::optional<Health> m_health;
    /// Each icon is made once, because Qt keeps the pictures of every icon that it ever drew.
    std::map<Health, QIcon> m_icons;
    RenderTrigger m_trigger;
};

} // namespace orvanel
