#pragma once

#include "controller/StateStore.h"
#include "platform/SettingsStore.h"

namespace orvanel {

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

    /// Stores the tag to go back to while another one is pinned but not downloaded. If the program is killed meanwhile,
    /// it goes back to that tag at the next start. Returns false if the tag could not be stored, which is published as
    /// for a setting.
    bool setTagToTakeBack(const QString& tag);
    void forgetTagToTakeBack();

    QString file() const { return m_defaults.file(); }
    /// The error to publish when a setting could not be stored.
    OpError notSaved() const;

private:
    bool saved(bool success);

    SettingsStore& m_defaults;
    StateStore& m_state;
};

} // namespace orvanel
