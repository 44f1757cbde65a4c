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
    column()->addWidget(m_launchAtLogin);
    SettingProblem* const launchProblem = addProblem(m_launchAtLogin);
    addDivider();
    column()->addWidget(m_stopOnQuit);
    SettingProblem* const stopProblem = addProblem(m_stopOnQuit);
    addDivider();
    // Not clicked(), because a screen reader toggles a switch without a click. The conditions leave out what render()
    // shows.
    KumaController& controller = context.controller;
    connect(m_launchAtLogin, &Switch::toggled, this, [&controller, launchProblem](bool launch) {
        if (launch != controller.launchAtLogin()) {
            controller.setLaunchAtLogin(launch);
            const bool isChanged = launch == controller.launchAtLogin();
            launchProblem->showProblem(isChanged ? QString() : u"Could not change launch at login."_s);
        }
    });
    connect(m_stopOnQuit, &Switch::toggled, this, [&controller, stopProblem](bool stop) {
        if (stop != controller.state().stopOnQuit) {
            stopProblem->showWhetherSaved(controller.setStopOnQuit(stop));
        }
    });
    addButton(addButtonRow(), u"Reveal data folder in Finder"_s, [context] { context.controller.revealDataFolder(); });
}

void GeneralSection::render() {
    m_launchAtLogin->setChecked(m_context.controller.launchAtLogin());
    m_stopOnQuit->setChecked(m_context.controller.state().stopOnQuit);
}

} // namespace orvanel
