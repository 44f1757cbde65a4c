#include "app/StatusItem.h"

#include "app/LegacyIcon.h"
#include "app/StatusIcon.h"
#include "controller/KumaController.h"

namespace orvanel {
namespace {

constexpr std::chrono::seconds panelLimit{5};

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
            makeIcon();
        }
    });
    connect(&m_legacyTray, &LegacyTray::appeared, this, [this] { onLegacyTrayAppeared(); });
    connect(&m_legacyTray, &LegacyTray::disappeared, this, [this] { dropLegacyIcon(); });
    m_patience = m_clock.callAfter(panelLimit, [this] { onPanelOverdue(); });
}

StatusItem::~StatusItem() = default;

void StatusItem::onPanelOverdue() {
    m_isOverdue = true;
    makeLegacyIcon();
    if (!hasIcon()) {
        Q_EMIT noPanel();
    }
}

/// A panel of the new kind often follows the old one in the same moment.
void StatusItem::onLegacyTrayAppeared() {
    if (m_isOverdue && m_icon == nullptr) {
        dropLegacyIcon();
        m_patience = m_clock.callAfter(panelLimit, [this] { makeLegacyIcon(); });
    }
}

void StatusItem::makeLegacyIcon() {
    if (hasIcon() || !m_legacyTray.isPresent()) {
        return;
    }
    makeMenu(MenuContent::Painter::ourselves);
    m_legacyIcon = std::make_unique<LegacyIcon>(m_legacyTray, m_menu->menu());
    connect(m_legacyIcon.get(), &LegacyIcon::clicked, this, &StatusItem::openWindowRequested);
    m_trigger.setActive(true);
    render();
}

/// A click on the icon or on its menu may have led here.
void StatusItem::dropLegacyIcon() {
    if (m_legacyIcon == nullptr) {
        return;
    }
    m_trigger.setActive(false);
    m_legacyIcon->hide();
    m_legacyIcon.release()->deleteLater();
    m_menu->menu().close();
    m_menu.release()->deleteLater();
    m_health.reset();
}

void StatusItem::makeMenu(MenuContent::Painter painter) {
    m_menu = std::make_unique<MenuContent>(m_controller, m_desktop, painter);
    connect(m_menu.get(), &MenuContent::openWindowRequested, this, &StatusItem::openWindowRequested);
}

void StatusItem::makeIcon() {
    if (m_icon != nullptr) {
        return;
    }
    // Deleted later, because it may be the sender of the signal that is being handled.
    m_panels.release()->deleteLater();
    m_patience.reset();
    dropLegacyIcon();

    makeMenu(MenuContent::Painter::panel);
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setContextMenu(&m_menu->menu());
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            Q_EMIT openWindowRequested();
        }
    });
    m_trigger.setActive(true);
    render();
    m_icon->show();
}

void StatusItem::setIcon(const QIcon& icon) {
    if (m_icon != nullptr) {
        m_icon->setIcon(icon);
    } else {
        m_legacyIcon->setIcon(icon);
    }
}

void StatusItem::setToolTip(const QString& text) {
    if (m_icon == nullptr) {
        m_legacyIcon->setToolTip(text);
    } else if (m_icon->toolTip() != text) {
        m_icon->setToolTip(text);
    }
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
        setIcon(icon);
    }
    const QString status = controller.statusLine();
    setToolTip(status);
    m_menu->render();
}

} // namespace orvanel
