#include "app/views/settings/DangerSection.h"

#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "controller/KumaController.h"

using namespace Qt::StringLiterals;

namespace orvanel {

DangerSection::DangerSection(ViewContext context, QWidget* parent)
    : SettingsSection(u"Danger zone"_s, parent) {
    addDestructiveButton(addButtonRow(), u"Remove everything…"_s, [context] { context.controller.removeEverything(); });
}

} // namespace orvanel
