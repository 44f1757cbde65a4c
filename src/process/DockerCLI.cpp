#include "process/DockerCLI.h"

#include "process/DockerComplaint.h"
#include "process/FileDescriptor.h"
#include "process/ProcessRunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString toolRoot() {
    return qEnvironmentVariable("ORVANEL_TOOL_ROOT");
}

/// None when the user has no entry there, or one without a folder.
std::optional<QString> homeInPasswordDatabase(uid_t user) {
    std::vector<char> room(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(user, &entry, room.data(), room.size(), &found) == ERANGE) {
        room.resize(room.size() * 2);
    }
    const bool hasFolder = found != nullptr && found->pw_dir != nullptr && *found->pw_dir != '\0';
    return hasFolder ? std::optional(QFile::decodeName(found->pw_dir)) : std::nullopt;
}

/// From the password database: after sudo, $HOME may be another user's. Each thread reads it once, because every poll
/// asks for it several times.
QString homeFolder() {
    struct Home {
        uid_t user;
        std::optional<QString> folder;
    };
    thread_local std::optional<Home> home;
    const uid_t user = ::getuid();
    if (!home || home->user != user) {
        home = Home{.user = user, .folder = homeInPasswordDatabase(user)};
    }
    return home->folder ? *home->folder : qEnvironmentVariable("HOME", u"/"_s);
}

/// Most of these files do not exist, and each poll asks for all of them, so that is found out with one system call.
bool isExecutableFile(const QString& path) {
    return ::access(QFile::encodeName(path).constData(), X_OK) == 0 && QFileInfo(path).isFile();
}

std::optional<QString> firstIn(const QStringList& folders, const QString& name) {
    for (const QString& folder : folders) {
        const QString candidate = folder + u'/' + name;
        if (isExecutableFile(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

enum class AddressReuse { no, yes };

bool canBind(int port, AddressReuse reuse) {
    // Binding to port 0 always succeeds: the system then chooses a port.
    if (port < 1 || port > 65535) {
        return false;
    }
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return false;
    }
    const int on = 1;
    if (reuse == AddressReuse::yes && ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
        return false;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

QStringList DockerCLI::searchFolders() {
    const QString root = toolRoot();
    return {root + u"/usr/local/bin"_s, root + u"/opt/homebrew/bin"_s,
            root + u"/Applications/Docker.app/Contents/Resources/bin"_s};
}

QMap<QString, QString> DockerCLI::environment() {
    QMap<QString, QString> environment;
    environment[u"PATH"_s] = searchFolders().join(u':') + u":/usr/bin:/bin:/usr/sbin:/sbin"_s;
    environment[u"HOME"_s] = homeFolder();
    for (const char* name : {"USER", "TMPDIR", "LANG"}) {
        if (qEnvironmentVariableIsSet(name)) {
            environment[QString::fromLatin1(name)] = qEnvironmentVariable(name);
        }
    }
    environment[u"DOCKER_CLI_HINTS"_s] = u"false"_s;
    return environment;
}

QMap<QString, QString> DockerCLI::environmentFor(const QString& path) {
    QMap<QString, QString> result = environment();
    QString& folders = result[u"PATH"_s];
    const QString own = QDir::cleanPath(QFileInfo(path).path());
    // A colon would divide the folder in two.
    const bool canBeListed = own.startsWith(u'/') && !own.contains(u':');
    if (canBeListed && !folders.split(u':').contains(own)) {
        folders.prepend(own + u':');
    }
    return result;
}

std::optional<QString> DockerCLI::find(const QString& override) {
    const QString chosen = override.trimmed();
    if (!chosen.isEmpty() && isExecutableFile(chosen)) {
        return chosen;
    }
    return findTool(u"docker"_s);
}

std::optional<QString> DockerCLI::findTool(const QString& name) {
    return firstIn(searchFolders(), name);
}

std::optional<QString> DockerCLI::findOutsideSearchFolders(const QString& name) {
    const QString root = toolRoot();
    const QString home = root + homeFolder();
    const QStringList folders{root + u"/usr/bin"_s, root + u"/snap/bin"_s, home + u"/.docker/bin"_s,
                              root + u"/home/linuxbrew/.linuxbrew/bin"_s, home + u"/.linuxbrew/bin"_s};
    return firstIn(folders, name);
}

bool DockerCLI::isPortFree(int port) {
    return canBind(port, AddressReuse::no);
}

bool DockerCLI::isPortFreeForListening(int port) {
    return canBind(port, AddressReuse::yes);
}

QString DockerCLI::friendlyMessage(const QString& output, bool timedOut) {
    return sentenceOf(complaintOf({.output = output, .timedOut = timedOut}));
}

QCoro::Task<CommandResult> DockerCLI::run(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                                          std::shared_ptr<ProcessHandle> handle, OutputCallback onOutput) {
    return ProcessRunner::shared().run(std::move(path), std::move(arguments), timeout, std::move(handle),
                                       std::move(onOutput));
}

QCoro::Task<CommandResult> DockerCLI::runToItsEnd(QString path, QStringList arguments,
                                                  std::chrono::duration<double> timeout,
                                                  std::shared_ptr<ProcessHandle> handle, OutputCallback onOutput) {
    return ProcessRunner::shared().runToItsEnd(std::move(path), std::move(arguments), timeout, std::move(handle),
                                               std::move(onOutput));
}

} // namespace orvanel
