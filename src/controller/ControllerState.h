#pragma once

#include "controller/Conversion.h"
#include "controller/DailyBackupState.h"
#include "controller/DockerKind.h"
#include "platform/ServiceUnits.h"
#include "statuspage/StatusPageResult.h"
#include "task/Clock.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

namespace orvanel {

/// What is known of the Docker runtime.
enum class DockerState {
    unknown,    ///< not probed yet
    missing,    ///< no docker tool was found
    notRunning, ///< the tool exists, but no runtime answers
    ready,      ///< the runtime answers
};

/// What is known of the Uptime Kuma container.
enum class KumaState {
    stopped,  ///< not running
    starting, ///< running, but its page does not answer yet
    running,  ///< up
    error,    ///< failing, for example restarting again and again
};

/// What an error is about, where that decides what happens to it.
enum class ErrorKind {
    general,
    /// The container restarts again and again; the error goes when its page answers.
    restartLoop,
    /// The same, because a conversion of its data was interrupted.
    interruptedConversion,
    /// Docker does not answer; the error goes when it does.
    dockerSilent,
    /// A daily backup failed; the error goes when one succeeds.
    dailyBackup,
};

/// Whether the error goes when Uptime Kuma's page answers.
constexpr bool isRestartLoop(ErrorKind kind) {
    return kind == ErrorKind::restartLoop || kind == ErrorKind::interruptedConversion;
}

/// Why the last operation failed.
struct OpError {
    /// One sentence for the user.
    QString message;
    /// The raw output or explanation behind it; may be empty.
    QString details = {};
    ErrorKind kind = ErrorKind::general;

    bool operator==(const OpError&) const = default;
};

/// Everything that the views show. The first seven are the user's settings.
struct ControllerState {
    int port = 0;
    /// The public status page whose monitors are shown; blank means none.
    QString slug = {};
    bool stopOnQuit = false;
    /// A docker executable chosen by the user; empty means search.
    QString dockerOverride = {};
    QString imageTag = {};
    bool hasSeenGuide = false;
    bool dailyBackup = false;

    std::optional<QString> dockerPath = {};
    DockerState dockerState = DockerState::unknown;
    /// What the docker tool said when no runtime answered; empty in every other state. See isPermissionDenied().
    QString runtimeDetails = {};
    /// The session's DOCKER_HOST, which no docker tool gets to see; empty if there is none. See contextCommand().
    QString dockerHost = {};
    /// Whether `docker compose` works and is Docker's own; none while not probed.
    std::optional<bool> composeAvailable = {};
    /// What answers under the name docker; none while not known.
    std::optional<DockerKind> dockerKind = {};
    KumaState kuma = KumaState::stopped;
    /// Another program has paused the container. `kuma` is stopped then.
    bool isPaused = false;
    /// There while Uptime Kuma converts its data, which nothing may disturb.
    std::optional<Conversion> conversion = {};
    /// A backup that the user asked for waits for the end of the conversion.
    bool backupWaits = false;
    /// The operation under way, in words; none when idle.
    std::optional<QString> busy = {};
    /// The text of the operation that has just ended, until a probe has found out what it changed. Views use
    /// operationShown().
    std::optional<QString> settling = {};
    bool pulling = false;
    QString pullLog = {};
    std::optional<OpError> error = {};
    /// A free port, offered when the configured one is taken.
    std::optional<int> suggestedPort = {};
    /// The step of the runtime installation under way, in words, and its live output.
    std::optional<QString> setupBusy = {};
    QString setupLog = {};
    std::optional<QString> brewPath = {};
    std::optional<QString> colimaPath = {};
    /// The service that would bring Docker up, while no runtime answers; none where the computer knows no such.
    std::optional<ServiceUnit> stoppedService = {};
    /// Whether polkit can ask for the password and let the user use Docker.
    bool canBeLetIn = false;
    /// With what the computer's own package manager would install Docker ("apt-get install docker.io"), if it can.
    std::optional<QString> installCommand = {};
    QList<MonitorRow> monitors = {};
    QString statusTitle = {};
    /// Why the status page could not be read.
    std::optional<QString> statusError = {};
    /// When the monitors were last read successfully.
    std::optional<Clock::WallTime> lastStatusUpdate = {};
    /// The newest Uptime Kuma release found, and its page.
    std::optional<QString> latestVersion = {};
    std::optional<QUrl> releaseURL = {};
    /// The version before the last update, while the copy of its data is there.
    std::optional<QString> wayBackTag = {};
    /// Why the last update check failed.
    std::optional<QString> updateMessage = {};
    bool checkingUpdate = false;
    DailyBackupState dailyBackups = {};

    bool operator==(const ControllerState&) const = default;
};

/// The text of the operation to show: the one under way, or the one that has just ended while its result is not known.
/// The user can start another operation only if there is none.
inline const std::optional<QString>& operationShown(const ControllerState& state) {
    return state.busy ? state.busy : state.settling;
}

} // namespace orvanel
