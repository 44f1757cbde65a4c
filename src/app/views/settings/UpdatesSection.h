#pragma once

#include "app/views/settings/SettingsSection.h"
#include "controller/ControllerState.h"

#include <optional>

namespace orvanel {

/// Whether "Update" can be pressed.
bool canUpdate(const ControllerState& state);

/// Whether "Go back to TAG…" can be pressed.
bool canGoBack(const ControllerState& state);

/// The pinned Uptime Kuma, the newest one, and the buttons that check for it and update to it.
class UpdatesSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit UpdatesSection(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    void renderTexts();
    void describeCheck();
    void renderCheckButton();

    ViewContext m_context;
    TextLabel* m_pinned;
    TextLabel* m_newest;
    TextLabel* m_message;
    TextLabel* m_majorChange;
    QPushButton* m_check;
    QPushButton* m_update;
    QPushButton* m_goBack;
    QWidget* m_releaseNotes;
    /// What has the focus while the check that was started from the button runs.
    QWidget* m_focusMeanwhile = nullptr;
};

} // namespace orvanel
