#include "app/views/SetupCard.h"

#include "app/widgets/BusyBar.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/LogBox.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

SetupCard::SetupCard(ViewContext context, QWidget* parent)
    : Card(u"Runtime setup in progress"_s, parent)
    , m_context(context)
    , m_step(addText(TextStyle::title3))
    , m_log(new LogBox(u"Output of the setup"_s, u"Waiting for output…"_s)) {
    column()->addWidget(new BusyBar(u"Setup in progress"_s));
    addButton(addButtonRow(), u"Cancel"_s, [context] { context.controller.cancelSetup(); });
    column()->addWidget(m_log);
}

void SetupCard::render() {
    m_step->setContent(m_context.controller.state().setupBusy.value_or(QString()));
    m_log->setLog(m_context.controller.state().setupLog);
}

} // namespace orvanel
