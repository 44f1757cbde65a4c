#include "app/views/ErrorCard.h"

#include "app/widgets/Accessibility.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/DetailsSection.h"
#include "app/widgets/Focus.h"
#include "controller/KumaController.h"
#include "platform/ShortText.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr qsizetype longestShownTag = 40;

} // namespace

ErrorCard::ErrorCard(ViewContext context, QWidget* parent)
    : Card(u"Error"_s, parent)
    , m_context(context)
    , m_details(new DetailsSection) {
    // Screen readers read out only this role by themselves, labels included, when it comes into view. Qt does not
    // pass alerts on to them.
    setAccessibleRole(this, QAccessible::Notification);
    m_message = addHeading(Symbol::Kind::crossOctagon, TextStyle::headline, {}, Meaning::bad);
    ButtonRow* const row = addButtonRow();
    m_usePort = addButton(row, {}, [this] { useSuggestedPort(); });
    m_goBack = addButton(row, {}, [this] { m_context.controller.goBack(); });
    m_restore = addButton(row, u"Restore…"_s, [this] { m_context.controller.restoreBackup(); });
    addButton(row, u"Dismiss"_s, [this] { m_context.controller.dismissError(); });
    column()->addWidget(m_details);
}

void ErrorCard::render() {
    const ControllerState& state = m_context.controller.state();
    const OpError error = state.error.value_or(OpError());
    if (error != m_shown) {
        m_details->collapse();
        m_shown = error;
    }
    m_message->setOutsideText(error.message);
    setAccessibleDescription(error.message);

    const std::optional<int> port = state.suggestedPort;
    if (port) {
        setButtonText(m_usePort, u"Use port %1 instead and start"_s.arg(*port));
    }
    setShown(m_usePort, port.has_value());

    const bool mayGoBack = isRestartLoop(error.kind) && state.wayBackTag;
    if (mayGoBack) {
        setButtonText(m_goBack, u"Go back to %1…"_s.arg(shortened(*state.wayBackTag, longestShownTag)));
    }
    setShown(m_goBack, mayGoBack);
    // No server starts on that data any more.
    setShown(m_restore, error.kind == ErrorKind::interruptedConversion && !mayGoBack);

    m_details->setDetails(error.details);
    setShown(m_details, !error.details.isEmpty());
}

void ErrorCard::forget() {
    m_details->collapse();
}

void ErrorCard::useSuggestedPort() {
    const std::optional<int> port = m_context.controller.state().suggestedPort;
    if (!port) {
        return;
    }
    m_context.controller.setPort(*port);
    m_context.controller.start();
}

} // namespace orvanel
