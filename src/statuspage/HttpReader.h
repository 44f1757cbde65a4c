#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>
#include <variant>

namespace orvanel {

/// What a web server answered.
struct HttpAnswer {
    /// 0 when what came back is not HTTP.
    int status = 0;
    /// Whole for status 200, empty for any other.
    QByteArray body;
};

/// Why no answer came: the end of a sentence for the user, with its full stop.
struct HttpFailure {
    QString description;
};

using HttpResult = std::variant<HttpAnswer, HttpFailure>;

/// Takes one HTTP/1 answer apart as its bytes arrive, and knows when it has enough: no more memory is used than the
/// largest accepted answer needs, whatever the server sends.
class HttpReader {
public:
    /// Larger bodies are refused while they arrive, and so are heads.
    static constexpr qint64 largestBody = qint64(16) * 1024 * 1024;
    static constexpr qint64 largestHead = qint64(64) * 1024;

    /// Without the body, the answer is complete with its head: status line and headers.
    explicit HttpReader(bool readsBody)
        : m_readsBody(readsBody) {}

    /// The result, once the bytes so far decide it; nothing may be fed after that.
    std::optional<HttpResult> feed(QByteArrayView bytes);

    /// The result when the server has closed the connection before it was decided.
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
    /// What has come of a line whose end has not.
    QByteArray m_begun;
    qint64 m_headSize = 0;
    int m_status = 0;
    bool m_isChunked = false;
    std::optional<qint64> m_length;
    /// What is still to come of the body or the chunk; none: the rest of the connection.
    std::optional<qint64> m_missing;
    QByteArray m_body;
};

} // namespace orvanel
