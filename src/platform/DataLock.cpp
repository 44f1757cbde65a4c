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

DataLock::DataLock(QString file)
    : m_file(std::move(file)) {}

DataLock::~DataLock() {
    release();
}

DataLock::Result DataLock::take(std::chrono::milliseconds patience) {
    if (m_descriptor >= 0) {
        return Result::Taken;
    }
    QDir().mkpath(QFileInfo(m_file).absolutePath());
    // Not inherited by children, which may outlive this process.
    const int descriptor =
        ::open(QFile::encodeName(m_file).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
    if (descriptor < 0) {
        return Result::Impossible;
    }
    const QDeadlineTimer deadline(patience);
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const bool isHeld = errno == EWOULDBLOCK;
        if (!isHeld || deadline.hasExpired()) {
            ::close(descriptor);
            return isHeld ? Result::HeldElsewhere : Result::Impossible;
        }
        QThread::msleep(10);
    }
    m_descriptor = descriptor;
    return Result::Taken;
}

void DataLock::release() {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

} // namespace orvanel
