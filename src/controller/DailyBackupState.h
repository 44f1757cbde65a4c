#pragma once

#include "task/Clock.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace orvanel {

/// What is shown of the automatic backups.
struct DailyBackupState {
    /// A copy is being made.
    bool isRunning = false;
    /// The copy that was made last: when, and where it is. None while none is known.
    std::optional<Clock::WallTime> lastMade = {};
    QString lastPlace = {};
    /// How many copies there are, and what they take on the disk, in bytes; `isAtMost` where the disk may share even
    /// more.
    qsizetype copies = 0;
    qint64 bytes = 0;
    bool isAtMost = false;
    /// Why the last attempt failed, in a sentence and a line of details, and when the next one is made.
    std::optional<QString> failure = {};
    std::optional<Clock::WallTime> nextAttempt = {};
    /// What the copy that is due waits for, in a sentence.
    std::optional<QString> waiting = {};
    /// What else the user should know of the copies, in sentences.
    QStringList notes = {};

    bool operator==(const DailyBackupState&) const = default;
};

} // namespace orvanel
