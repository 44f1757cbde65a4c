#include "app/views/DashboardCards.h"

#include "app/widgets/Progress.h"
#include "controller/KumaController.h"
#include "platform/ShortText.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Longer slugs are cut, so that the text after them stays visible.
constexpr qsizetype longestSlug = 200;

} // namespace

StartingCard::StartingCard(QWidget* parent)
    : Card(u"Uptime Kuma is starting"_s, parent) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(new Spinner, 0, Qt::AlignTop);
    row->addWidget(new TextLabel(TextStyle::body, u"Uptime Kuma is starting. The dashboard button unlocks when the "
                                                  "page answers."_s),
                   1);
    column()->addLayout(row);
}

StatusErrorCard::StatusErrorCard(ViewContext context, QWidget* parent)
    : Card(u"The status page could not be read"_s, parent)
    , m_context(context) {
    m_message = addHeading(Symbol::Kind::warningTriangle, TextStyle::body, {}, Meaning::pending);
    m_advice = addText(TextStyle::callout);
    m_advice->setSecondary();
}

void StatusErrorCard::render() {
    const ControllerState& state = m_context.controller.state();
    m_message->setOutsideText(state.statusError.value_or(QString()));
    m_advice->setOutsideText(
        u"Check that a status page with the slug “%1” exists, is saved, and contains your monitors."_s.arg(
            shortened(state.slug.simplified(), longestSlug)));
}

} // namespace orvanel
