#pragma once

#include "app/views/settings/SettingsSection.h"

namespace orvanel {

/// Whose work is at work here.
class AboutSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit AboutSection(QWidget* parent = nullptr);

    void render() override {}
};

} // namespace orvanel
