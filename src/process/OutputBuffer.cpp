#include "process/OutputBuffer.h"

#include <QStringDecoder>

#include <algorithm>

namespace orvanel {
namespace {

constexpr std::size_t mostBytes = 2'000'000;
constexpr std::size_t keptBytes = 1'000'000;

} // namespace

QString decodeUtf8(QByteArrayView bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(bytes);
}

void OutputBuffer::append(QByteArrayView chunk) {
    const auto added = static_cast<std::size_t>(chunk.size());
    if (m_bytes.size() + added > mostBytes) {
        // Cut before appending, so that not even a huge chunk makes the buffer grow beyond its bound. At least a
        // million bytes arrive between two cuts, so that all this moving costs at most one more copy of each byte.
        const std::size_t kept = keptBytes - std::min(keptBytes, added);
        m_bytes.erase(0, m_bytes.size() - std::min(kept, m_bytes.size()));
        chunk = chunk.last(static_cast<qsizetype>(std::min(keptBytes, added)));
    }
    m_bytes.append(chunk.data(), static_cast<std::size_t>(chunk.size()));
}

QString OutputBuffer::string() const {
    return decodeUtf8(m_bytes);
}

} // namespace orvanel
