#include "process/DockerCLI.h"

#include "process/FileDescriptor.h"
#include "process/ProcessRunner.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace orvanel {
namespace {

QString toolRoot() {
    return qEnvironmentVariable("ORVANEL_TOOL_ROOT");
}

/// As the password database tells it: $HOME may be anybody's after a sudo.
QString homeFolder() {
    std::vector<char> room(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, room.data(), room.size(), &found) == ERANGE) {
        room.resize(room.size() * 2);
    }
    if (found != nullptr && found->pw_dir != nullptr && *found->pw_dir != '\0') {
        return QFile::decodeName(found->pw_dir);
    }
    return qEnvironmentVariable("HOME", QStringLiteral("/"));
}

bool isExecutableFile(const QString& path) {
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable();
}

std::optional<QString> firstExecutable(const QStringList& candidates) {
    for (const QString& candidate : candidates) {
        if (isExecutableFile(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

bool canBind(int port, bool reuseAddress) {
    // Port 0 would ask for any free one, and be granted.
    if (port < 1 || port > 65535) {
        return false;
    }
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return false;
    }
    const int on = 1;
    if (reuseAddress && ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
        return false;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool containsAny(const QString& text, const QStringList& phrases) {
    return std::any_of(phrases.begin(), phrases.end(), [&](const QString& phrase) { return text.contains(phrase); });
}

} // namespace

QStringList DockerCLI::searchFolders() {
    const QString root = toolRoot();
    return {root + QStringLiteral("/usr/local/bin"), root + QStringLiteral("/opt/homebrew/bin"),
            root + QStringLiteral("/Applications/Docker.app/Contents/Resources/bin")};
}

QMap<QString, QString> DockerCLI::environment() {
    QMap<QString, QString> environment;
    environment[QStringLiteral("PATH")] = searchFolders().join(u':') + QStringLiteral(":/usr/bin:/bin:/usr/sbin:/sbin");
    environment[QStringLiteral("HOME")] = homeFolder();
    for (const char* name : {"USER", "TMPDIR", "LANG"}) {
        if (qEnvironmentVariableIsSet(name)) {
            environment[QString::fromLatin1(name)] = qEnvironmentVariable(name);
        }
    }
    environment[QStringLiteral("DOCKER_CLI_HINTS")] = QStringLiteral("false");
    return environment;
}

std::optional<QString> DockerCLI::find(const QString& override) {
    const QString chosen = override.trimmed();
    if (!chosen.isEmpty() && isExecutableFile(chosen)) {
        return chosen;
    }
    return findTool(QStringLiteral("docker"));
}

std::optional<QString> DockerCLI::findTool(const QString& name) {
    QStringList candidates = searchFolders();
    for (QString& candidate : candidates) {
        candidate += u'/' + name;
    }
    return firstExecutable(candidates);
}

std::optional<QString> DockerCLI::findOutsideSearchFolders() {
    const QString root = toolRoot();
    return firstExecutable({root + QStringLiteral("/usr/bin/docker"), root + QStringLiteral("/snap/bin/docker"),
                            root + homeFolder() + QStringLiteral("/.docker/bin/docker")});
}

bool DockerCLI::isPortFree(int port) {
    return canBind(port, false);
}

bool DockerCLI::isPortFreeForListening(int port) {
    return canBind(port, true);
}

QString DockerCLI::friendlyMessage(const QString& output, bool timedOut) {
    static const QStringList portPhrases{
        QStringLiteral("port is already allocated"),
        QStringLiteral("address already in use"),
        QStringLiteral("ports are not available"),
    };
    static const QStringList networkPhrases{
        QStringLiteral("no such host"),           QStringLiteral("dial tcp"),
        QStringLiteral("tls handshake"),          QStringLiteral("i/o timeout"),
        QStringLiteral("network is unreachable"), QStringLiteral("temporary failure in name resolution"),
        QStringLiteral("failed to resolve"),      QStringLiteral("failed to do request"),
    };
    if (timedOut) {
        return QStringLiteral("Docker did not answer in time.");
    }
    const QString text = output.toLower();
    if (containsAny(text, portPhrases)) {
        return QStringLiteral("The port is already in use by another program.");
    }
    if (text.contains(QStringLiteral("no space left"))) {
        return QStringLiteral("Your disk is full. Free some space and try again.");
    }
    if (containsAny(text, networkPhrases)) {
        return QStringLiteral("Docker could not reach the internet to download the image. Check your connection.");
    }
    if (text.contains(QStringLiteral("cannot connect to the docker daemon"))) {
        return QStringLiteral("Docker is not running.");
    }
    return QStringLiteral("Docker reported an error.");
}

QCoro::Task<CommandResult> DockerCLI::run(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                                          std::shared_ptr<ProcessHandle> handle, OutputCallback onOutput) {
    return ProcessRunner::shared().run(std::move(path), std::move(arguments), timeout, std::move(handle),
                                       std::move(onOutput));
}

} // namespace orvanel
