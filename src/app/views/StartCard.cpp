#include "app/views/StartCard.h"

#include "app/widgets/Buttons.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>

namespace orvanel {

StartCard::StartCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Uptime Kuma is stopped"), parent)
    , m_context(context) {
    addHeading(Symbol::Kind::playCircle, TextStyle::title3, QStringLiteral("Uptime Kuma is stopped"));
    m_explanation = addText(TextStyle::body);
    m_start =
        addDefaultButton(addRow(), QStringLiteral("Start Uptime Kuma"), [context] { context.controller.start(); });
}

void StartCard::render() {
    const KumaController& controller = m_context.controller;
    m_explanation->setContent(
        QStringLiteral("One click starts Uptime Kuma in Docker. It is only reachable from this Mac (127.0.0.1:%1).")
            .arg(controller.port()));
    m_start->setEnabled(controller.dockerState() == DockerState::ready);
}

} // namespace orvanel
