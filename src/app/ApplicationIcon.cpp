#include "app/ApplicationIcon.h"

#include "platform/AppIdentity.h"

using namespace Qt::StringLiterals;

/// Nothing else refers to the resource, so that it would be left out of the program. Works only outside namespaces.
static void bringResource() {
    Q_INIT_RESOURCE(icons);
}

namespace orvanel {

QIcon applicationIcon() {
    bringResource();
    const QString name = identity::iconName();
    return QIcon::fromTheme(name, QIcon(u":/icons/%1.svg"_s.arg(name)));
}

} // namespace orvanel
