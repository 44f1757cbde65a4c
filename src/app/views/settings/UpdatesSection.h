#pragma once

#include "app/views/settings/SettingsSection.h"
#include "controller/ControllerState.h"

#include <optional>

namespace orvanel {

/// Whether "Update" can be pressed.
bool canUpdate(const std::optional<QString>& latestVersion, const QString& imageTag, const std::optional<QString>& busy,
               DockerState dockerState);

/// Which Uptime Kuma is pinned, which is the newest, and the way from one to the other.
class UpdatesSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit UpdatesSection(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    void renderTexts();
    void describeCheck();
    void setCheckEnabled(bool isEnabled);

    ViewContext m_context;
    TextLabel* m_pinned;
    TextLabel* m_newest;
    TextLabel* m_message;
    TextLabel* m_majorChange;
    QPushButton* m_check;
    QPushButton* m_update;
    QWidget* m_releaseNotes;
    /// Where the keys go while the check that they asked for runs.
    QWidget* m_focusMeanwhile = nullptr;
};

} // namespace orvanel
