#include "statuspage/HttpReader.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr QByteArrayView protocol = "HTTP/1.";

HttpResult notHttp() {
    return HttpAnswer{0, {}};
}

HttpResult garbled() {
    return HttpFailure{u"the answer is garbled."_s};
}

HttpResult tooLarge() {
    return HttpFailure{u"the answer is too large."_s};
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isSame(QByteArrayView text, QByteArrayView other) {
    return text.compare(other, Qt::CaseInsensitive) == 0;
}

} // namespace

std::optional<HttpResult> HttpReader::feed(QByteArrayView bytes) {
    const QByteArray joined = m_begun.isEmpty() ? QByteArray() : m_begun + bytes.toByteArray();
    QByteArrayView rest = m_begun.isEmpty() ? bytes : QByteArrayView(joined);
    Result result;
    while (!result && !rest.isEmpty()) {
        if (m_part == Part::Body || m_part == Part::Chunk) {
            result = appendBody(&rest);
            continue;
        }
        // Decided by the first bytes, because a server of another protocol may wait for us after its greeting.
        if (m_part == Part::StatusLine && !rest.startsWith(protocol.first(std::min(protocol.size(), rest.size())))) {
            return notHttp();
        }
        const qsizetype end = rest.indexOf('\n');
        if (end < 0) {
            break;
        }
        if (end > largestHead) {
            return tooLarge();
        }
        result = read(rest.first(end).trimmed());
        rest = rest.sliced(end + 1);
    }
    m_begun = rest.toByteArray();
    return !result && m_begun.size() > largestHead ? tooLarge() : result;
}

HttpResult HttpReader::end() {
    if (m_part == Part::Body && !m_missing) {
        return HttpAnswer{m_status, m_body};
    }
    return HttpFailure{u"the server closed the connection."_s};
}

HttpReader::Result HttpReader::read(QByteArrayView line) {
    m_headSize += m_part == Part::StatusLine || m_part == Part::Header ? line.size() : 0;
    if (m_headSize > largestHead) {
        return tooLarge();
    }
    switch (m_part) {
    case Part::StatusLine:
        return readStatusLine(line);
    case Part::Header:
        return line.isEmpty() ? endHead() : readHeader(line);
    case Part::ChunkSize:
        return readChunkSize(line);
    default:
        m_part = Part::ChunkSize;
        return line.isEmpty() ? Result() : garbled();
    }
}

/// "HTTP/1.1 200 OK", where the words at the end may be missing.
HttpReader::Result HttpReader::readStatusLine(QByteArrayView line) {
    const QByteArrayView code = line.sliced(std::min(protocol.size() + 2, line.size()));
    const bool isCode = code.size() >= 3 && std::all_of(code.begin(), code.begin() + 3, isDigit) &&
                        (code.size() == 3 || code[3] == ' ');
    if (!isCode || !isDigit(line[protocol.size()]) || line[protocol.size() + 1] != ' ') {
        return notHttp();
    }
    m_status = code.first(3).toInt();
    m_part = Part::Header;
    return std::nullopt;
}

HttpReader::Result HttpReader::readHeader(QByteArrayView line) {
    const qsizetype colon = line.indexOf(':');
    if (colon < 0) {
        return std::nullopt;
    }
    const QByteArrayView name = line.first(colon).trimmed();
    const QByteArrayView value = line.sliced(colon + 1).trimmed();
    if (isSame(name, "Transfer-Encoding")) {
        m_isChunked = isSame(value.last(std::min<qsizetype>(value.size(), 7)), "chunked");
    } else if (isSame(name, "Content-Length")) {
        bool fits = false;
        const qint64 length = value.toLongLong(&fits);
        const bool isNumber = fits && std::all_of(value.begin(), value.end(), isDigit);
        if (!isNumber || length != m_length.value_or(length)) {
            return garbled();
        }
        m_length = length;
    }
    return std::nullopt;
}

HttpReader::Result HttpReader::endHead() {
    // An interim answer, after which the real head follows. 101 is a final one: it changes the protocol.
    if (m_status < 200 && m_status != 101) {
        m_part = Part::StatusLine;
        m_isChunked = false;
        m_length.reset();
        return std::nullopt;
    }
    if (m_status != 200 || !m_readsBody) {
        return HttpAnswer{m_status, {}};
    }
    if (m_isChunked) {
        m_part = Part::ChunkSize;
        return std::nullopt;
    }
    m_part = Part::Body;
    m_missing = m_length;
    if (m_length.value_or(0) > largestBody) {
        return tooLarge();
    }
    return m_length == 0 ? Result(HttpAnswer{m_status, {}}) : std::nullopt;
}

/// The number of bytes in hexadecimal digits, then perhaps ";" and extensions, which are ignored. 0 ends the body.
HttpReader::Result HttpReader::readChunkSize(QByteArrayView line) {
    const qsizetype semicolon = line.indexOf(';');
    const QByteArrayView digits = (semicolon < 0 ? line : line.first(semicolon)).trimmed();
    const auto isHexDigit = [](char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); };
    bool fits = false;
    const qint64 size = digits.toLongLong(&fits, 16);
    if (!fits || !std::all_of(digits.begin(), digits.end(), isHexDigit)) {
        return garbled();
    }
    if (size == 0) {
        return HttpAnswer{m_status, m_body};
    }
    m_part = Part::Chunk;
    m_missing = size;
    return size > largestBody ? Result(tooLarge()) : std::nullopt;
}

HttpReader::Result HttpReader::appendBody(QByteArrayView* rest) {
    const qint64 count = std::min(rest->size(), m_missing.value_or(rest->size()));
    if (m_body.size() + count > largestBody) {
        return tooLarge();
    }
    m_body.append(rest->first(count));
    *rest = rest->sliced(count);
    if (!m_missing) {
        return std::nullopt;
    }
    *m_missing -= count;
    if (*m_missing > 0) {
        return std::nullopt;
    }
    if (m_part == Part::Body) {
        return HttpAnswer{m_status, m_body};
    }
    m_part = Part::ChunkEnd;
    return std::nullopt;
}

} // namespace orvanel
