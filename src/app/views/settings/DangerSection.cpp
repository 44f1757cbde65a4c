#include "app/views/settings/DangerSection.h"

#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "controller/KumaController.h"

namespace orvanel {

DangerSection::DangerSection(ViewContext context, QWidget* parent)
    : SettingsSection(QStringLiteral("Danger zone"), parent) {
    addDestructiveButton(addButtonRow(), QStringLiteral("Remove everything…"),
                         [context] { context.controller.removeEverything(); });
}

} // namespace orvanel
