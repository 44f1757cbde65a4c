#pragma once

#include "controller/StateStore.h"
#include "platform/SettingsStore.h"

namespace orvanel {

/// The user's settings: reads them into the state at its creation, and writes each to the defaults store the moment it
/// is set, as it is. A setting that could not be stored is published as an error, and holds for this run only. Main
/// thread.
class UserSettings {
public:
    /// Both must outlive this.
    UserSettings(SettingsStore& defaults, StateStore& state);

    bool setPort(int port);
    bool setSlug(const QString& slug);
    bool setStopOnQuit(bool stop);
    /// Another tool may be found from now on, and nothing is known of it.
    bool setDockerOverride(const QString& path);
    bool setImageTag(const QString& tag);
    bool setHasSeenGuide(bool seen);

    /// Writes down the tag to go back to while another is pinned and not downloaded: a program that is killed meanwhile
    /// takes it back when it starts again. False when that could not be stored, which is published like a setting.
    bool setTagToTakeBack(const QString& tag);
    void forgetTagToTakeBack();

    QString file() const { return m_defaults.file(); }
    /// What is published when a setting could not be stored.
    OpError notSaved() const;

private:
    bool saved(bool success);

    SettingsStore& m_defaults;
    StateStore& m_state;
};

} // namespace orvanel
