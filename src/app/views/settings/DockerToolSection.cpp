#include "app/views/settings/DockerToolSection.h"

#include "app/widgets/Buttons.h"
#include "app/widgets/TextField.h"
#include "controller/KumaController.h"
#include "platform/Dialogs.h"

#include <QHBoxLayout>

namespace orvanel {

DockerToolSection::DockerToolSection(ViewContext context, Dialogs& dialogs, QWidget* parent)
    : SettingsSection(QStringLiteral("Docker command line tool"), parent)
    , m_context(context)
    , m_override(new TextField(QStringLiteral("Path of the docker command line tool"))) {
    m_inUse = addCaption();
    m_override->setPlaceholderText(QStringLiteral("Automatic"));
    m_override->setAccessibleDescription(QStringLiteral("Empty: automatic"));
    connect(m_override, &QLineEdit::textEdited, this,
            [context](const QString& path) { context.controller.setDockerOverride(path); });

    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(m_override, 1);
    addButton(row, QStringLiteral("Choose…"), [this, &dialogs] {
        m_tasks.start(choose(&dialogs, &m_context.controller), QStringLiteral("choose the docker tool"));
    });
    column()->addLayout(row);
}

void DockerToolSection::render() {
    const std::optional<QString> path = m_context.controller.dockerPath();
    m_inUse->setOutsideText(path ? QStringLiteral("In use: ") + *path : QStringLiteral("Docker was not found."));
    showInField(m_override, m_context.controller.dockerOverride());
}

QCoro::Task<void> DockerToolSection::choose(Dialogs* dialogs, KumaController* controller) {
    const OpenPanel panel{.title = QStringLiteral("Choose the docker command line tool"),
                          .message = QStringLiteral("Choose the docker command line tool"),
                          .filesAllowed = true,
                          .foldersAllowed = false};
    const std::optional<QString> path = co_await dialogs->chooseOpenPath(panel);
    if (path && !path->isEmpty()) {
        controller->setDockerOverride(*path);
        controller->recheck();
    }
}

} // namespace orvanel
