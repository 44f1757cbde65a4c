#include "HelperWorld.h"

#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// Where it must wait it does not outlive its test by long: a minute at most.
constexpr auto standIn = R"(#!/bin/sh
root=${0%%/usr/*}
name=${0##*/}
wait() {
    echo "$name waits" >>"$root/waiting"
    tries=0
    while [ ! -e "$root/go-on" ] && [ $tries -lt 600 ]; do sleep 0.1; tries=$((tries + 1)); done
}
echo "$name $*" >>"$root/calls"
env | sort >"$root/environment-of-$name"
[ ! -e "$root/answers/$name" ] || . "$root/answers/$name"
)";

} // namespace

HelperWorld::HelperWorld(const QString& packageManager) {
    write(u"/is-root"_s, {});
    write(u"/etc/passwd"_s,
          "root:x:0:0::/root:/bin/sh\nann:x:4321:4321::/home/ann:/bin/sh\n-a:x:4322:4322::/:/bin/sh\n");
    write(u"/etc/group"_s, "root:x:0:\ndocker:x:999:\n");
    QDir().mkpath(path(u"/run/systemd/system"_s));
    for (const char* tool : {"/usr/bin/systemctl", "/usr/bin/gpasswd", "/usr/bin/timeout", "/usr/sbin/groupadd"}) {
        addTool(QString::fromLatin1(tool));
    }
    answer(u"timeout"_s, "shift; exec \"$@\"");
    if (!packageManager.isEmpty()) {
        addTool(packageManager);
        addTool(u"/usr/bin/apt-cache"_s);
    }
    listen();
}

HelperWorld::~HelperWorld() {
    goOn();
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

void HelperWorld::write(const QString& absolute, const QByteArray& content) const {
    QDir().mkpath(QFileInfo(path(absolute)).path());
    QFile file(path(absolute));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("could not write %s", qPrintable(file.fileName()));
    }
}

void HelperWorld::addTool(const QString& absolute) const {
    write(absolute, standIn);
    QFile::setPermissions(path(absolute), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void HelperWorld::remove(const QString& absolute) const {
    QFile::remove(path(absolute));
}

void HelperWorld::answer(const QString& tool, const QByteArray& script) const {
    write(u"/answers/"_s + tool, script);
}

void HelperWorld::listen() {
    if (m_socket >= 0) {
        ::close(m_socket);
    }
    m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path(u"/run/docker.sock"_s));
    if (name.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
        qFatal("the folder for temporary files has too long a name for a socket");
    }
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    if (::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        qFatal("could not make the socket %s", name.constData());
    }
}

std::unique_ptr<QProcess> HelperWorld::start(const QStringList& words, bool isReadHere) {
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::MergedChannels);
    if (isReadHere) {
        const QString pipe = path(u"/output"_s);
        ::mkfifo(qPrintable(pipe), 0600);
        m_reader = ::open(qPrintable(pipe), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        process->setStandardOutputFile(pipe);
    }
    QStringList variables = environment;
    variables << u"ORVANEL_TEST_COMPUTER="_s + m_root.path();
    if (!polkitUser.isNull()) {
        variables << u"PKEXEC_UID="_s + polkitUser;
    }
    process->setEnvironment(variables);
    process->setChildProcessModifier(inCaller);
    process->start(QString::fromUtf8(HELPER_UNDER_TEST), words);
    if (!process->waitForStarted()) {
        qFatal("the helper could not be started: %s", qPrintable(process->errorString()));
    }
    return process;
}

void HelperWorld::stopReading() {
    ::close(m_reader);
}

SetupStatus HelperWorld::run(const QStringList& words) {
    const std::unique_ptr<QProcess> process = start(words);
    const SetupStatus status = statusOf(*process);
    m_output = QString::fromUtf8(process->readAll());
    return status;
}

SetupStatus HelperWorld::statusOf(QProcess& process) {
    if (!waitUntil([&] { return process.state() == QProcess::NotRunning; })) {
        qFatal("the helper does not end");
    }
    return static_cast<SetupStatus>(process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1);
}

QStringList HelperWorld::calls() const {
    QStringList calls;
    for (const QByteArray& line : read(u"/calls"_s).split('\n')) {
        QStringList words = QString::fromUtf8(line).split(u' ');
        words.removeIf([](const QString& word) { return word.startsWith(u'-') || word.contains(u"::"_s); });
        // What follows "-o".
        words.removeIf([](const QString& word) { return word.contains(u'='); });
        if (!words.join(QString()).isEmpty() && words.first() != u"timeout"_s) {
            calls << words.join(u' ');
        }
    }
    return calls;
}

bool HelperWorld::exists(const QString& absolute) const {
    return QFileInfo::exists(path(absolute));
}

QByteArray HelperWorld::read(const QString& absolute) const {
    QFile file(path(absolute));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace orvanel::test
