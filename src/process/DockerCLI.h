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

/// What everything that touches the docker tool and its companions relies on: where they are, in which environment
/// children run, how one is run, and what Docker's complaints mean to a person. No state; any thread.
namespace DockerCLI {

/// Given one chunk of a child's output as it arrives, on the runner's own thread: all children wait meanwhile, so it
/// must be quick, and it must not throw.
using OutputCallback = std::function<void(QString chunk)>;

/// The folders in which tools are looked for, in order. The inherited PATH is never searched.
/// The demo and the tests set the variable ORVANEL_TOOL_ROOT to a folder that stands in for "/" here.
QStringList searchFolders();

/// The complete environment of every child: PATH from searchFolders() and the system's folders, HOME from the password
/// database, USER, TMPDIR and LANG as far as we have them, and DOCKER_CLI_HINTS. Read afresh at each call.
QMap<QString, QString> environment();

/// environment() for a child that runs the program `path`. When the program's folder is not in PATH, it is put in
/// front: a tool finds its companions where it lies itself.
QMap<QString, QString> environmentFor(const QString& path);

/// The docker tool: `override` (blanks around it do not count) when it names an executable file, else the first that a
/// search folder holds. An override that names none is ignored.
std::optional<QString> find(const QString& override);

/// The first executable file of that name in a search folder.
std::optional<QString> findTool(const QString& name);

/// The first executable file of that name in a folder where Linux puts tools and where find() and findTool() do not
/// look: the system's, snap's, the user's own folder for Docker, and Homebrew's. ORVANEL_TOOL_ROOT stands in for "/"
/// here too.
std::optional<QString> findOutsideSearchFolders(const QString& name);

/// Whether a TCP socket can be bound to 127.0.0.1 on `port` right now, without any reuse option. A socket failure
/// counts as taken.
bool isPortFree(int port);

/// The same question with SO_REUSEADDR: still false while anybody listens there, but true for a port that the system
/// only keeps in a closing state (TIME_WAIT, for a minute after the server closed its connections; tcp(7), socket(7)).
bool isPortFreeForListening(int port);

/// The sentence for the user about a failed command: see DockerComplaint, which also tells the kind of its complaint.
QString friendlyMessage(const QString& output, bool timedOut);

/// Runs an external program: `path` (not looked up anywhere) with `arguments` (no shell), in environmentFor(path), with
/// standard input from the null device. Never throws and never blocks: a program that cannot be started is a result too
/// ("Could not run PATH: …", status -1).
///
/// At `timeout` the child's process group gets SIGTERM, as it does when `handle` is cancelled; there is no second,
/// forceful kill, so the run ends when the child does. A grandchild that keeps the output open after the child's end
/// is read on, but not past `timeout` or a cancel; `timeout` alone leaves it in peace. With a handle that has been
/// cancelled already nothing is started.
QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                               std::shared_ptr<ProcessHandle> handle = {}, OutputCallback onOutput = {});

} // namespace DockerCLI

/// The shape of DockerCLI::run, for those who are handed the way to run commands.
using RunCommand = std::function<QCoro::Task<CommandResult>(
    QString path, QStringList arguments, std::chrono::duration<double> timeout, std::shared_ptr<ProcessHandle> handle,
    DockerCLI::OutputCallback onOutput)>;

} // namespace orvanel
