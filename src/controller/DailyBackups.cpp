#include "controller/DailyBackups.h"

#include "controller/BackupOperations.h"

#include <QScopeGuard>

#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto afterFailure = 1h;
/// As long as there is no data yet.
constexpr auto untilThereIsData = 1min;
/// A server whose page has not answered for so long is not just starting: the page may be for other eyes.
constexpr auto longestStart = 10min;

Clock::WallTime wallTimeOf(const QDateTime& time) {
    return Clock::WallTime(std::chrono::milliseconds(time.toMSecsSinceEpoch()));
}

QStringList notesOf(const DailyCopyStock& stock, const QStringList& deletedForRoom) {
    QStringList notes;
    if (!deletedForRoom.isEmpty()) {
        notes << u"Less than a tenth of the disk was free, so the oldest weekly copies were deleted: %1."_s.arg(
            deletedForRoom.join(u", "_s));
    }
    QStringList changed;
    for (const DailyCopy& copy : stock.copies) {
        if (copy.isChanged) {
            changed << copy.name();
        }
    }
    if (!changed.isEmpty()) {
        notes << u"Changed since it was made, and therefore kept but not counted: %1."_s.arg(changed.join(u", "_s));
    }
    return notes;
}

} // namespace

DailyBackups::DailyBackups(const ContainerContext& context, UserSettings& settings, const Operations& operations,
                           const DataTurns& dataTurns, Clock& clock, Notifier& notifier, TaskScope& tasks)
    : m_context(context)
    , m_settings(settings)
    , m_operations(operations)
    , m_dataTurns(dataTurns)
    , m_clock(clock)
    , m_notifier(notifier)
    , m_tasks(tasks) {}

void DailyBackups::begin() {
    if (!m_hasBegun) {
        m_hasBegun = true;
        m_tasks.start(lookFirst(), u"look at the daily copies"_s);
    }
}

bool DailyBackups::setEnabled(bool enabled) {
    const bool wasEnabled = m_context.state->dailyBackup;
    const bool isSaved = m_settings.setDailyBackup(enabled);
    if (enabled && !wasEnabled) {
        m_isWanted = true;
        m_nextAttempt = std::nullopt;
        m_isFailureTold = false;
        update([](DailyBackupState& daily) {
            daily.failure = std::nullopt;
            daily.nextAttempt = std::nullopt;
        });
        begin();
    }
    startWhenDue();
    return isSaved;
}

void DailyBackups::startWhenDue() {
    if (!m_context.state->dailyBackup) {
        m_isWanted = false;
        wait(std::nullopt);
        return;
    }
    if (!m_isKnown || m_context.state->dailyBackups.isRunning || m_context.bringUp.isForbidden()) {
        return;
    }
    if (m_nextAttempt && m_clock.now() < *m_nextAttempt) {
        return;
    }
    const bool isWanted = m_isWanted || isDue();
    const std::optional<QString> inTheWay = isWanted ? obstacle() : std::nullopt;
    wait(inTheWay);
    if (isWanted && !inTheWay) {
        m_tasks.start(makeCopy(), u"daily backup"_s);
    }
}

bool DailyBackups::isDue() const {
    std::optional<LastDailyCopy> last;
    if (m_lastGood) {
        last = LastDailyCopy{.made = *m_lastGood};
        if (m_lastGoodAt) {
            last->since = m_clock.now() - *m_lastGoodAt;
        }
    }
    return isDailyCopyDue(localTime(), last);
}

/// What is in the way of a copy now.
std::optional<QString> DailyBackups::obstacle() {
    const bool isStarting = isJustStarting();
    if (m_context.state->dockerState != DockerState::ready) {
        return u"The next copy is made as soon as Docker answers."_s;
    }
    if (m_context.state->busy || m_operations.isRunning() || m_dataTurns.isTaken()) {
        return u"The next copy is made as soon as nothing else is under way."_s;
    }
    // A copy made meanwhile is sound, and yet no server starts on it.
    if (m_context.state->conversion) {
        return u"The next copy is made as soon as Uptime Kuma has converted its data."_s;
    }
    if (isStarting) {
        return u"The next copy is made as soon as Uptime Kuma has started."_s;
    }
    return std::nullopt;
}

