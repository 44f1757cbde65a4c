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

StartingCard::StartingCard(ViewContext context, QWidget* parent)
    : Card(u"Uptime Kuma is starting"_s, parent)
    , m_context(context)
    , m_text(new TextLabel(TextStyle::body)) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(new Spinner, 0, Qt::AlignTop);
    row->addWidget(m_text, 1);
    column()->addLayout(row);
    m_backup = addText(TextStyle::body, u"Your backup waits until that is done, and is then made by itself."_s);
}

void StartingCard::render() {
    const ControllerState& state = m_context.controller.state();
    m_text->setContent(state.conversion
                           ? conversionSentence(*state.conversion) + u" Do not stop it."_s
                           : u"Uptime Kuma is starting. The dashboard button unlocks when the page answers."_s);
    m_backup->setVisible(state.backupWaits);
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
