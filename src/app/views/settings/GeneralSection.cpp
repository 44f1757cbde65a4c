#include "app/views/settings/GeneralSection.h"

#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Switch.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

GeneralSection::GeneralSection(ViewContext context, QWidget* parent)
    : SettingsSection(u"General"_s, parent)
    , m_context(context)
    , m_launchAtLogin(new Switch(u"Launch at login"_s))
    , m_stopOnQuit(new Switch(u"Stop the container when I quit"_s)) {
    // Not clicked(), because a screen reader toggles a switch without a click. The conditions leave out what render()
    // shows.
    connect(m_launchAtLogin, &Switch::toggled, this, [&controller = context.controller](bool launch) {
        if (launch != controller.launchAtLogin()) {
            controller.setLaunchAtLogin(launch);
        }
    });
    connect(m_stopOnQuit, &Switch::toggled, this, [&controller = context.controller](bool stop) {
        if (stop != controller.state().stopOnQuit) {
            controller.setStopOnQuit(stop);
        }
    });
    column()->addWidget(m_launchAtLogin);
    addDivider();
    column()->addWidget(m_stopOnQuit);
    addDivider();
    addButton(addButtonRow(), u"Reveal data folder in Finder"_s, [context] { context.controller.revealDataFolder(); });
}

void GeneralSection::render() {
    m_launchAtLogin->setChecked(m_context.controller.launchAtLogin());
    m_stopOnQuit->setChecked(m_context.controller.state().stopOnQuit);
}

} // namespace orvanel
