#include "app/views/SetupCard.h"

#include "app/widgets/BusyBar.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/LogBox.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

namespace orvanel {

SetupCard::SetupCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Runtime setup in progress"), parent)
    , m_context(context)
    , m_step(addText(TextStyle::title3))
    , m_log(new LogBox(QStringLiteral("Output of the setup"), QStringLiteral("Waiting for output…"))) {
    column()->addWidget(new BusyBar(QStringLiteral("Setup in progress")));
    addButton(addButtonRow(), QStringLiteral("Cancel"), [context] { context.controller.cancelSetup(); });
    column()->addWidget(m_log);
}

void SetupCard::render() {
    m_step->setContent(m_context.controller.setupBusy().value_or(QString()));
    m_log->setLog(m_context.controller.setupLog());
}

} // namespace orvanel
