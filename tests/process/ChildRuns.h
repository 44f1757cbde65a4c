#pragma once

#include "process/ProcessRunner.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <memory>
#include <mutex>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// Longer than any test, for runs whose time limit does not matter.
constexpr std::chrono::duration<double> noLimit{3600};

/// The status of a child that SIGTERM ended.
constexpr int terminated = 128 + SIGTERM;

/// Runs the test child. Its first argument chooses how it behaves (see Child.cpp).
inline QCoro::Task<CommandResult> runChild(ProcessRunner* runner, QStringList arguments,
                                           std::shared_ptr<ProcessHandle> handle = {},
                                           DockerCLI::OutputCallback onOutput = {},
                                           std::chrono::duration<double> timeout = noLimit) {
    return runner->run(QString::fromUtf8(PROCESS_TEST_CHILD), std::move(arguments), timeout, std::move(handle),
                       std::move(onOutput));
}

/// Keeps the first thousand chunks that a run's callback is given. Copies share them.
class LiveOutput {
public:
    DockerCLI::OutputCallback callback() const {
        return [shared = m_shared](QString chunk) {
            const std::lock_guard lock(shared->mutex);
            if (shared->chunks.size() < 1000) {
                shared->chunks << chunk;
            }
        };
    }

    QStringList chunks() const {
        const std::lock_guard lock(m_shared->mutex);
        return m_shared->chunks;
    }

    QString text() const { return chunks().join(QString()); }

    /// Waits until the child's output contains `part`; false if it does not.
    [[nodiscard]] bool arrives(const QString& part) const {
        return waitUntil([&] { return text().contains(part); });
    }

private:
    struct Shared {
        std::mutex mutex;
        QStringList chunks;
    };
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

/// How many files this process has open, and how many threads it has.
inline qsizetype openFiles() {
    return QDir(u"/proc/self/fd"_s).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size();
}

inline qsizetype threadCount() {
    return QDir(u"/proc/self/task"_s).entryList(QDir::NoDotAndDotDot | QDir::Dirs).size();
}

/// The state letter of a process in /proc (Z: ended, but not reaped); a blank if there is no such process.
inline char processState(qint64 pid) {
    QFile file(u"/proc/%1/stat"_s.arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return ' ';
    }
    const QByteArray text = file.readAll();
    const qsizetype nameEnd = text.lastIndexOf(") ");
    return nameEnd < 0 || nameEnd + 2 >= text.size() ? ' ' : text[nameEnd + 2];
}

/// The id that a child prints first, or the n-th of several ids, separated by blanks.
inline qint64 saidId(const LiveOutput& live, qsizetype index = 0) {
    return live.text().split(u' ').value(index).toLongLong();
}

/// Waits until the child that printed its id has ended, though its run has not.
inline bool endsUnreaped(const LiveOutput& live) {
    return waitUntil([&] { return saidId(live) > 0 && processState(saidId(live)) == 'Z'; });
}

} // namespace orvanel::test
