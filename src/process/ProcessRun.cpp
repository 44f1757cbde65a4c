#include "process/ProcessRun.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <system_error>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// How many chunks of one child are read before the others have their turn. They are more than a pipe holds (64 KiB),
/// so that one turn after the child's end reads everything that the child itself wrote.
constexpr int chunksPerTurn = 16;

/// How long a child may live on after the first SIGTERM.
constexpr std::chrono::seconds patience{5};
constexpr std::int32_t givenUp = -1;

/// A clock takes whole milliseconds, at most as many as an int holds (24 days).
std::chrono::milliseconds toMilliseconds(std::chrono::duration<double> timeout) {
    constexpr double most = std::numeric_limits<int>::max();
    const double milliseconds = std::ceil(timeout.count() * 1000.0);
    if (!(milliseconds > 0)) {
        return std::chrono::milliseconds(0);
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::min(milliseconds, most)));
}

} // namespace

CommandResult couldNotRun(const QString& path, int error) {
    const QString reason = QString::fromStdString(std::system_category().message(error));
    return {.status = -1, .output = u"Could not run "_s + path + u": "_s + reason};
}

CommandResult cancelledBeforeStart() {
    return {.status = -1, .output = {}, .timedOut = false, .cancelled = true};
}

ProcessRun::ProcessRun(IoThread* io, Clock* clock, RunRequest request, Event<CommandResult> ended)
    : m_io(io)
    , m_clock(clock)
    , m_request(std::move(request))
    , m_ended(std::move(ended)) {}

/// A function that any thread may call: `step` then runs in a later turn of the I/O thread, if the run has not ended.
std::function<void()> ProcessRun::later(void (ProcessRun::*step)()) {
    return [mailbox = m_io->mailbox(), weakRun = weak_from_this(), step] {
        mailbox->post([weakRun, step] {
            const auto run = weakRun.lock();
            if (run && !run->m_isFinished) {
                (*run.*step)();
            }
        });
    };
}

void ProcessRun::start() {
    m_child = std::make_shared<ChildProcess>(later(&ProcessRun::terminateAsked));
    // From here on a cancel finds the child, started or not. After a cancel that came earlier, none is started.
    if (m_request.handle && !m_request.handle->setProcess(m_child)) {
        m_ended.complete(cancelledBeforeStart());
        return;
    }
    const int error =
        m_child->start(m_request.path, m_request.arguments, DockerCLI::environmentFor(m_request.path), m_request.input);
    if (error != 0) {
        m_ended.complete(couldNotRun(m_request.path, error));
        return;
    }
    m_outputIsOpen = true;
    m_io->watch(m_child->outputDescriptor(), shared_from_this());
    m_io->watch(m_child->endDescriptor(), shared_from_this());
    m_timeLimit = m_clock->callAfter(toMilliseconds(m_request.timeout), later(&ProcessRun::timeLimitReached));
}

std::size_t ProcessRun::ready(int descriptor) {
    if (descriptor == m_child->endDescriptor()) {
        if (m_child->hasEnded()) {
            childEnded();
        }
        return 0;
    }
    const std::size_t bytesRead = readOutput();
    if (m_childHasEnded && !m_outputIsOpen) {
        finish(m_child->reap());
    }
    return bytesRead;
}

void ProcessRun::timeLimitReached() {
    m_isPastLimit = true;
    if (!m_child->hasEnded()) {
        m_timedOut = true;
        m_child->terminate();
        return;
    }
    childEnded();
}

/// The child has been sent SIGTERM, and perhaps not for the first time.
void ProcessRun::terminateAsked() {
    if (m_childHasEnded) {
        childEnded();
    } else if (!m_patience && m_request.input == ChildInput::nullDevice) {
        m_patience = m_clock->callAfter(patience, later(&ProcessRun::patienceEnded));
    }
}

/// The child should have ended by now. If it ignores SIGTERM, the run ends without it, so that nobody waits for ever.
void ProcessRun::patienceEnded() {
    if (m_child->hasEnded()) {
        childEnded();
        return;
    }
    closeOutput();
    m_child->giveUp();
    finish(givenUp);
}

/// The child has ended, now or earlier: reads what is left in the pipe and ends the run, unless a grandchild holds the
/// pipe open and there is still time.
void ProcessRun::childEnded() {
    m_childHasEnded = true;
    m_io->unwatch(m_child->endDescriptor());
    if (m_isFinished) {
        m_child->reap();
        return;
    }
    readOutput();
    if (!m_outputIsOpen || !mayLinger()) {
        closeOutput();
        finish(m_child->reap());
    }
}

bool ProcessRun::mayLinger() const {
    const bool cancelled = m_request.handle && m_request.handle->isCancelled();
    return !m_isPastLimit && !cancelled;
}

/// Reads what is there, at most as much as one turn allows. Returns the number of bytes.
std::size_t ProcessRun::readOutput() {
    std::size_t bytesRead = 0;
    for (int chunk = 0; chunk < chunksPerTurn && m_outputIsOpen; ++chunk) {
        const std::size_t count = readChunk();
        bytesRead += count;
        // Less than a whole chunk means that there is no more for now. Once the child has ended, only an empty pipe
        // means that: no event would tell us of the rest.
        if (count == 0 || (count < OutputBuffer::chunkSize && !m_childHasEnded)) {
            break;
        }
    }
    return bytesRead;
}

/// Returns 0 if there is nothing to read, for now or for ever.
std::size_t ProcessRun::readChunk() {
    const std::span<char> room = m_output.room();
    ssize_t count = -1;
    do {
        count = ::read(m_child->outputDescriptor(), room.data(), room.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0 && errno == EAGAIN) {
        return 0;
    }
    if (count <= 0) {
        closeOutput();
        return 0;
    }
    const QByteArrayView chunk = m_output.commit(static_cast<std::size_t>(count));
    if (m_request.onOutput) {
        m_request.onOutput(decodeUtf8(chunk));
    }
    return static_cast<std::size_t>(count);
}

void ProcessRun::closeOutput() {
    m_io->unwatch(m_child->outputDescriptor());
    m_outputIsOpen = false;
}

void ProcessRun::finish(std::int32_t status) {
    m_isFinished = true;
    m_timeLimit.reset();
    m_patience.reset();
    CommandResult result;
    result.status = status;
    result.output = m_output.string();
    result.timedOut = m_timedOut;
    result.cancelled = m_request.handle && m_request.handle->isCancelled();
    m_ended.complete(std::move(result));
}

} // namespace orvanel
