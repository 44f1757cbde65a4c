#include "app/views/DockerNotRunningCard.h"

#include "app/Windows.h"
#include "app/views/Homebrew.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/DetailsSection.h"
#include "app/widgets/Focus.h"
#include "controller/KumaController.h"
#include "controller/PermissionDenied.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString explanation(bool hasColima) {
    if (hasColima) {
        return u"The docker command line tool is installed, but the Colima runtime is not started."_s;
    }
    return u"The docker command line tool is installed, but no Docker runtime answers. One click "
           "installs and starts Colima, a free headless runtime. If you run another runtime, start it "
           "and press Check again."_s;
}

} // namespace

DockerNotRunningCard::DockerNotRunningCard(ViewContext context, QWidget* parent)
    : Card(u"Docker is not running"_s, parent)
    , m_context(context)
    , m_details(new DetailsSection) {
    addHeading(Symbol::Kind::warningTriangle, TextStyle::title3, u"Docker is not running"_s);
    m_explanation = addText(TextStyle::body);
    m_permission = addText(TextStyle::body, u"Docker refused: you are not in the group “docker” yet. Join it, then log "
                                            "out and in again."_s);
    m_permission->setMeaning(Meaning::pending);

    ButtonRow* const row = addButtonRow();
    m_startColima = addDefaultButton(row, u"Start Colima"_s, [context] { context.controller.startRuntime(); });
    m_installColima =
        addDefaultButton(row, u"Install Colima"_s, [context] { context.controller.installAndStartRuntime(); });
    m_getHomebrew = addGetHomebrewButton(row, context);
    addButton(row, u"Check again"_s, [context] { context.controller.recheck(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
    column()->addWidget(m_details);
}

void DockerNotRunningCard::render() {
    const KumaController& controller = m_context.controller;
    const bool hasColima = controller.state().colimaPath.has_value();
    const bool hasHomebrew = controller.state().brewPath.has_value();
    m_explanation->setContent(explanation(hasColima));
    setShown(m_startColima, hasColima);
    setShown(m_installColima, !hasColima && hasHomebrew);
    setShown(m_getHomebrew, !hasColima && !hasHomebrew);

    const QString details = controller.state().runtimeDetails;
    m_permission->setVisible(isPermissionDenied(details));
    m_details->setDetails(details);
    setShown(m_details, !details.isEmpty());
}

QPushButton* DockerNotRunningCard::defaultButton() const {
    return m_context.controller.state().colimaPath ? m_startColima : m_installColima;
}

} // namespace orvanel
