#include "platform/DataLock.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace orvanel {
namespace {

constexpr char leavingMark = 'L';

bool hasLeavingMark(int descriptor) {
    char mark = 0;
    return ::pread(descriptor, &mark, 1, 0) == 1 && mark == leavingMark;
}

} // namespace

DataLock::DataLock(QString file)
    : m_file(std::move(file)) {}

DataLock::~DataLock() {
    release();
}

DataLock::Result DataLock::take(std::chrono::milliseconds patience, std::chrono::milliseconds patienceWithLeaving) {
    if (m_descriptor >= 0) {
        return Result::Taken;
    }
    QDir().mkpath(QFileInfo(m_file).absolutePath());
    // Children, which may outlive this process, must not inherit the descriptor.
    const int descriptor =
        ::open(QFile::encodeName(m_file).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
    if (descriptor < 0) {
        return Result::Impossible;
    }
    const QDeadlineTimer deadline(patience);
    const QDeadlineTimer deadlineWithLeaving(patienceWithLeaving);
    bool isLeaving = false;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const bool isHeld = errno == EWOULDBLOCK;
        isLeaving = hasLeavingMark(descriptor);
        const bool isOverdue = deadline.hasExpired() && (deadlineWithLeaving.hasExpired() || !isLeaving);
        if (!isHeld || isOverdue) {
            ::close(descriptor);
            return isHeld ? Result::HeldElsewhere : Result::Impossible;
        }
        QThread::msleep(10);
    }
    // The last holder may have died while it was leaving. If this fails, a waiting process only waits longer.
    [[maybe_unused]] const int emptied = ::ftruncate(descriptor, 0);
    m_descriptor = descriptor;
    return isLeaving ? Result::TakenOver : Result::Taken;
}

bool DataLock::isHolderLeaving() const {
    const int descriptor = ::open(QFile::encodeName(m_file).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    const bool isLeaving = descriptor >= 0 && hasLeavingMark(descriptor);
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    return isLeaving;
}

void DataLock::announceEnd() {
    if (m_descriptor >= 0) {
        [[maybe_unused]] const ssize_t written = ::pwrite(m_descriptor, &leavingMark, 1, 0);
    }
}

void DataLock::release() {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

} // namespace orvanel
