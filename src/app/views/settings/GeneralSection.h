#pragma once

#include "app/views/settings/SettingsSection.h"

namespace orvanel {

class Switch;

/// How the program starts and quits, and where its data is.
class GeneralSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit GeneralSection(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    Switch* m_launchAtLogin;
    Switch* m_stopOnQuit;
};

} // namespace orvanel
