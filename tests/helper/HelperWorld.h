#pragma once

#include "helper/SetupStatus.h"

#include <QProcess>
#include <QTemporaryDir>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// A computer in a folder, with stand-ins for the tools of the system: none does anything but write down how it was
/// called, and what the test tells it to. The user "ann" has the id 4321.
class HelperWorld {
public:
    /// `packageManager`: an absolute path; may be empty.
    explicit HelperWorld(const QString& packageManager = u"/usr/bin/apt-get"_s);
    ~HelperWorld();
    HelperWorld(const HelperWorld&) = delete;
    HelperWorld& operator=(const HelperWorld&) = delete;

    QString path(const QString& absolute) const { return m_root.path() + absolute; }
    void write(const QString& absolute, const QByteArray& content) const;
    void addTool(const QString& absolute) const;
    void remove(const QString& absolute) const;
    /// The tool of that name runs this shell script after it has written down its call; $root is this computer.
    void answer(const QString& tool, const QByteArray& script) const;
    /// Makes a socket at /run/docker.sock.
    void listen();
    /// Until it is called, a tool whose script says "wait" waits.
    void goOn() const { write(u"/go-on"_s, {}); }

    /// What polkit passes on.
    QString polkitUser = u"4321"_s;
    /// Variables of the caller's besides.
    QStringList environment;
    /// Runs in the caller, before it becomes the helper.
    std::function<void()> inCaller;

    /// Starts the helper, whose standard input is open. `isReadHere`: its output comes to this object, until
    /// stopReading(); otherwise to the process.
    std::unique_ptr<QProcess> start(const QStringList& words, bool isReadHere = false);
    void stopReading();
    /// The same, and waits for its end.
    SetupStatus run(const QStringList& words);
    static SetupStatus statusOf(QProcess& process);

    /// What the last run() printed.
    QString output() const { return m_output; }
    /// How the tools were called, one after the other: "apt-get update". Without the options of package managers.
    QStringList calls() const;
    bool exists(const QString& absolute) const;
    QByteArray read(const QString& absolute) const;

private:
    QTemporaryDir m_root;
    QString m_output;
    int m_socket = -1;
    int m_reader = -1;
};

} // namespace orvanel::test
