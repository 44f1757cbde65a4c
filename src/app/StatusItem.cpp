#include "app/StatusItem.h"

#include "app/StatusIcon.h"
#include "controller/KumaController.h"

namespace orvanel {
namespace {

constexpr std::chrono::seconds panelLimit{5};
/// At login the watcher, which keeps the list of icons, may be there long before the panel that shows them.
constexpr std::chrono::seconds panelLimitWithWatcher{60};

} // namespace

StatusItem::StatusItem(KumaController& controller, Desktop& desktop, Clock& clock, LegacyTray& legacyTray,
                       const QDBusConnection& bus)
    : m_controller(controller)
    , m_desktop(desktop)
    , m_clock(clock)
    , m_legacyTray(legacyTray)
    , m_panels(std::make_unique<TrayHostWatcher>(bus))
    , m_trigger(controller, [this] { render(); }) {
    connect(m_panels.get(), &TrayHostWatcher::hostAvailableChanged, this, [this](bool available) {
        if (available) {
            makeIcon(MenuContent::Painter::panel);
        }
    });
    connect(&m_legacyTray, &LegacyTray::appeared, this, [this] { considerLegacyTray(); });
    m_patience = m_clock.callAfter(panelLimit, [this] { onPanelOverdue(); });
}

void StatusItem::onPanelOverdue() {
    m_isOverdue = true;
    if (!m_panels->watcherPresent() && m_legacyTray.isPresent()) {
        makeIcon(MenuContent::Painter::ourselves);
        return;
    }
    considerLegacyTray();
    Q_EMIT noPanel();
}

/// A panel of the new kind often comes in the same moment as the old one, so the icon waits for it.
void StatusItem::considerLegacyTray() {
    if (hasIcon() || !m_isOverdue || !m_legacyTray.isPresent()) {
        return;
    }
    const std::chrono::seconds limit = m_panels->watcherPresent() ? panelLimitWithWatcher : panelLimit;
    m_patience = m_clock.callAfter(limit, [this] {
        if (m_legacyTray.isPresent()) {
            makeIcon(MenuContent::Painter::ourselves);
        }
    });
}

void StatusItem::makeIcon(MenuContent::Painter painter) {
    if (hasIcon()) {
        return;
    }
    // Deleted later, because it may be the sender of the signal that is being handled.
    m_panels.release()->deleteLater();
    m_patience.reset();

    m_menu = std::make_unique<MenuContent>(m_controller, m_desktop, painter);
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setContextMenu(&m_menu->menu());
    connect(m_menu.get(), &MenuContent::openWindowRequested, this, &StatusItem::openWindowRequested);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            Q_EMIT openWindowRequested();
        }
    });
    m_trigger.setActive(true);
    m_icon->show();
}

void StatusItem::render() {
    const KumaController& controller = m_controller;
    const Health health = controller.health();
    if (health != m_health) {
        m_health = health;
        QIcon& icon = m_icons[health];
        if (icon.isNull()) {
            icon = StatusIcon::icon(health);
        }
        m_icon->setIcon(icon);
    }
    const QString status = controller.statusLine();
    if (m_icon->toolTip() != status) {
        m_icon->setToolTip(status);
    }
    m_menu->render();
}

} // namespace orvanel
