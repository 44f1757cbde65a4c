#pragma once

#include "app/views/settings/SettingsSection.h"
#include "task/TaskScope.h"

namespace orvanel {

class Dialogs;

/// Shows which docker tool is in use, and lets the user choose another.
class DockerToolSection final : public SettingsSection {
    Q_OBJECT

public:
    DockerToolSection(ViewContext context, Dialogs& dialogs, QWidget* parent = nullptr);

    void render() override;

private:
    // The section may be gone when the question is answered.
    static QCoro::Task<void> choose(Dialogs* dialogs, KumaController* controller);

    ViewContext m_context;
    TextLabel* m_inUse;
    QLineEdit* m_override;
    TaskScope m_tasks;
};

} // namespace orvanel
