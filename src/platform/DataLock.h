#pragma once

#include <QString>

#include <chrono>

namespace orvanel {

/// Keeps two copies of the program off the same data. The kernel holds the lock for the process, so it is gone with
/// the process, however that ended; the file itself means nothing and stays.
class DataLock {
public:
    enum class Result {
        Taken,
        HeldElsewhere,
        /// The file cannot be made or locked here.
        Impossible,
    };

    /// The folder of `file` is made when missing.
    explicit DataLock(QString file);
    ~DataLock();
    DataLock(const DataLock&) = delete;
    DataLock& operator=(const DataLock&) = delete;

    /// Waits up to `patience`, blocking, while another process holds the lock.
    Result take(std::chrono::milliseconds patience = {});
    void release();

private:
    QString m_file;
    int m_descriptor = -1;
};

} // namespace orvanel
