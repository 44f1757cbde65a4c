#pragma once

#include "DataFolder.h"
#include "backup/DailyCopies.h"
#include "support/Await.h"

#include <algorithm>

namespace orvanel::test {

/// A data folder and its daily copies, with a day that the test chooses.
class DailyWorld {
public:
    DataFolder folder;
    QDateTime now{QDate(2026, 1, 5), QTime(3, 0)};

    std::optional<DailyBackupResult> make() const {
        return await(DailyCopies::make(folder.data(), folder.backups(), now));
    }
    void prune() const { await(DailyCopies::prune(folder.backups())); }
    DailyCopyStock look() const { return await(DailyCopies::look(folder.backups())); }
    /// The next day's copy, and its path.
    QString nextDay() {
        now = now.addDays(1);
        return make().value().backup.path;
    }

    /// The names that a user sees in the Backups folder.
    QStringList shown() const {
        QStringList names = folder.kept();
        names.removeIf([](const QString& name) { return name.startsWith(u'.'); });
        std::sort(names.begin(), names.end());
        return names;
    }
};

} // namespace orvanel::test
