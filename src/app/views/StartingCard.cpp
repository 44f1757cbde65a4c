#include "app/views/StartingCard.h"

#include "app/widgets/Spinner.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

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

} // namespace orvanel
