#pragma once

#include "controller/ControllerEnvironment.h"
#include "controller/DataTurns.h"
#include "controller/Health.h"
#include "controller/MonitorTransitions.h"
#include "controller/StateStore.h"
#include "task/Event.h"
#include "task/TaskScope.h"

#include <QObject>
#include <QPointer>

#include <exception>
#include <stop_token>

namespace orvanel {

/// The one central object: the user's settings, the state that every view shows, and every operation on Docker, the
/// container and the status page. The shell makes one; views only read its state and call its operations.
///
/// Main thread only. Operations return at once and work on in tasks of their own. The controller must not be destroyed
/// while such tasks run (see finished()); the program keeps its controller until it exits.
class KumaController final : public QObject {
    Q_OBJECT

public:
    explicit KumaController(ControllerEnvironment environment);
    ~KumaController() override;

    // --- Settings (KumaController.cpp). Each is written to the defaults store the moment it is set, as it is. False when
    // it could not be stored, which is published as an error; it then holds for this run only.

    bool setPort(int port);
    bool setSlug(const QString& slug);
    bool setStopOnQuit(bool stop);
    bool setDockerOverride(const QString& path);
    bool setImageTag(const QString& tag);
    void setHasSeenGuide(bool seen);

    /// Not stored: the login item's true status, read each time.
    bool launchAtLogin() const;
    void setLaunchAtLogin(bool launch);

    /// What the views show. changed() tells of every change.
    const ControllerState& state() const { return *m_state; }

    // --- Derived values, computed at each call.

    Health health() const;
    QString statusLine() const;
    /// Uptime Kuma's data folder, mounted into the container.
    QString dataDir() const;
    /// The automatic backups, and what a restore has replaced.
    QString backupsDir() const;
    /// The compose file, beside the data folder.
    QString composeURL() const;
    QUrl dashboardURL() const;
    /// The pinned image: repository, colon, tag.
    QString imageReference() const;
    /// Whether the newest release found crosses a major version; see isMajorChange().
    bool majorChange() const;

    // --- Polling (Polling.cpp).

    /// Starts the poll loop, unless it runs already.
    void begin();
    /// Forgets the docker tool and probes again.
    void recheck();
    /// For the end of the program. Ends the poll loop, asks the cancellable children to terminate, and pins the old
    /// version again while the new one is not downloaded. An operation under way is not cancelled, but from now on,
    /// until begin(), none downloads anything or brings the container up.
    void shutdownPolling();
    /// Whether the container has been brought up, or is just being, since it was last looked at.
    bool mayBeComingUp() const { return m_comingUp.has_value(); }
    /// The end of the command that does so, or of half a minute. Only one may wait for it.
    QCoro::Task<void> bringUpEnd();
    /// Stops the container, through compose where that works; the result of the last command run. What is being brought
    /// up meanwhile comes up all the same.
    QCoro::Task<CommandResult> runStop(QString docker);

    // --- Container operations (ContainerOperations.cpp). One at a time: a request during another is dropped.

    void start();
    void stop();
    void restart();
    /// Cancels the download under way; other commands run to their end, and the operation stops after them.
    void cancelOperation();
    /// Asks first; then removes the container and deletes the data folder.
    void removeEverything();
    /// The last 300 lines of the container's log, as Docker gives them, or a sentence.
    QCoro::Task<QString> fetchLogs();

    // --- Runtime setup (RuntimeSetup.cpp). One at a time, beside container operations: a request during another is
    // dropped.

    /// Installs Colima and the docker tool with Homebrew where they are missing, and starts Colima.
    void installAndStartRuntime();
    /// Starts Colima, unless a runtime answers already.
    void startRuntime();
    void cancelSetup();

    // --- Updates (Update.cpp).

    /// Looks up the newest release; ignored while a check runs.
    void checkForUpdates();
    /// Asks first; then backs up, pins the newest release found, downloads it and recreates the container. A container
    /// operation; does nothing while no release is known.
    void updateNow();

    // --- Backups (BackupOperations.cpp).

    /// Asks where to; then copies the data folder while Uptime Kuma keeps running, and shows the backup. Beside
    /// container operations, and cannot be cancelled.
    void backUpNow();
    /// Asks for a backup and for a confirmation; then stops Uptime Kuma, replaces the data and starts it again. A
    /// container operation.
    void restoreBackup();
    /// Shows the data folder, made when missing, in the file manager.
    void revealDataFolder();

    // --- Compose file (ComposeFile.cpp).

    /// Creates the data folder and writes the compose file where its text differs. The description of the failure, or
    /// none after success.
    std::optional<QString> prepareFiles();

    /// Ends when no task of the controller runs any more.
    QCoro::Task<void> finished();
    /// Whether a task of the controller (an operation, the poll loop, a recheck, a backup) is under way.
    bool isIdle() const { return m_tasks.running() == 0 && m_backups.running() == 0; }

Q_SIGNALS:
    void changed();

private:
    using OperationBody = std::function<QCoro::Task<void>(std::stop_token stop)>;

    bool saved(bool success);
    void setDockerState(DockerState state, const QString& details = {});

    /// Runs a command that is neither cancelled nor watched.
    QCoro::Task<CommandResult> command(QString path, QStringList arguments, std::chrono::seconds limit) const;

