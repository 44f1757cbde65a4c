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

    /// Where the next chunk can be read to without being copied again: chunkSize bytes, valid until the next call.
    std::span<char> room();
    /// Appends what is now in the first `count` bytes of room(), and answers it.
    QByteArrayView commit(std::size_t count);

    std::size_t size() const { return m_end - m_begin; }
    /// All bytes kept, decoded as a whole; a character that the cut at the front split shows as U+FFFD.
    QString string() const;

private:
    char* m_space = nullptr;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

} // namespace orvanel
