#include "app/views/StartingCard.h"

#include "app/widgets/Spinner.h"

#include <QHBoxLayout>

namespace orvanel {

StartingCard::StartingCard(QWidget* parent)
    : Card(QStringLiteral("Uptime Kuma is starting"), parent) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(new Spinner, 0, Qt::AlignTop);
    row->addWidget(
        new TextLabel(TextStyle::body, QStringLiteral("Uptime Kuma is starting. The dashboard button unlocks when the "
                                                      "page answers.")),
        1);
    column()->addLayout(row);
}

} // namespace orvanel
