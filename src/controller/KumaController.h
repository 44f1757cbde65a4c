#pragma once

#include "controller/StateStore.h"
#include "controller/StatusSummary.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <memory>
#include <optional>

namespace orvanel {

struct ControllerEnvironment;

/// The one central object: the user's settings, the state that every view shows, and every operation on Docker, the
/// container and the status page. The shell makes one; views only read its state and call its operations. The work is
/// done by the objects behind it: see Parts in the source.
///
/// Main thread only. Operations return at once and work on in tasks of their own. The controller must not be destroyed
/// while such tasks run (see finished()); the program keeps its controller until it exits.
class KumaController final : public QObject {
    Q_OBJECT

public:
    explicit KumaController(const ControllerEnvironment& environment);
    ~KumaController() override;

    /// What the views show. changed() tells of every change.
    const ControllerState& state() const;

    // --- Settings. Each is stored unchanged the moment it is set. False when that fails, which is published as an
    // error; the setting then holds for this run only.
    bool setPort(int port);
    bool setSlug(const QString& slug);
    bool setStopOnQuit(bool stop);
    bool setDockerOverride(const QString& path);
    bool setImageTag(const QString& tag);
    bool setHasSeenGuide(bool seen);
    /// Switched on, it makes the first copy at once.
    bool setDailyBackup(bool enabled);

    /// Not stored: the login item's true status, read each time.
    bool launchAtLogin() const;
    void setLaunchAtLogin(bool launch);

    // --- Derived values, computed at each call.
    Health health() const;
    QString statusLine() const;
    /// Uptime Kuma's data folder, mounted into the container.
    QString dataDir() const;
    /// The automatic backups, and the data that a restore has replaced.
    QString backupsDir() const;
    /// The compose file, beside the data folder.
    QString composeURL() const;
    QUrl dashboardURL() const;
    /// The page of the dashboard that shows the monitor with that id.
    QUrl monitorURL(std::int64_t id) const;
    /// The pinned image: repository, colon, tag.
    QString imageReference() const;
    /// Whether the newest release found crosses a major version; see isMajorChange().
    bool majorChange() const;

    // --- Polling.
    /// Starts the poll loop, unless it runs already.
    void begin();
    /// Forgets the docker tool and probes again.
    void recheck();

    // --- Container operations. One at a time: a request during another is dropped.
    void start();
    void stop();
    void restart();
    /// Cancels the download under way, or the restore if it has not moved the data yet. Other commands run to their
    /// end, and the operation stops after them.
    void cancelOperation();
    /// Removes the error that is shown, and the way out that was offered with it.
    void dismissError();
    /// Asks first; then removes the container and deletes the data folder.
    void removeEverything();
    /// The last 300 lines of the container's log, as Docker gives them, or a sentence.
    QCoro::Task<QString> fetchLogs();

    // --- Runtime setup. One at a time, beside container operations: a request during another is dropped.
    /// Installs Colima and the docker tool with Homebrew where they are missing, and starts Colima.
    void installAndStartRuntime();
    /// Starts Colima, unless a runtime answers already.
    void startRuntime();
    /// Asks for the password; then installs Docker with the computer's package manager, starts it and lets the user in.
    void installDocker();
    /// Asks for the password; then adds the user to the group that may use Docker, and lets them use it at once.
    void joinDockerGroup();
    /// Starts the service that the state offers; may ask for the password.
    void startDockerService();
    void cancelSetup();

    // --- Updates.
    /// Looks up the newest release; ignored while a check runs.
    void checkForUpdates();
    /// Asks first; then backs up, pins the newest release found, downloads it and recreates the container. A container
    /// operation; does nothing while no release is known.
    void updateNow();
    /// Asks first; then restores the copy from before the last update, pins the version of that time and starts it. A
    /// container operation; does nothing while there is no such copy.
    void goBack();

    // --- Backups.
    /// Asks where to; then copies the data folder while Uptime Kuma keeps running, and shows the backup. Runs beside
    /// container operations, and cannot be cancelled.
    void backUpNow();
    /// Asks for a backup and for a confirmation; then stops Uptime Kuma, replaces the data and starts it again. A
    /// container operation.
    void restoreBackup();
    /// Shows the data folder, made when missing, in the file manager.
    void revealDataFolder();

    /// Creates the data folder, and writes the compose file where its text differs. The description of a failure.
    std::optional<QString> prepareFiles();

    // --- The end of the program.
    /// Ends the poll loop, asks the cancellable children to terminate, and pins the old version again while the new one
    /// is not downloaded. An operation under way is not cancelled, but from now on, until begin(), none downloads
    /// anything or brings the container up.
    void shutdownPolling();
    /// Whether the container has been brought up, or is just being, since it was last looked at.
    bool mayBeComingUp() const;
    /// Stops the container, through compose where that works. What is being brought up comes first, for half a minute
    /// at most, since a stop beside it would find nothing to stop yet. A server that converts its data is left running.
    QCoro::Task<void> runStop();
    /// Ends when no task of the controller runs any more.
    QCoro::Task<void> finished();
    /// Whether no task of the controller (an operation, the poll loop, a recheck, a backup) is under way.
    bool isIdle() const;

Q_SIGNALS:
    void changed();

private:
    struct Parts;
    const std::unique_ptr<Parts> m_parts;
};

} // namespace orvanel
