#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace orvanel {

class WorkFolder;

/// One of the copies that are made every day, a folder in the Backups folder.
///
/// Beside each lies a hidden mark, a small file with what is known of it. Only a folder with a mark is taken for such a
/// copy: others of the same name are somebody else's, and stay.
struct DailyCopy {
    enum class Check {
        passed,
        failed,
        notMade,
    };

    /// The time of its making: "20261122-045535".
    QString time;
    /// The order in which they were made, whatever the clock said.
    int number = 0;
    Check check = Check::passed;
    /// Whether its disk shares blocks between files: it then takes less room than its files' sizes tell.
    bool sharesBlocks = false;
    /// Whether files came, went or were written to since it was made, as far as names, sizes and dates tell.
    bool isChanged = false;

    /// The folder's name: "daily-20261122-045535", with " (check failed)" or " (not checked)" when it did not pass.
    QString name() const;
    /// When it was made, by this computer's clock of that time.
    QDateTime made() const;
    QDate day() const;
    /// Whether it is known to be a good one.
    bool isGood() const { return check == Check::passed && !isChanged; }

    bool operator==(const DailyCopy&) const = default;
};

/// The time in a copy's name for a local time, which must be valid.
QString dailyTime(const QDateTime& local);

/// Whether that is the name of a daily copy, whoever made it.
bool isDailyName(const QString& name);

/// The copies in the Backups folder, in the order of their making. Reads the marks only. Blocks; any thread.
QList<DailyCopy> dailyCopiesIn(const QString& backupsDir);
/// The same, with `isChanged` found out, for which it looks at every file in them.
QList<DailyCopy> comparedDailyCopiesIn(const QString& backupsDir);

/// Marks the copy that lies at `path` in `work`, a work folder in the Backups folder, in which it will get its name
/// next. Throws a file error. Blocks; any thread.
void markDailyCopy(const QString& backupsDir, const DailyCopy& copy, const QString& path, const WorkFolder& work);
void unmarkDailyCopy(const QString& backupsDir, const DailyCopy& copy);
/// Removes the marks of copies that are gone. Not while a copy is made. Blocks; any thread.
void removeOrphanedMarks(const QString& backupsDir);

} // namespace orvanel
