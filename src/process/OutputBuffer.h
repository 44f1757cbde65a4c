#pragma once

#include <QByteArrayView>
#include <QString>

#include <span>

namespace orvanel {

/// UTF-8 with every invalid sequence replaced by U+FFFD. Nothing else is changed: a byte order mark stays.
QString decodeUtf8(QByteArrayView bytes);

/// The output of one run, bounded because an image download can print without end: as soon as it would hold more than
/// 2,000,000 bytes, only the last 1,000,000 are kept. Used by one thread.
class OutputBuffer {
public:
    /// The most that is read at once.
    static constexpr std::size_t chunkSize = 65536;

    OutputBuffer() = default;
    ~OutputBuffer();
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    /// Space for the next chunk, which is not copied again: chunkSize bytes, or less at the edge of the buffer. Valid
    /// until the next call.
    std::span<char> room();
    /// Appends the first `count` bytes of room() and returns them.
    QByteArrayView commit(std::size_t count);

    std::size_t size() const { return m_size; }
    /// All bytes kept, decoded as a whole. If the cut split the first character, its rest becomes U+FFFD.
    QString string() const;

private:
    char* m_space = nullptr;
    std::size_t m_end = 0;
    std::size_t m_size = 0;
};

} // namespace orvanel
