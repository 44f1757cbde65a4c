#pragma once

#include "app/views/settings/SettingsSection.h"

namespace orvanel {

/// What cannot be undone.
class DangerSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit DangerSection(ViewContext context, QWidget* parent = nullptr);

    void render() override {}
};

} // namespace orvanel
