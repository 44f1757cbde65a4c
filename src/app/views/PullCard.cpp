#include "app/views/PullCard.h"

#include "app/widgets/BusyBar.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/LogBox.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

namespace orvanel {

PullCard::PullCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Downloading the Uptime Kuma image"), parent)
    , m_context(context)
    , m_log(new LogBox(QStringLiteral("Output of the download"), QStringLiteral("Waiting for Docker…"))) {
    addText(TextStyle::title3, QStringLiteral("Downloading the Uptime Kuma image"));
    addText(TextStyle::body, QStringLiteral("This is a few hundred MB and only happens the first time."));
    column()->addWidget(new BusyBar(QStringLiteral("Download in progress")));
    addButton(addButtonRow(), QStringLiteral("Cancel"), [context] { context.controller.cancelOperation(); });
    column()->addWidget(m_log);
}

void PullCard::render() {
    m_log->setLog(m_context.controller.pullLog());
}

} // namespace orvanel
