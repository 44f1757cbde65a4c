#include "process/OutputBuffer.h"

#include <QStringDecoder>

#include <algorithm>
#include <new>
#include <sys/mman.h>

namespace orvanel {
namespace {

constexpr std::size_t mostBytes = 2'000'000;
constexpr std::size_t keptBytes = 1'000'000;
/// A ring, as small as it can be for the processor's cache: what is kept and one more chunk. Its pages cost nothing
/// until they are written to, and all are given back at once (malloc would keep them).
constexpr std::size_t spaceBytes = std::size_t{2} * 1024 * 1024;
static_assert(spaceBytes >= mostBytes + OutputBuffer::chunkSize);

} // namespace

QString decodeUtf8(QByteArrayView bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(bytes);
}

OutputBuffer::~OutputBuffer() {
    if (m_space != nullptr) {
        ::munmap(m_space, spaceBytes);
    }
}

std::span<char> OutputBuffer::room() {
    if (m_space == nullptr) {
        void* const space =
            ::mmap(nullptr, spaceBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED) {
            throw std::bad_alloc();
        }
        m_space = static_cast<char*>(space);
    }
    return {m_space + m_end, std::min(chunkSize, spaceBytes - m_end)};
}

QByteArrayView OutputBuffer::commit(std::size_t count) {
    const QByteArrayView chunk(m_space + m_end, static_cast<qsizetype>(count));
    m_end = (m_end + count) % spaceBytes;
    m_size += count;
    if (m_size > mostBytes) {
        m_size = keptBytes;
    }
    return chunk;
}

QString OutputBuffer::string() const {
    const std::size_t begin = (m_end + spaceBytes - m_size) % spaceBytes;
    const std::size_t untilTheEdge = std::min(m_size, spaceBytes - begin);
    if (untilTheEdge == m_size) {
        return decodeUtf8({m_space + begin, static_cast<qsizetype>(m_size)});
    }
    QByteArray bytes(m_space + begin, static_cast<qsizetype>(untilTheEdge));
    bytes.append(m_space, static_cast<qsizetype>(m_size - untilTheEdge));
    return decodeUtf8(bytes);
}

} // namespace orvanel
