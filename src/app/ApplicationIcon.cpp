#include "app/ApplicationIcon.h"

#include "platform/AppIdentity.h"

/// Nothing else refers to the resource, so that it would be left out of the program. Works only outside namespaces.
static void bringResource() {
    Q_INIT_RESOURCE(icons);
}

namespace orvanel {

QIcon applicationIcon() {
    bringResource();
    const QString name = identity::iconName();
    return QIcon::fromTheme(name, QIcon(QStringLiteral(":/icons/%1.svg").arg(name)));
}

} // namespace orvanel
