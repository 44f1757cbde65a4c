#include "app/views/BusyCard.h"

#include "app/widgets/Buttons.h"
#include "app/widgets/Spinner.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

BusyCard::BusyCard(ViewContext context, QWidget* parent)
    : Card(u"Operation in progress"_s, parent)
    , m_context(context)
    , m_text(new TextLabel(TextStyle::body)) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(new Spinner);
    row->addWidget(m_text, 1);
    addButton(row, u"Cancel"_s, [context] { context.controller.cancelOperation(); });
    column()->addLayout(row);
}

void BusyCard::render() {
    m_text->setContent(m_context.controller.state().busy.value_or(QString()));
}

} // namespace orvanel
