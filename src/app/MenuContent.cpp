#include "app/MenuContent.h"

#include "app/widgets/PlainText.h"
#include "controller/KumaController.h"
#include "platform/Desktop.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

// Every change is sent to the panel over the bus, so these functions change only what differs.

void showEntry(QAction* action, bool visible) {
    if (action->isVisible() != visible) {
        action->setVisible(visible);
    }
}

void enableEntry(QAction* action, bool enabled) {
    if (action->isEnabled() != enabled) {
        action->setEnabled(enabled);
    }
}

} // namespace

MenuOffers menuOffers(const ControllerState& state) {
    const bool isStopped = state.kuma == KumaState::stopped;
    return {
        .dashboard = state.kuma == KumaState::running,
        .showsStart = isStopped,
        .startOrStop = !operationShown(state) && (!isStopped || state.dockerState == DockerState::ready),
    };
}

MenuContent::MenuContent(KumaController& controller, Desktop& desktop, Painter painter)
    : m_controller(controller)
    , m_painter(painter) {
    m_status = addEntry({});
    // A disabled entry, because section titles do not reach the panel.
    m_status->setEnabled(false);
    m_menu.addSeparator();
    m_openDashboard = addEntry(u"Open dashboard"_s);
    m_start = addEntry(u"Start"_s);
    m_stop = addEntry(u"Stop"_s);
    QAction* openWindow = addEntry(u"Open window"_s);
    m_menu.addSeparator();
    QAction* quit = addEntry(u"Quit"_s);
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);

    connect(m_openDashboard, &QAction::triggered, this,
            [&controller, &desktop] { desktop.openAddress(controller.dashboardURL()); });
    connect(m_start, &QAction::triggered, &controller, &KumaController::start);
    connect(m_stop, &QAction::triggered, &controller, &KumaController::stop);
    connect(openWindow, &QAction::triggered, this, &MenuContent::openWindowRequested);
    connect(quit, &QAction::triggered, this, &QCoreApplication::quit);
    render();
}

QAction* MenuContent::addEntry(const QString& text) {
    return m_menu.addAction(entryText(text, m_painter));
}

void MenuContent::render() {
    const QString status = entryText(m_controller.statusLine(), m_painter);
    if (m_status->text() != status) {
        m_status->setText(status);
    }
    const MenuOffers offers = menuOffers(m_controller.state());
    enableEntry(m_openDashboard, offers.dashboard);
    showEntry(m_start, offers.showsStart);
    enableEntry(m_start, offers.showsStart && offers.startOrStop);
    showEntry(m_stop, !offers.showsStart);
    enableEntry(m_stop, !offers.showsStart && offers.startOrStop);
}

/// Qt sends the first '&' over the bus as '_', the panel's mark of a mnemonic, unless another '&' follows it. The panel
/// takes every '_' for such a mark unless it is doubled.
QString MenuContent::entryText(const QString& text, Painter painter) {
    if (painter == Painter::ourselves) {
        return plainButtonText(text);
    }
    QString plain = text;
    plain.replace(u'_', u"__"_s);
    const qsizetype ampersand = plain.indexOf(u'&');
    if (ampersand >= 0) {
        plain.insert(ampersand, u'&');
    }
    return plain;
}

} // namespace orvanel
