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

/// What a child reads. A pipe brings nothing, and its end only when the child is to end.
enum class ChildInput { nullDevice, openPipe };

/// One child, in a session and process group of its own, whose output comes through a single pipe. terminate() may be
/// called from any thread, everything else only from the I/O thread. An ended child stays a zombie until reap():
/// otherwise its id could pass to another process, which a late signal would hit.
class ChildProcess final : public RunningProcess {
public:
    /// `onTerminate` is called after each SIGTERM sent, on the thread that sent it.
    explicit ChildProcess(std::function<void()> onTerminate);

    /// Starts the program with exactly this environment. The child inherits none of our descriptors, and no ignored or
    /// blocked signals. Returns 0 or the error number. If terminate() was called before, the child is sent SIGTERM now.
    int start(const QString& path, const QStringList& arguments, const QMap<QString, QString>& environment,
              ChildInput input = ChildInput::nullDevice);

    /// The reading end of the pipe, non-blocking.
    int outputDescriptor() const { return m_output.get(); }
    /// Becomes readable when the child has ended, and perhaps earlier: hasEnded() tells.
    int endDescriptor() const { return m_end.get(); }
    bool hasEnded() const;

    /// Closes the child's input, too.
    void terminate() override;

    /// Leaves the running child alone: its output is closed, and terminate() does nothing from now on. The child must
    /// still be reaped when it has ended.
    void giveUp();

    /// Reaps the ended child and closes the descriptors. Returns its exit status, or 128 + signal number.
    std::int32_t reap();

private:
    const std::function<void()> m_onTerminate;
    FileDescriptor m_output;
    FileDescriptor m_end;
    bool m_endIsPolled = false;
    mutable std::mutex m_mutex;
    /// The writing end, where the child's input is a pipe.
    FileDescriptor m_input;
    pid_t m_pid = 0;
    bool m_terminateWanted = false;
    bool m_isOver = false;
};

} // namespace orvanel
