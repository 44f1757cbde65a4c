#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace orvanel::test {

using namespace Qt::StringLiterals;

inline bool writeProc(const char* path, const QByteArray& text) {
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

/// Lets this process, while it has only one thread, mount file systems that only it sees. Returns the reason if it
/// cannot.
inline QString enterOwnMounts() {
    const uid_t user = ::getuid();
    const gid_t group = ::getgid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return u"no mounts of its own: "_s + QString::fromLocal8Bit(std::strerror(errno));
    }
    if (user != 0 && (!writeProc("/proc/self/setgroups", "deny") ||
                      !writeProc("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1") ||
                      !writeProc("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1"))) {
        return u"no user of its own"_s;
    }
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return u"mounts stay shared: "_s + QString::fromLocal8Bit(std::strerror(errno));
    }
    return {};
}

} // namespace orvanel::test
