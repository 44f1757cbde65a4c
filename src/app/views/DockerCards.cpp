#include "app/views/DockerCards.h"

#include "app/Windows.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/DetailsSection.h"
#include "app/widgets/Focus.h"
#include "app/widgets/TextBox.h"
#include "controller/EngineAddress.h"
#include "controller/IgnoredHost.h"
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

QString explanation(bool hasService, bool hasColima) {
    if (hasService) {
        return u"Docker is installed, but its service is not running."_s;
    }
    if (hasColima) {
        return u"The docker command line tool is installed, but the Colima runtime is not started."_s;
    }
    return u"The docker command line tool is installed, but no Docker runtime answers. One click "
           "installs and starts Colima, a free headless runtime. If you run another runtime, start it "
           "and press Check again."_s;
}

/// `canJoin`: one click is enough.
QString permission(bool canJoin) {
    if (canJoin) {
        return u"You need permission to use Docker. One click adds you to the group “docker” and opens Docker for you "
               "at once; members of this group have the rights of root."_s;
    }
    return u"You need permission to use Docker. Join the group “docker”, then log out and back in."_s;
}

} // namespace

DockerMissingCard::DockerMissingCard(ViewContext context, QWidget* parent)
    : Card(u"Docker is not installed"_s, parent)
    , m_context(context) {
    addHeading(Symbol::Kind::box, TextStyle::title3, u"Docker is not installed"_s);
    m_withPackages = addText(TextStyle::body);
    m_withHomebrew = addText(TextStyle::body,
                             u"Orvanel runs Uptime Kuma inside Docker, using Colima, a free headless runtime with no "
                             "desktop app. One click installs Colima and the Docker command line tool with Homebrew "
                             "(brew install colima docker) and starts them."_s);
    m_homebrewIsNeeded = addText(TextStyle::body, u"Homebrew is needed for the one-click install and was not found."_s);
    m_homebrewIsNeeded->setMeaning(Meaning::pending);

    ButtonRow* const row = addButtonRow();
    m_installDocker = addDefaultButton(row, u"Install Docker"_s, [context] { context.controller.installDocker(); });
    m_install = addDefaultButton(row, u"Install Colima and Docker"_s,
                                 [context] { context.controller.installAndStartRuntime(); });
    m_getHomebrew = addGetHomebrewButton(row, context);
    m_checkAgain = addButton(row, u"Check again"_s, [context] { context.controller.recheck(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
}

void DockerMissingCard::render() {
    const std::optional<QString> command = m_context.controller.state().installCommand;
    const bool hasHomebrew = m_context.controller.state().brewPath.has_value();
    m_withPackages->setContent(
        u"One click installs Docker with this computer's own package manager (%1), starts it and "
        "lets you use it. You will be asked for your password."_s.arg(command.value_or(QString())));
    m_withPackages->setVisible(command.has_value());
    // Without either way, it tells what Homebrew is needed for.
    m_withHomebrew->setVisible(hasHomebrew || !command);
    m_homebrewIsNeeded->setVisible(!hasHomebrew && !command);
    setShown(m_installDocker, command.has_value());
    setShown(m_install, hasHomebrew);
    setDefaultLook(m_install, !command);
    setShown(m_getHomebrew, !hasHomebrew && !command);
}

QPushButton* DockerMissingCard::defaultButton() const {
    return m_context.controller.state().installCommand ? m_installDocker : m_install;
}

DockerNotRunningCard::DockerNotRunningCard(ViewContext context, QWidget* parent)
    : Card(u"Docker is not running"_s, parent)
    , m_context(context)
    , m_contextCommand(new CommandBox(u"Command"_s))
    , m_details(new DetailsSection) {
    addHeading(Symbol::Kind::warningTriangle, TextStyle::title3, u"Docker is not running"_s);
    m_explanation = addText(TextStyle::body);
    m_permission = addText(TextStyle::body);
    m_permission->setMeaning(Meaning::pending);
    m_ignoredHost =
        addText(TextStyle::body, u"Your session sets DOCKER_HOST, but Orvanel follows Docker's contexts and not this "
                                 "variable. Run this command in a terminal, then press Check again:"_s);
    column()->addWidget(m_contextCommand);

    ButtonRow* const row = addButtonRow();
    m_join = addDefaultButton(row, u"Let me use Docker"_s, [context] { context.controller.joinDockerGroup(); });
    m_startDocker = addDefaultButton(row, u"Start Docker"_s, [context] { context.controller.startDockerService(); });
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
    // An engine elsewhere needs none of the ways to one on this computer.
    const std::optional<QString> command = contextCommand(state.dockerHost, state.runtimeDetails);
    m_ignoredHost->setVisible(command.has_value());
    m_contextCommand->setCommand(command.value_or(QString()));
    setShown(m_contextCommand, command.has_value());

    const bool isRefused = isPermissionDenied(state.runtimeDetails) && !command;
    // The helper can open the system's engine, no other.
    const bool canJoin = isRefused && state.canBeLetIn && isSystemEngine(engineAddress(state.runtimeDetails));
    const bool hasOtherWay = canJoin || command;
    const bool hasService = state.stoppedService.has_value();
    const bool hasColima = state.colimaPath.has_value();
    const bool hasHomebrew = state.brewPath.has_value();
    m_explanation->setContent(explanation(hasService, hasColima));
    m_explanation->setVisible(!hasOtherWay);
    m_permission->setContent(permission(canJoin));
    m_permission->setVisible(isRefused);
    setShown(m_join, canJoin);
    setShown(m_startDocker, hasService && !hasOtherWay);
    setShown(m_startColima, hasColima && !hasOtherWay);
    setDefaultLook(m_startColima, !hasService);
    setShown(m_installColima, !hasColima && hasHomebrew && !hasService && !hasOtherWay);
    setShown(m_getHomebrew, !hasColima && !hasHomebrew && !hasService && !hasOtherWay);

    m_details->setDetails(state.runtimeDetails);
    setShown(m_details, !state.runtimeDetails.isEmpty());
}

QPushButton* DockerNotRunningCard::defaultButton() const {
    for (QPushButton* const button : {m_join, m_startDocker, m_startColima}) {
        if (!button->isHidden()) {
            return button;
        }
    }
    return m_installColima;
}

} // namespace orvanel
