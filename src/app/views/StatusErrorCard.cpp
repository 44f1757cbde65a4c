#include "app/views/StatusErrorCard.h"

#include "controller/KumaController.h"
#include "platform/ShortText.h"

namespace orvanel {
namespace {

/// What stands behind it must be seen as well.
constexpr qsizetype longestSlug = 200;

} // namespace

StatusErrorCard::StatusErrorCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("The status page could not be read"), parent)
    , m_context(context) {
    m_message = addHeading(Symbol::Kind::warningTriangle, TextStyle::body, {}, Meaning::pending);
    m_advice = addText(TextStyle::callout);
    m_advice->setSecondary();
}

void StatusErrorCard::render() {
    const KumaController& controller = m_context.controller;
    m_message->setOutsideText(controller.statusError().value_or(QString()));
    m_advice->setOutsideText(
        QStringLiteral("Check that a status page with the slug “%1” exists, is saved, and contains your monitors.")
            .arg(shortened(controller.slug().simplified(), longestSlug)));
}

} // namespace orvanel
