#pragma once

#include <unistd.h>

#include <utility>

namespace orvanel {

/// Owns one open file descriptor and closes it; -1 is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd)
        : m_fd(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }

    /// Gives the descriptor to the caller, who must close it.
    int release() { return std::exchange(m_fd, -1); }

    void reset() {
        if (m_fd >= 0) {
            ::close(std::exchange(m_fd, -1));
        }
    }

private:
    int m_fd = -1;
};

} // namespace orvanel
