#pragma once

#include "controller/StateStore.h"
#include "platform/SettingsStore.h"

namespace orvanel {

/// The copy that the last update has made, and of which version it is the data.
struct SafetyCopyNote {
    QString tag;
    /// Its name in the Backups folder.
    QString folder;
    /// Of what it held when it was made; see BackupManager::fingerprint().
    QString fingerprint;

    bool operator==(const SafetyCopyNote&) const = default;
};

/// The data is about to be replaced by that of an older version.
struct GoingBack {
    QString tag;
    /// The data folder that is to be replaced; see BackupManager::identity().
    QString data;

    bool operator==(const GoingBack&) const = default;
};

/// The user's settings. Reads them into the state when it is created, and writes each one to the defaults store
/// unchanged as soon as it is set. A setting that could not be stored is published as an error and holds for this run
/// only. Main thread only.
class UserSettings {
public:
    /// Both must outlive this.
    UserSettings(SettingsStore& defaults, StateStore& state);

    bool setPort(int port);
    bool setSlug(const QString& slug);
    bool setStopOnQuit(bool stop);
    /// Afterwards the search may find another tool, and nothing is known about it yet.
    bool setDockerOverride(const QString& path);
    bool setImageTag(const QString& tag);
    bool setHasSeenGuide(bool seen);
    bool setDailyBackup(bool enabled);

    /// Stores the tag to go back to while another one is pinned but not downloaded. If the program is killed meanwhile,
    /// it goes back to that tag at the next start. Returns false if the tag could not be stored, which is published as
    /// for a setting.
    bool setTagToTakeBack(const QString& tag);
    void forgetTagToTakeBack();

    /// Written down in one piece: the copy of an update that has come as far as to start the new version.
    const std::optional<SafetyCopyNote>& safetyCopy() const { return m_safetyCopy; }
    bool setSafetyCopy(const SafetyCopyNote& copy);
    void forgetSafetyCopy();

    /// Written down while it lasts, so that the next start can end what a killed one began.
    const std::optional<GoingBack>& goingBack() const { return m_goingBack; }
    bool setGoingBack(const GoingBack& going);
    void forgetGoingBack();

    QString file() const { return m_defaults.file(); }
    /// The error to publish when a setting could not be stored.
    OpError notSaved() const;

private:
    bool saved(bool success);
    void forget(QLatin1StringView key);

    SettingsStore& m_defaults;
    StateStore& m_state;
    std::optional<SafetyCopyNote> m_safetyCopy;
    std::optional<GoingBack> m_goingBack;
};

} // namespace orvanel
