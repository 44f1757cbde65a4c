#include "app/StatusItem.h"

#include "app/StatusIcon.h"
#include "controller/KumaController.h"

namespace orvanel {
namespace {

constexpr std::chrono::seconds panelLimit{5};

} // namespace

StatusItem::StatusItem(Surroundings surroundings)
    : m_surroundings(std::move(surroundings))
    , m_panels(std::make_unique<TrayHostWatcher>(m_surroundings.bus))
    , m_trigger(m_surroundings.controller, [this] { render(); }) {
    connect(m_panels.get(), &TrayHostWatcher::hostAvailableChanged, this, [this](bool available) {
        if (available) {
            makeIcon(MenuContent::Painter::panel);
        }
    });
    m_patience = m_surroundings.clock.callAfter(panelLimit, [this] { onPanelOverdue(); });
}

void StatusItem::onPanelOverdue() {
    if (hasIcon()) {
        return;
    }
    if (m_surroundings.isLegacyTrayPresent && m_surroundings.isLegacyTrayPresent()) {
        makeIcon(MenuContent::Painter::ourselves);
        return;
    }
    Q_EMIT noPanel();
}

void StatusItem::makeIcon(MenuContent::Painter painter) {
    if (hasIcon()) {
        return;
    }
    // It may be the sender of the signal that brought us here.
    m_panels.release()->deleteLater();
    m_patience.reset();

    m_menu = std::make_unique<MenuContent>(m_surroundings.controller, m_surroundings.desktop, painter);
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
    const KumaController& controller = m_surroundings.controller;
    const Health health = controller.health();
    if (health != m_health) {
        m_health = health;
        m_icon->setIcon(StatusIcon::icon(health));
    }
    const QString status = controller.statusLine();
    if (m_icon->toolTip() != status) {
        m_icon->setToolTip(status);
    }
    m_menu->render();
}

} // namespace orvanel
