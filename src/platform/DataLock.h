#pragma once

#include <QString>

#include <chrono>

namespace orvanel {

/// Keeps two copies of the program off the same data. The kernel holds the lock for the process, so it is gone with
/// the process, however it ended. The file stays; its content is only a message to processes that wait.
class DataLock {
public:
    enum class Result {
        Taken,
        /// Taken from a process that was about to end.
        TakenOver,
        HeldElsewhere,
        /// The file cannot be made or locked here.
        Impossible,
    };

    /// The folder of `file` is made when missing.
    explicit DataLock(QString file);
    ~DataLock();
    DataLock(const DataLock&) = delete;
    DataLock& operator=(const DataLock&) = delete;

    /// Waits up to `patience`, blocking, while another process holds the lock; up to `patienceWithLeaving` while that
    /// one has announced its end.
    Result take(std::chrono::milliseconds patience = {}, std::chrono::milliseconds patienceWithLeaving = {});
    /// Whether the process that holds the lock has announced its end.
    bool isHolderLeaving() const;
    /// Tells processes that wait for the lock that this one is about to end.
    void announceEnd();
    void release();

private:
    QString m_file;
    int m_descriptor = -1;
};

} // namespace orvanel
