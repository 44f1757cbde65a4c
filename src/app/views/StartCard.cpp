#include "app/views/StartCard.h"

#include "app/Windows.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "controller/KumaController.h"

using namespace Qt::StringLiterals;

namespace orvanel {

StartCard::StartCard(ViewContext context, QWidget* parent)
    : Card(u"Uptime Kuma is stopped"_s, parent)
    , m_context(context) {
    addHeading(Symbol::Kind::playCircle, TextStyle::title3, u"Uptime Kuma is stopped"_s);
    m_explanation = addText(TextStyle::body);
    ButtonRow* const row = addButtonRow();
    m_start = addDefaultButton(row, u"Start Uptime Kuma"_s, [context] { context.controller.start(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
}

void StartCard::render() {
    const KumaController& controller = m_context.controller;
    m_explanation->setContent(
        u"One click starts Uptime Kuma in Docker. It is only reachable from this Mac (127.0.0.1:%1)."_s.arg(
            controller.state().port));
    setUsable(m_start, controller.state().dockerState == DockerState::ready);
}

} // namespace orvanel
