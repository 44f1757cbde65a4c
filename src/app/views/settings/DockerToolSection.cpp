#include "app/views/settings/DockerToolSection.h"

#include "app/widgets/Buttons.h"
#include "app/widgets/TextField.h"
#include "controller/KumaController.h"
#include "platform/Dialogs.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

DockerToolSection::DockerToolSection(ViewContext context, Dialogs& dialogs, QWidget* parent)
    : SettingsSection(u"Docker command line tool"_s, parent)
    , m_context(context)
    , m_override(new TextField(u"Path to the docker command line tool"_s)) {
    m_inUse = addCaption();
    m_override->setPlaceholderText(u"Automatic"_s);
    m_override->setAccessibleDescription(u"Leave it empty to find the tool automatically."_s);

    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(m_override, 1);
    addButton(row, u"Choose…"_s, [this, &dialogs] {
        m_tasks.start(choose(this, &dialogs, &m_context.controller), u"choose the docker tool"_s);
    });
    column()->addLayout(row);
    m_problem = addProblem(m_override);
    connect(m_override, &TextField::changedByUser, this,
            [this](const QString& path) { m_problem->showWhetherSaved(m_context.controller.setDockerOverride(path)); });
}

void DockerToolSection::render() {
    const std::optional<QString> path = m_context.controller.state().dockerPath;
    m_inUse->setOutsideText(path ? u"In use: "_s + *path : u"Docker was not found."_s);
    m_override->showValue(m_context.controller.state().dockerOverride);
}

QCoro::Task<void> DockerToolSection::choose(Self self, Dialogs* dialogs, KumaController* controller) {
    const OpenPanel panel{.title = u"Choose the docker command line tool"_s,
                          .message = u"Choose the docker command line tool"_s,
                          .filesAllowed = true,
                          .foldersAllowed = false};
    const std::optional<QString> path = co_await dialogs->chooseOpenPath(panel);
    if (path && !path->isEmpty()) {
        const bool isSaved = controller->setDockerOverride(*path);
        controller->recheck();
        if (!self.isNull()) {
            self->m_problem->showWhetherSaved(isSaved);
        }
    }
}

} // namespace orvanel
