#pragma once

#include "app/RenderTrigger.h"
#include "app/views/View.h"

class QVBoxLayout;

namespace orvanel {

class Dialogs;
class SettingsSection;

/// The content of the settings window: all settings, in groups below one another. Each takes effect as it is changed.
class SettingsView final : public View {
    Q_OBJECT

public:
    /// The dialogs must outlive the view and the questions that it has asked.
    SettingsView(ViewContext context, Dialogs& dialogs, QWidget* parent = nullptr);

    void render() override;

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void addSection(QVBoxLayout* column, SettingsSection* section);

    QList<SettingsSection*> m_sections;
    RenderTrigger m_trigger;
};

} // namespace orvanel
