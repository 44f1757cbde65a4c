#pragma once

#include "controller/ContainerOperations.h"
#include "controller/UserSettings.h"
#include "release/ReleaseAnswer.h"

namespace orvanel {

/// Looks up the newest release, and updates the container to it after a backup. Main thread only. What it is given must
/// outlive it, and it must outlive its tasks.
class Updater {
public:
    using FetchRelease = std::function<QCoro::Task<ReleaseResult>()>;

    Updater(const ContainerContext& context, UserSettings& settings, Operations& operations,
            ContainerOperations& containerOperations, const DataTurns& dataTurns, Dialogs& dialogs,
            FetchRelease fetchRelease, TaskScope& tasks);

    void checkForUpdates();
    void updateNow();
    /// Pins the old version again while the new one is not downloaded, unless the user has chosen yet another tag
    /// meanwhile. False when the old tag could not be stored.
    bool takeBackTag();

private:
    QCoro::Task<void> performCheck();
    QCoro::Task<void> askForUpdate(QString version);
    QCoro::Task<Outcome> performUpdate(QString version, std::stop_token stop);
    /// What became of the backup before an update.
    struct SafetyCopy {
        /// Why there is none to rely on: the update ends.
        Outcome failure;
        /// What to tell when the update has succeeded.
        Outcome warning;
        /// None without data, or when it was made during a conversion and leads back to nothing.
        std::optional<SafetyCopyNote> wayBack;
    };
    QCoro::Task<SafetyCopy> backUpFirst();
    QCoro::Task<std::optional<SafetyCopyNote>> wayBackBy(QString copy) const;
    Outcome pinTag(const QString& newTag);
    Outcome prepareFiles() const;
    Failure withUnstoredTag(Failure failure) const;

    struct TagChange {
        QString from;
        QString to;
    };

    const ContainerContext m_context;
    UserSettings& m_settings;
    Operations& m_operations;
    ContainerOperations& m_containerOperations;
    const DataTurns& m_dataTurns;
    Dialogs& m_dialogs;
    const FetchRelease m_fetchRelease;
    TaskScope& m_tasks;
    /// What an update has pinned and not downloaded yet.
    std::optional<TagChange> m_tagChange;
};

} // namespace orvanel