bool DailyBackups::isJustStarting() {
    if (m_context.state->kuma != KumaState::starting) {
        m_startingSince = std::nullopt;
        return false;
    }
    if (!m_startingSince || m_context.state->conversion) {
        m_startingSince = m_clock.now();
    }
    return m_clock.now() - *m_startingSince < longestStart;
}

QCoro::Task<void> DailyBackups::lookFirst() {
    co_await look();
    m_isKnown = true;
    startWhenDue();
}

QCoro::Task<void> DailyBackups::look() {
    const QString backupsDir = m_context.files.backupsDir();
    const DailyCopyStock stock = co_await m_context.host.lookAtDailyCopies(backupsDir);
    publish(stock);
}

QCoro::Task<void> DailyBackups::makeCopy() {
    update([](DailyBackupState& daily) { daily.isRunning = true; });
    const auto ended = qScopeGuard([this] { update([](DailyBackupState& daily) { daily.isRunning = false; }); });
    const DataTurns::Turn turn = co_await m_dataTurns.take();
    const QDateTime now = localTime();
    const QString backupsDir = m_context.files.backupsDir();
    std::optional<DailyBackupResult> made;
    std::optional<OpError> error;
    try {
        made = co_await m_context.host.makeDailyCopy(m_context.files.dataDir(), backupsDir, now);
        error = made ? databaseError(made->backup) : std::nullopt;
    } catch (const std::exception& failure) {
        error = OpError{u"The daily backup failed."_s, QString::fromUtf8(failure.what())};
    }
    if (error) {
        failed(*error);
    } else if (made) {
        succeeded(now);
    } else {
        m_nextAttempt = m_clock.now() + untilThereIsData;
        wait(u"The first copy is made as soon as Uptime Kuma has data."_s);
    }
    if (!made) {
        co_return;
    }
    m_deletedForRoom = made->deletedForRoom;
    // A restore that waits for its turn may be about to read any of the copies.
    if (!m_operations.isRunning()) {
        co_await m_context.host.pruneDailyCopies(backupsDir);
    }
    co_await look();
}

void DailyBackups::succeeded(const QDateTime& made) {
    m_isWanted = false;
    m_lastGood = made;
    m_lastGoodAt = m_clock.now();
    m_nextAttempt = std::nullopt;
    m_isFailureTold = false;
    m_context.state.update([](ControllerState& state) {
        state.dailyBackups.failure = std::nullopt;
        state.dailyBackups.nextAttempt = std::nullopt;
        if (state.error && state.error->kind == ErrorKind::dailyBackup) {
            state.error = std::nullopt;
        }
    });
}

void DailyBackups::failed(const OpError& error) {
    m_nextAttempt = m_clock.now() + afterFailure;
    update([&](DailyBackupState& daily) {
        daily.failure = error.message + u' ' + error.details.section(u'\n', 0, 0);
        daily.nextAttempt = m_clock.wallTime() + afterFailure;
    });
    if (m_isFailureTold) {
        return;
    }
    m_isFailureTold = true;
    replaceError(m_context.state, {error.message, error.details, ErrorKind::dailyBackup});
    if (m_notifier.mayPost()) {
        m_notifier.post(u"Daily backup"_s, error.message + u" Orvanel tries again in an hour."_s);
    }
}

void DailyBackups::wait(const std::optional<QString>& reason) {
    update([&reason](DailyBackupState& daily) { daily.waiting = reason; });
}

void DailyBackups::publish(const DailyCopyStock& stock) {
    for (const DailyCopy& copy : stock.copies) {
        if (copy.check == DailyCopy::Check::passed && !m_lastGoodAt) {
            m_lastGood = copy.made();
        }
    }
    update([&](DailyBackupState& daily) {
        daily.copies = stock.copies.size();
        daily.bytes = stock.bytes;
        daily.isAtMost = stock.isAtMost;
        daily.notes = notesOf(stock, m_deletedForRoom);
        daily.lastMade = std::nullopt;
        daily.lastPlace = QString();
        if (!stock.copies.isEmpty()) {
            daily.lastMade = wallTimeOf(stock.copies.last().made());
            daily.lastPlace = m_context.files.backupsDir() + u'/' + stock.copies.last().name();
        }
    });
}

QDateTime DailyBackups::localTime() const {
    const auto sinceEpoch = m_clock.wallTime().time_since_epoch();
    return QDateTime::fromMSecsSinceEpoch(std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

} // namespace orvanel
