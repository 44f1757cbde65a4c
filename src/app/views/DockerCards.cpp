#include "app/views/DockerCards.h"

#include "app/Windows.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/DetailsSection.h"
#include "app/widgets/Focus.h"
#include "controller/KumaController.h"
#include "controller/PermissionDenied.h"
#include "platform/Desktop.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Its page tells how to install Homebrew.
QPushButton* addGetHomebrewButton(QLayout* layout, const ViewContext& context) {
    return addButton(layout, u"Get Homebrew"_s,
                     [context] { context.desktop.openAddress(QUrl(u"https://brew.sh/"_s)); });
}

QString explanation(bool hasColima) {
    if (hasColima) {
        return u"The docker command line tool is installed, but the Colima runtime is not started."_s;
    }
    return u"The docker command line tool is installed, but no Docker runtime answers. One click "
           "installs and starts Colima, a free headless runtime. If you run another runtime, start it "
           "and press Check again."_s;
}

} // namespace

DockerMissingCard::DockerMissingCard(ViewContext context, QWidget* parent)
    : Card(u"Docker is not installed"_s, parent)
    , m_context(context) {
    addHeading(Symbol::Kind::box, TextStyle::title3, u"Docker is not installed"_s);
    addText(TextStyle::body, u"Orvanel runs Uptime Kuma inside Docker, using Colima, a free headless runtime with no "
                             "desktop app. One click installs Colima and the Docker command line tool with Homebrew "
                             "(brew install colima docker) and starts them."_s);
    m_homebrewIsNeeded = addText(TextStyle::body, u"Homebrew is needed for the one-click install and was not found."_s);
    m_homebrewIsNeeded->setMeaning(Meaning::pending);

    ButtonRow* const row = addButtonRow();
    m_install = addDefaultButton(row, u"Install Colima and Docker"_s,
                                 [context] { context.controller.installAndStartRuntime(); });
    m_getHomebrew = addGetHomebrewButton(row, context);
    m_checkAgain = addButton(row, u"Check again"_s, [context] { context.controller.recheck(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
}

void DockerMissingCard::render() {
    const bool hasHomebrew = m_context.controller.state().brewPath.has_value();
    m_homebrewIsNeeded->setVisible(!hasHomebrew);
    setShown(m_install, hasHomebrew);
    setShown(m_getHomebrew, !hasHomebrew);
}

DockerNotRunningCard::DockerNotRunningCard(ViewContext context, QWidget* parent)
    : Card(u"Docker is not running"_s, parent)
    , m_context(context)
    , m_details(new DetailsSection) {
    addHeading(Symbol::Kind::warningTriangle, TextStyle::title3, u"Docker is not running"_s);
    m_explanation = addText(TextStyle::body);
    m_permission = addText(TextStyle::body, u"You need permission to use Docker. Join the group “docker”, then log out "
                                            "and back in."_s);
    m_permission->setMeaning(Meaning::pending);

    ButtonRow* const row = addButtonRow();
    m_startColima = addDefaultButton(row, u"Start Colima"_s, [context] { context.controller.startRuntime(); });
    m_installColima =
        addDefaultButton(row, u"Install Colima"_s, [context] { context.controller.installAndStartRuntime(); });
    m_getHomebrew = addGetHomebrewButton(row, context);
    m_checkAgain = addButton(row, u"Check again"_s, [context] { context.controller.recheck(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
    column()->addWidget(m_details);
}

void DockerNotRunningCard::render() {
    const ControllerState& state = m_context.controller.state();
    const bool hasColima = state.colimaPath.has_value();
    const bool hasHomebrew = state.brewPath.has_value();
    m_explanation->setContent(explanation(hasColima));
    setShown(m_startColima, hasColima);
    setShown(m_installColima, !hasColima && hasHomebrew);
    setShown(m_getHomebrew, !hasColima && !hasHomebrew);

    const QString details = state.runtimeDetails;
    m_permission->setVisible(isPermissionDenied(details));
    m_details->setDetails(details);
    setShown(m_details, !details.isEmpty());
}

QPushButton* DockerNotRunningCard::defaultButton() const {
    return m_context.controller.state().colimaPath ? m_startColima : m_installColima;
}

} // namespace orvanel
