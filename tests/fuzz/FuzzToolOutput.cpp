// Feeds any bytes, in any pieces, to what keeps a tool's output for the end and shows it as it comes.
#include "Fuzz.h"
#include "controller/CappedLog.h"
#include "process/OutputBuffer.h"

#include <QCoreApplication>

#include <algorithm>

namespace orvanel::test {
namespace {

QCoreApplication& application() {
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

void checkDecoding(const QByteArray& bytes) {
    const QString text = decodeUtf8(bytes);
    require(text.isValidUtf16(), "what was decoded is text");
    require(text.size() <= bytes.size(), "no byte makes two characters");
    require(text.contains(QChar::ReplacementCharacter) || text.toUtf8() == bytes, "valid bytes are not changed");
    const QByteArray twice = bytes + '\n' + bytes;
    require(decodeUtf8(twice) == text + u'\n' + text, "a fault does not reach past the next character");
}

void checkCap(const QString& log, const QString& chunk, const QString& result) {
    require((log + chunk).endsWith(result), "a log keeps its end");
    require(result.size() < cappedLogLimit, "a log stays below the limit");
    const bool isCut = result.size() < log.size() + chunk.size();
    require(!isCut || (result.size() >= 19999 && result.size() <= 20000), "a log is cut to a fixed length");
    require(!isCut || !result.front().isLowSurrogate() || log.isEmpty(), "a cut does not split a character");
}

/// The rules of OutputBuffer and of the log that is shown, in their simplest form beside the real ones.
class Run {
public:
    /// Passes the bytes on as the runner reads them: at the edge of the buffer in two pieces.
    void print(const QByteArray& bytes) {
        QByteArrayView rest = bytes;
        while (!rest.isEmpty()) {
            const auto room = m_buffer.room();
            require(!room.empty() && room.size() <= OutputBuffer::chunkSize, "there is room for a chunk");
            const QByteArrayView chunk = rest.first(std::min(rest.size(), static_cast<qsizetype>(room.size())));
            rest = rest.sliced(chunk.size());
            std::copy(chunk.begin(), chunk.end(), room.begin());
            checkCommit(chunk);
        }
    }

    void show() {
        const QString before = m_log;
        QCoreApplication::sendPostedEvents();
        require(m_log == appendCapped(before, m_waiting), "the log misses nothing that it would keep");
        checkCap(before, m_waiting, m_log);
        m_waiting.clear();
    }

    void end() {
        show();
        require(m_buffer.size() == static_cast<std::size_t>(m_expected.size()), "as much is kept as size() says");
        require(m_buffer.string() == decodeUtf8(m_expected), "what is kept is decoded as a whole");
    }

private:
    void checkCommit(QByteArrayView chunk) {
        const QByteArrayView committed = m_buffer.commit(static_cast<std::size_t>(chunk.size()));
        require(committed == chunk, "a chunk is handed on as it came");
        const QString text = decodeUtf8(committed);
        m_feed(text);
        m_waiting += text;
        m_expected += chunk;
        if (m_expected.size() > 2'000'000) {
            m_expected = m_expected.last(1'000'000);
        }
    }

    OutputBuffer m_buffer;
    QByteArray m_expected;
    QString m_log;
    QString m_waiting;
    DockerCLI::OutputCallback m_feed = logFeed([this](const QString& text) { m_log = appendCapped(m_log, text); });
};

} // namespace

/// The input is a list of commands of one byte. The lower five bits say how many of the next bytes are printed (0 shows
/// the log instead); the upper three bits say how often (4 to their power).
void fuzz(QByteArrayView input) {
    application();
    checkDecoding(input.toByteArray());
    {
        Run run;
        qsizetype printed = 0;
        while (!input.isEmpty() && printed < 2'200'000) {
            const int command = takeByte(&input);
            const QByteArrayView bytes = input.first(std::min<qsizetype>(command % 32, input.size()));
            input = input.sliced(bytes.size());
            if (bytes.isEmpty()) {
                run.show();
                continue;
            }
            checkDecoding(bytes.toByteArray());
            const QByteArray many = bytes.toByteArray().repeated(qsizetype(1) << (2 * (command / 32)));
            const QByteArray chunk = many.left(OutputBuffer::chunkSize);
            run.print(chunk);
            printed += chunk.size();
        }
        run.end();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace orvanel::test
