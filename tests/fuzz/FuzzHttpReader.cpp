// Feeds any bytes to the reader of HTTP answers.
#include "Fuzz.h"
#include "statuspage/HttpReader.h"

#include <algorithm>

namespace orvanel::test {
namespace {

/// The status and the body, or the description of a failure.
QByteArray textOf(const HttpResult& result) {
    if (const auto* failure = std::get_if<HttpFailure>(&result)) {
        return failure->description.toUtf8();
    }
    const auto& answer = std::get<HttpAnswer>(result);
    return QByteArray::number(answer.status) + ' ' + answer.body;
}

HttpResult readInPieces(QByteArrayView bytes, qsizetype size, bool readsBody) {
    HttpReader reader(readsBody);
    while (!bytes.isEmpty()) {
        const QByteArrayView piece = bytes.first(std::min(size, bytes.size()));
        // The reader gets a copy, so that the sanitizer notices any read past its end or after its time.
        const QByteArray copy = piece.toByteArray();
        if (auto result = reader.feed(copy)) {
            return *result;
        }
        bytes = bytes.sliced(piece.size());
    }
    return reader.end();
}

void checkAnyAnswer(QByteArrayView bytes, qsizetype pieceSize, bool readsBody) {
    const HttpResult whole = readInPieces(bytes, std::max<qsizetype>(bytes.size(), 1), readsBody);
    require(textOf(readInPieces(bytes, pieceSize, readsBody)) == textOf(whole), "the pieces do not matter");
    if (const auto* answer = std::get_if<HttpAnswer>(&whole)) {
        const bool isFinal = answer->status == 0 || answer->status == 101 || answer->status >= 200;
        require(isFinal && answer->status <= 999, "a result is not an interim answer");
        require(answer->body.isEmpty() || (readsBody && answer->status == 200), "only a wanted 200 has a body");
        require(answer->body.size() <= bytes.size(), "a body is part of the answer");
    }
}

QByteArray chunked(QByteArrayView body, qsizetype size) {
    QByteArray result;
    while (!body.isEmpty()) {
        const QByteArrayView chunk = body.first(std::min(size, body.size()));
        result += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk.toByteArray() + "\r\n";
        body = body.sliced(chunk.size());
    }
    return result + "0\r\n\r\n";
}

void checkAnyBody(QByteArrayView body, qsizetype size) {
    const QByteArray expected = "200 " + body.toByteArray();
    const QByteArray head = "HTTP/1.1 200 OK\r\n";
    const QByteArray length = "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
    const QByteArray withLength = head + length + body.toByteArray() + "more";
    require(textOf(readInPieces(withLength, size, true)) == expected, "a body of a given length is read");
    const QByteArray inChunks = head + "Transfer-Encoding: chunked\r\n\r\n" + chunked(body, size);
    require(textOf(readInPieces(inChunks, size + 1, true)) == expected, "a body in chunks is read");
    const QByteArray untilClose = head + "\r\n" + body.toByteArray();
    require(textOf(readInPieces(untilClose, size, true)) == expected, "a body up to the end is read");
}

} // namespace

/// The first byte is the size of the pieces. The first byte 1 after it is replaced by more bytes than a head may have.
void fuzz(QByteArrayView input) {
    const qsizetype size = 1 + takeByte(&input) % 64;
    checkAnyBody(input, size);
    QByteArray bytes = input.toByteArray();
    qsizetype pieceSize = size;
    if (const qsizetype stretched = bytes.indexOf('\1'); stretched >= 0) {
        // With pieces of this size, one of them ends between the largest head and the end of the replacement.
        pieceSize = size * 61;
        bytes.replace(stretched, 1, QByteArray(HttpReader::largestHead + pieceSize, ' '));
    }
    checkAnyAnswer(bytes, pieceSize, true);
    checkAnyAnswer(bytes, pieceSize, false);
}

} // namespace orvanel::test
