#include "app/views/DockerNotRunningCard.h"

#include "app/widgets/Buttons.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>

namespace orvanel {

DockerNotRunningCard::DockerNotRunningCard(ViewContext context, QWidget* parent)
    : Card(QStringLiteral("Docker is not running"), parent) {
    addHeading(Symbol::Kind::warningTriangle, TextStyle::title3, QStringLiteral("Docker is not running"));
    addText(TextStyle::body, QStringLiteral("The docker command line tool is installed, but no Docker runtime answers. "
                                            "Start it and press Check again."));
    addButton(addRow(), QStringLiteral("Check again"), [context] { context.controller.recheck(); });
}

} // namespace orvanel
