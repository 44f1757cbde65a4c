#pragma once

#include "app/views/settings/SettingsSection.h"
#include "controller/DailyBackupState.h"

namespace orvanel {

class Switch;

/// The sentence that says what was done last and where; empty when nothing was. `switchedOn` is the setting.
QString lastBackupText(const DailyBackupState& daily, bool switchedOn);

/// What the copies take; empty when there are none.
QString backupSizeText(const DailyBackupState& daily);

/// Switches the daily backups, and shows what became of them.
class BackupsSection final : public SettingsSection {
    Q_OBJECT

public:
    explicit BackupsSection(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    void show(TextLabel* label, const QString& text);

    ViewContext m_context;
    Switch* m_daily;
    TextLabel* m_last;
    TextLabel* m_problem;
    TextLabel* m_size;
    TextLabel* m_notes;
};

} // namespace orvanel