    QStringList composeArgs(const QStringList& extra) const;
    QCoro::Task<bool> ensureCompose(QString docker);
    std::optional<int> freePort() const;

    QCoro::Task<void> poll(std::stop_token stop);
    QCoro::Task<void> pollOnce(std::stop_token stop);
    QCoro::Task<void> refresh(std::stop_token stop);
    QCoro::Task<void> refreshSoon();
    bool findTools();
    void publishRunning(bool pageAnswers);
    void publishNotRunning(const CommandResult& probe);
    bool isOutdated(const QString& docker, int operations) const;
    QCoro::Task<void> maybeFetchStatus();
    void publishStatus(const StatusPageResult& result);
    QCoro::Task<CommandResult> probeContainer(QString docker) const;
    QCoro::Task<std::optional<QString>> containerState(QString docker) const;
    void forgetBaseline();
    void applyTransitions(const QList<MonitorRow>& rows);
    void requestNotificationAuthIfNeeded();

    void runOp(const QString& label, OperationBody body);
    QCoro::Task<void> performOp(OperationBody body);
    QCoro::Task<void> performStart(std::stop_token stop);
    QCoro::Task<void> performStop();
    /// The same; false when it failed, with the reason published.
    QCoro::Task<bool> tryStop();
    QCoro::Task<void> performRestart(std::stop_token stop);
    QCoro::Task<void> performRemoveEverything();
    QCoro::Task<bool> removeContainer();
    struct ContainerLook {
        /// The tool that was asked, if there is one.
        std::optional<QString> docker;
        CommandResult answer;
    };
    QCoro::Task<ContainerLook> lookAtContainer();
    bool mayServerRun(const ContainerLook& look) const;
    QCoro::Task<void> stopWhatCameBack();
    QCoro::Task<void> confirmRemoveEverything();
    QCoro::Task<CommandResult> pullImage(QString docker, std::stop_token stop);
    QCoro::Task<CommandResult> startingCommand(QString docker, QStringList arguments);
    QCoro::Task<bool> hasOurData(QString docker);
    QCoro::Task<CommandResult> composeUp(QString docker);
    QCoro::Task<CommandResult> bringUp(QString docker, std::optional<QString> existing, bool recreate);
    QString dataMount() const;
    bool isPortTaken(int port) const;
    void showOperation(const QString& text);
    void replaceError(const OpError& error);
    void fail(const CommandResult& result);
    void fail(const std::exception& failure);

    QCoro::Task<void> performCheck();
    QCoro::Task<void> askForUpdate(QString version);
    QCoro::Task<void> performUpdate(QString version, std::stop_token stop);
    QCoro::Task<bool> backUpBeforeUpdate();
    bool pinTag(const QString& newTag);
    bool takeBackTag();
    void tellOfUnstoredTag();

    QCoro::Task<void> askForBackup();
    static QCoro::Task<void> performBackup(QPointer<KumaController> controller, QString destination);
    void showBackups();
    void backupEnded(const std::optional<OpError>& error);
    QCoro::Task<void> askForRestore();
    QCoro::Task<void> performRestore(QString source, std::stop_token stop);

    void runSetup(const QString& name, OperationBody body);
    QCoro::Task<void> performSetup(OperationBody body);
    QCoro::Task<void> performInstall(std::stop_token stop);
    QCoro::Task<bool> installRuntime();
    QCoro::Task<void> startColimaIfNeeded(QString docker, std::stop_token stop);
    void publishReady(const QString& docker);
    QCoro::Task<bool> waitForDaemon(QString docker, std::stop_token stop);
    QCoro::Task<CommandResult> setupCommand(QString path, QStringList arguments, std::chrono::seconds limit);
    void appendSetup(const QString& text);

    const ControllerEnvironment m_env;
    StateStore m_state{[this] { Q_EMIT changed(); }};

    /// The tasks that may be stopped; each is set while its task is wanted.
    std::optional<std::stop_source> m_pollTask;
    std::optional<std::stop_source> m_opTask;
    std::optional<std::stop_source> m_setupTask;
    /// Cancel the operation's and the installation's child, while there is one that may be cancelled.
    std::shared_ptr<ProcessHandle> m_processHandle;
    std::shared_ptr<ProcessHandle> m_setupHandle;

    /// The end of the last command that brought the container up; none once its container was looked at.
    std::optional<Event<>> m_comingUp;

    /// What the operation under way shows in m_busy, when no backup does.
    QString m_operationText;
    int m_backupsUnderWay = 0;
    DataTurns m_dataTurns;

    struct TagChange {
        QString from;
        QString to;
    };
    /// What an update has pinned and not downloaded yet.
    std::optional<TagChange> m_tagChange;

    /// Whether the program ends: what stops the container then must have the last word.
    bool m_isLeaving = false;
    /// Counts the operations begun, so that a probe notices one that began and ended while it waited.
    int m_operations = 0;
    /// When the status page was last asked; none stands for the distant past.
    std::optional<Clock::TimePoint> m_lastStatusFetch;
    MonitorStatuses m_previousStatus;
    /// Whether m_previousStatus holds a first reading, so that changes may be told.
    bool m_hasBaseline = false;
    bool m_requestedNotificationAuth = false;

    TaskScope m_tasks;
    /// The backups, which may outlive the controller.
    TaskScope m_backups;
};

} // namespace orvanel
