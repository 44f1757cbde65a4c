#include "app/views/DockerMissingCard.h"

#include "app/Windows.h"
#include "app/views/Homebrew.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

DockerMissingCard::DockerMissingCard(ViewContext context, QWidget* parent)
    : Card(u"Docker is not installed"_s, parent)
    , m_context(context) {
    addHeading(Symbol::Kind::box, TextStyle::title3, u"Docker is not installed"_s);
    addText(TextStyle::body, u"Orvanel runs Uptime Kuma inside Docker, using Colima, a free headless runtime with no "
                             "desktop app. One click installs Colima and the Docker command line tool with Homebrew "
                             "(brew install colima docker) and starts them."_s);
    m_foundRow = makeFoundRow();
    column()->addWidget(m_foundRow);
    m_homebrewIsNeeded = addText(TextStyle::body, u"Homebrew is needed for the one-click install and was not found."_s);
    m_homebrewIsNeeded->setMeaning(Meaning::pending);

    ButtonRow* const row = addButtonRow();
    m_install = addDefaultButton(row, u"Install Colima and Docker"_s,
                                 [context] { context.controller.installAndStartRuntime(); });
    m_getHomebrew = addGetHomebrewButton(row, context);
    addButton(row, u"Check again"_s, [context] { context.controller.recheck(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
}

QWidget* DockerMissingCard::makeFoundRow() {
    m_foundText = new TextLabel(TextStyle::body);
    auto* found = new QWidget;
    auto* lines = new QVBoxLayout(found);
    lines->setContentsMargins({});
    lines->setSpacing(spacing::related);
    lines->addWidget(m_foundText);
    auto* row = new ButtonRow;
    lines->addLayout(row);
    addButton(row, u"Use it"_s, [this] { useFoundTool(); });
    return found;
}

void DockerMissingCard::useFoundTool() {
    const std::optional<QString> found = m_context.controller.state().dockerElsewhere;
    if (!found) {
        return;
    }
    m_context.controller.setDockerOverride(*found);
    m_context.controller.recheck();
}

void DockerMissingCard::render() {
    const bool hasHomebrew = m_context.controller.state().brewPath.has_value();
    m_homebrewIsNeeded->setVisible(!hasHomebrew);
    setShown(m_install, hasHomebrew);
    setShown(m_getHomebrew, !hasHomebrew);

    const std::optional<QString> found = m_context.controller.state().dockerElsewhere;
    m_foundText->setOutsideText(u"A docker tool was found at %1."_s.arg(found.value_or(QString())));
    setShown(m_foundRow, found.has_value());
}

} // namespace orvanel
