#include "process/OutputBuffer.h"

#include <QStringDecoder>

#include <cstring>
#include <new>
#include <sys/mman.h>

namespace orvanel {
namespace {

constexpr std::size_t mostBytes = 2'000'000;
constexpr std::size_t keptBytes = 1'000'000;
/// Twice what is ever kept, so that most cuts only move the beginning on and few copy the rest to the front. Pages that
/// are never written to cost nothing, and all are given back at once (malloc would keep them).
constexpr std::size_t spaceBytes = std::size_t{4} * 1024 * 1024;

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
    if (m_end + chunkSize > spaceBytes) {
        std::memmove(m_space, m_space + m_begin, size());
        m_end = size();
        m_begin = 0;
    }
    return {m_space + m_end, chunkSize};
}

QByteArrayView OutputBuffer::commit(std::size_t count) {
    const QByteArrayView chunk(m_space + m_end, static_cast<qsizetype>(count));
    m_end += count;
    if (size() > mostBytes) {
        m_begin = m_end - keptBytes;
    }
    return chunk;
}

QString OutputBuffer::string() const {
    return decodeUtf8({m_space + m_begin, static_cast<qsizetype>(size())});
}

} // namespace orvanel
