#pragma once

#include "app/views/settings/SettingsSection.h"
#include "task/TaskScope.h"

#include <QPointer>

namespace orvanel {

class Dialogs;

/// Shows which docker tool is in use, and lets the user choose another.
class DockerToolSection final : public SettingsSection {
    Q_OBJECT

public:
    DockerToolSection(ViewContext context, Dialogs& dialogs, QWidget* parent = nullptr);

    void render() override;

private:
    using Self = QPointer<DockerToolSection>;
    // The section may be gone when the question is answered.
    static QCoro::Task<void> choose(Self self, Dialogs* dialogs, KumaController* controller);

    ViewContext m_context;
    TextLabel* m_inUse;
    TextField* m_override;
    SettingProblem* m_problem;
    TaskScope m_tasks;
};

} // namespace orvanel
