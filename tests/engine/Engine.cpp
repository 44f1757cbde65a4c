#include "Engine.h"

#include "support/Await.h"

#include <QFile>
#include <QProcess>

#include <csignal>

using namespace Qt::StringLiterals;

namespace orvanel::test {

qint64 Engine::pid() const {
    QFile file(m_pidFile);
    const qint64 number = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
    // An engine that has ended may stay in the list of processes until its parent has asked for it.
    QFile status(u"/proc/%1/stat"_s.arg(number));
    const bool isAlive = number > 0 && status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
    return isAlive ? number : 0;
}

void Engine::kill() const {
    const qint64 number = pid();
    if (number == 0) {
        qFatal("no engine runs whose number is in \"%s\"", qPrintable(m_pidFile));
    }
    ::kill(static_cast<pid_t>(number), SIGKILL);
    if (!waitUntil([this] { return pid() == 0; })) {
        qFatal("the engine cannot be killed");
    }
    QFile::remove(m_pidFile);
}

bool Engine::start() const {
    if (pid() != 0) {
        return true;
    }
    QProcess starter;
    starter.start(m_starter, QStringList());
    return starter.waitForFinished(60'000) && starter.exitStatus() == QProcess::NormalExit && starter.exitCode() == 0;
}

} // namespace orvanel::test
