#pragma once

#include "process/FileDescriptor.h"
#include "process/ProcessHandle.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <mutex>
#include <sys/types.h>

namespace orvanel {

/// One child in a session, and so in a process group, of its own, whose output comes through a single pipe. terminate()
/// may be called from any thread, everything else belongs to the I/O thread. Once ended it stays a zombie until reap():
/// that keeps its id from being given to a stranger, whom a late signal would hit.
class ChildProcess final : public RunningProcess {
public:
    /// `onTerminate` is called after each SIGTERM sent, on the thread that asked for it.
    explicit ChildProcess(std::function<void()> onTerminate);

    /// Starts the program, with exactly this environment and nothing of ours: no descriptors, ignored or blocked
    /// signals. Answers 0 or the error number of the failure. A terminate() that came before reaches the child now.
    int start(const QString& path, const QStringList& arguments, const QMap<QString, QString>& environment);

    /// The reading end of the pipe, non-blocking.
    int outputDescriptor() const { return m_output.get(); }
    /// Becomes readable when the child has ended, and perhaps before: ask hasEnded() then.
    int endDescriptor() const { return m_end.get(); }
    bool hasEnded() const;

    void terminate() override;

    /// Takes leave of the ended child and closes the descriptors. Answers its exit status, or 128 + signal number.
    std::int32_t reap();

private:
    const std::function<void()> m_onTerminate;
    FileDescriptor m_output;
    FileDescriptor m_end;
    bool m_endIsPolled = false;
    mutable std::mutex m_mutex;
    pid_t m_pid = 0;
    bool m_terminateWanted = false;
    bool m_isOver = false;
};

} // namespace orvanel
