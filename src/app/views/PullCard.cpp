#include "app/views/PullCard.h"

#include "app/widgets/BusyBar.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/LogBox.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

PullCard::PullCard(ViewContext context, QWidget* parent)
    : Card(u"Downloading the Uptime Kuma image"_s, parent)
    , m_context(context)
    , m_log(new LogBox(u"Output of the download"_s, u"Waiting for Docker…"_s)) {
    addText(TextStyle::title3, u"Downloading the Uptime Kuma image"_s);
    addText(TextStyle::body, u"This is a few hundred MB and only happens the first time."_s);
    column()->addWidget(new BusyBar(u"Download in progress"_s));
    addButton(addButtonRow(), u"Cancel"_s, [context] { context.controller.cancelOperation(); });
    column()->addWidget(m_log);
}

void PullCard::render() {
    m_log->setLog(m_context.controller.state().pullLog);
}

} // namespace orvanel
