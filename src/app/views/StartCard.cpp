#include "app/views/StartCard.h"

#include "app/Windows.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "controller/KumaController.h"

namespace orvanel {

StartCard::StartCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Uptime Kuma is stopped"), parent)
    , m_context(context) {
    addHeading(Symbol::Kind::playCircle, TextStyle::title3, QStringLiteral("Uptime Kuma is stopped"));
    m_explanation = addText(TextStyle::body);
    ButtonRow* const row = addButtonRow();
    m_start = addDefaultButton(row, QStringLiteral("Start Uptime Kuma"), [context] { context.controller.start(); });
    addButton(row, QStringLiteral("Settings"), [context] { context.openWindow(windowId::settings()); });
}

void StartCard::render() {
    const KumaController& controller = m_context.controller;
    m_explanation->setContent(
        QStringLiteral("One click starts Uptime Kuma in Docker. It is only reachable from this Mac (127.0.0.1:%1).")
            .arg(controller.port()));
    setUsable(m_start, controller.dockerState() == DockerState::ready);
}

} // namespace orvanel
