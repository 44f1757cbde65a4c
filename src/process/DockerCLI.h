#pragma once

#include "process/CommandResult.h"
#include "process/ProcessHandle.h"

#include <QCoro/QCoroTask>
#include <QMap>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace orvanel {

/// How Orvanel uses the docker tool and its companions: where they are, how they are run and in which environment, and
/// what Docker's error messages mean to people. There is no state. All functions may be called from any thread.
namespace DockerCLI {

/// Called with each chunk of a child's output as it arrives, on the runner's own thread. All children wait until it
/// returns, so it must be quick. It must not throw.
using OutputCallback = std::function<void(QString chunk)>;

/// The folders in which tools are looked for, in order. The inherited PATH is never searched.
/// The demo and the tests set the variable ORVANEL_TOOL_ROOT to a folder that stands in for "/" here.
QStringList searchFolders();

/// The complete environment of every child: PATH from searchFolders() and the system's folders, HOME from the password
/// database (read once), USER, TMPDIR and LANG if they are set for Orvanel, and DOCKER_CLI_HINTS.
QMap<QString, QString> environment();

/// environment() for a child that runs the program `path`. If PATH lacks the program's folder, the folder is put in
/// front, so that a tool finds its companions beside itself.
QMap<QString, QString> environmentFor(const QString& path);

/// The docker tool: `override`, without blanks around it, if it names an executable file; otherwise the first one in a
/// search folder.
std::optional<QString> find(const QString& override);

/// The first executable file of that name in a search folder.
std::optional<QString> findTool(const QString& name);

/// The first executable file of that name in a folder where Linux puts tools and where find() and findTool() do not
/// look: the system's, snap's, the user's own folder for Docker, and Homebrew's. ORVANEL_TOOL_ROOT stands in for "/"
/// here too.
std::optional<QString> findOutsideSearchFolders(const QString& name);

/// Whether a TCP socket can be bound to 127.0.0.1 on `port` right now, without any reuse option. False if no socket can
/// be made.
bool isPortFree(int port);

/// The same with SO_REUSEADDR: still false while a program listens on the port, but true while the system only keeps it
/// in a closing state (TIME_WAIT, for a minute after the server closed its connections; see tcp(7) and socket(7)).
bool isPortFreeForListening(int port);

/// One sentence for the user about a failed command. DockerComplaint.h also tells of what kind the failure is.
QString friendlyMessage(const QString& output, bool timedOut);

/// Runs an external program: `path` (not looked up anywhere) with `arguments` (no shell), in environmentFor(path), with
/// standard input from the null device. Never throws and never blocks. If the program cannot be started, the result
/// says so ("Could not run PATH: …", status -1).
///
/// At `timeout`, or when `handle` is cancelled, the child's process group is sent SIGTERM, never SIGKILL. If the child
/// lives on 5 s later, the run ends without it: timed out or cancelled, with status -1 and the output so far. The
/// child's output is closed then, and it is reaped whenever it ends.
///
/// If a grandchild keeps the output open after the child has ended, its output is read too, until `timeout` or a
/// cancel; `timeout` sends no signal then. If the handle has already been cancelled, nothing is started.
QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                               std::shared_ptr<ProcessHandle> handle = {}, OutputCallback onOutput = {});

/// The same for a child that decides itself when it may end, and that may have become root, so that no signal of ours
/// reaches it: its standard input is a pipe that stays open, and is closed beside the SIGTERM. A child that lives on is
/// waited for, however long that takes.
QCoro::Task<CommandResult> runToItsEnd(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                                       std::shared_ptr<ProcessHandle> handle = {}, OutputCallback onOutput = {});

} // namespace DockerCLI

/// A function like DockerCLI::run, for code that is told how to run commands.
using RunCommand = std::function<QCoro::Task<CommandResult>(
    QString path, QStringList arguments, std::chrono::duration<double> timeout, std::shared_ptr<ProcessHandle> handle,
    DockerCLI::OutputCallback onOutput)>;

} // namespace orvanel
