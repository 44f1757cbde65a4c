#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>
#include <variant>

namespace orvanel {

/// What a web server answered.
struct HttpAnswer {
    /// 0 if the answer is not HTTP.
    int status = 0;
    /// Complete for status 200, empty for any other status.
    QByteArray body;
};

/// Why no answer came: the end of a sentence for the user, with its full stop.
struct HttpFailure {
    QString description;
};

using HttpResult = std::variant<HttpAnswer, HttpFailure>;

/// Parses one HTTP/1 answer as its bytes arrive. Whatever the server sends, it uses no more memory than the largest
/// accepted answer needs.
class HttpReader {
public:
    /// Larger bodies and heads are refused while they arrive.
    static constexpr qint64 largestBody = qint64(16) * 1024 * 1024;
    static constexpr qint64 largestHead = qint64(64) * 1024;

    /// If the body is not read, the answer is complete after its head: the status line and the headers.
    explicit HttpReader(bool readsBody)
        : m_readsBody(readsBody) {}

    /// Returns the result as soon as it is known. After that, nothing more may be fed.
    std::optional<HttpResult> feed(QByteArrayView bytes);

    /// The result if the server closes the connection before feed() returned one.
    HttpResult end();

private:
    enum class Part { StatusLine, Header, Body, ChunkSize, Chunk, ChunkEnd };
    using Result = std::optional<HttpResult>;

    Result read(QByteArrayView line);
    Result readStatusLine(QByteArrayView line);
    Result readHeader(QByteArrayView line);
    Result endHead();
    Result readChunkSize(QByteArrayView line);
    Result appendBody(QByteArrayView* rest);

    bool m_readsBody;
    Part m_part = Part::StatusLine;
    /// The beginning of a line whose end has not arrived yet.
    QByteArray m_begun;
    qint64 m_headSize = 0;
    int m_status = 0;
    bool m_isChunked = false;
    std::optional<qint64> m_length;
    /// The bytes that are still missing from the body or chunk; none if the body lasts until the connection is closed.
    std::optional<qint64> m_missing;
    QByteArray m_body;
};

} // namespace orvanel
