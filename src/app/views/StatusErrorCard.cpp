#include "app/views/StatusErrorCard.h"

#include "controller/KumaController.h"
#include "platform/ShortText.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// What stands behind it must be seen as well.
constexpr qsizetype longestSlug = 200;

} // namespace

StatusErrorCard::StatusErrorCard(ViewContext context, QWidget* parent)
    : Card(u"The status page could not be read"_s, parent)
    , m_context(context) {
    m_message = addHeading(Symbol::Kind::warningTriangle, TextStyle::body, {}, Meaning::pending);
    m_advice = addText(TextStyle::callout);
    m_advice->setSecondary();
}

void StatusErrorCard::render() {
    const KumaController& controller = m_context.controller;
    m_message->setOutsideText(controller.state().statusError.value_or(QString()));
    m_advice->setOutsideText(
        u"Check that a status page with the slug “%1” exists, is saved, and contains your monitors."_s.arg(
            shortened(controller.state().slug.simplified(), longestSlug)));
}

} // namespace orvanel
