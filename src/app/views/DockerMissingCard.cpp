#include "app/views/DockerMissingCard.h"

#include "app/widgets/Buttons.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>

namespace orvanel {

DockerMissingCard::DockerMissingCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Docker is not installed"), parent) {
    addHeading(Symbol::Kind::box, TextStyle::title3, QStringLiteral("Docker is not installed"));
    addText(TextStyle::body,
            QStringLiteral("Orvanel runs Uptime Kuma inside Docker. Install it and press Check again."));
    addButton(addRow(), QStringLiteral("Check again"), [context] { context.controller.recheck(); });
}

} // namespace orvanel
