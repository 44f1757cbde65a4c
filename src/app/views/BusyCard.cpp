#include "app/views/BusyCard.h"

#include "app/widgets/Buttons.h"
#include "app/widgets/Spinner.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>

namespace orvanel {

BusyCard::BusyCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Operation in progress"), parent)
    , m_context(context)
    , m_text(new TextLabel(TextStyle::body)) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(new Spinner);
    row->addWidget(m_text, 1);
    addButton(row, QStringLiteral("Cancel"), [context] { context.controller.cancelOperation(); });
    column()->addLayout(row);
}

void BusyCard::render() {
    m_text->setContent(m_context.controller.busy().value_or(QString()));
}

} // namespace orvanel
