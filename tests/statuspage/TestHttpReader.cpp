#include "statuspage/HttpReader.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

const QString closed = u"the server closed the connection."_s;
const QString garbled = u"the answer is garbled."_s;
const QString tooLarge = u"the answer is too large."_s;

constexpr bool withBody = true;
constexpr bool withoutBody = false;

/// "404", "200 and the body", or the description of a failure.
QString text(const HttpResult& result) {
    if (const auto* failure = std::get_if<HttpFailure>(&result)) {
        return failure->description;
    }
    const auto& answer = std::get<HttpAnswer>(result);
    return u"%1 %2"_s.arg(QString::number(answer.status), QString::fromUtf8(answer.body)).trimmed();
}

/// The result of a reader when bytes arrive in these pieces and the connection then ends.
QString readPieces(const QByteArrayList& pieces, bool readsBody = withBody) {
    HttpReader reader(readsBody);
    for (const QByteArray& piece : pieces) {
        if (const auto result = reader.feed(piece)) {
            return text(*result);
        }
    }
    return text(reader.end());
}

QByteArrayList singleBytes(const QByteArray& bytes) {
    QByteArrayList pieces;
    for (const char byte : bytes) {
        pieces << QByteArray(1, byte);
    }
    return pieces;
}

} // namespace

class TestHttpReader : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answers_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        const auto row = [](const char* name, const QByteArray& bytes, const QString& expected) {
            QTest::newRow(name) << bytes << expected;
        };
        const auto is = [](const char* words) { return QString::fromLatin1(words); };

        row("length", ok + "Content-Length: 2\r\n\r\n{}", is("200 {}"));
        row("more than the length", ok + "Content-Length: 2\r\n\r\n{}{}", is("200 {}"));
        row("less than the length", ok + "Content-Length: 3\r\n\r\n{}", closed);
        row("empty by length", ok + "Content-Length: 0\r\n\r\n", is("200"));
        row("until the close", ok + "\r\n{}", is("200 {}"));
        row("empty until the close", ok + "\r\n", is("200"));
        row("names in any case", ok + "content-LENGTH:2\r\n\r\n{}!", is("200 {}"));
        row("blanks around a value", ok + "Content-Length:  \t 2 \r\n\r\n{}!", is("200 {}"));
        row("plain line feeds", "HTTP/1.1 200 OK\nContent-Length: 2\n\n{}!", is("200 {}"));
        row("header without colon", ok + "nonsense\r\nContent-Length: 2\r\n\r\n{}!", is("200 {}"));
        row("same length twice", ok + "Content-Length: 2\r\nContent-Length: 2\r\n\r\n{}!", is("200 {}"));

        row("chunks", ok + "Transfer-Encoding: chunked\r\n\r\n1\r\n{\r\n1\r\n}\r\n0\r\n\r\n", is("200 {}"));
        row("chunk words", ok + "Transfer-Encoding: gzip, Chunked\r\n\r\n02;a=b\r\n{}\r\n0;c\r\n\r\n", is("200 {}"));
        row("large chunk", ok + "Transfer-Encoding: chunked\r\n\r\nA\r\n0123456789\r\n0\r\n", is("200 0123456789"));
        row("chunks before length", ok + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n",
            is("200 {}"));
        row("cut in a chunk", ok + "Transfer-Encoding: chunked\r\n\r\n5\r\n{}", closed);
        row("cut between chunks", ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n", closed);
        row("chunk too long", ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}}\r\n0\r\n", garbled);
        for (const char* size : {"", "z", "-2", "+2", "0x2", "2 2", "fffffffffffffffff"}) {
            QTest::addRow("chunk size \"%s\"", size)
                << ok + "Transfer-Encoding: chunked\r\n\r\n" + size + "\r\n{}\r\n0\r\n"
                << garbled;
        }
        for (const char* length :
             {"", "-1", "+2", "two", "2 2", "0x2", "99999999999999999999", "1\r\nContent-Length: 2"}) {
            QTest::addRow("length \"%s\"", length) << ok + "Content-Length: " + length + "\r\n\r\n{}" << garbled;
        }
        row("announces too much", ok + "Content-Length: 16777217\r\n\r\n", tooLarge);
        row("announces very much", ok + "Content-Length: 9223372036854775807\r\n\r\n", tooLarge);
        row("chunk too large", ok + "Transfer-Encoding: chunked\r\n\r\n1000001\r\n", tooLarge);
        row("chunk much too large", ok + "Transfer-Encoding: chunked\r\n\r\n7fffffffffffffff\r\n", tooLarge);

        row("other codes have no body", "HTTP/1.1 404 Not Found\r\nContent-Length: 900\r\n\r\n", is("404"));
        row("their length does not matter", "HTTP/1.1 503 x\r\nContent-Length: 99999999999\r\n\r\n", is("503"));
        row("no words after the code", "HTTP/1.1 404\r\n\r\n", is("404"));
        row("blank after the code", "HTTP/1.1 404 \r\n\r\n", is("404"));
        row("HTTP/1.0", "HTTP/1.0 200 OK\r\n\r\n{}", is("200 {}"));
        row("unknown code", "HTTP/1.1 799 Odd\r\n\r\n", is("799"));
        row("notices first", "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nLink: a\r\n\r\n" + ok + "\r\n{}",
            is("200 {}"));
        row("notice with a length",
            "HTTP/1.1 100 Continue\r\nContent-Length: 0\r\n\r\n" + ok + "Content-Length: 2\r\n\r\n{}", is("200 {}"));
        row("notice in chunks", "HTTP/1.1 103 Hints\r\nTransfer-Encoding: chunked\r\n\r\n" + ok + "\r\n{}",
            is("200 {}"));
        row("notice only", "HTTP/1.1 100 Continue\r\n\r\n", closed);
        row("another protocol offered", "HTTP/1.1 101 Switching\r\n\r\n", is("101"));

        row("nothing", "", closed);
        row("half a head", "HTTP/1.1 200 OK\r\nContent-Le", closed);
        row("half a status line", "HTTP/1.1 20", closed);
        for (const char* line :
             {"x", "SSH-2.0-OpenSSH\r\n", "220 mail\r\n", "\r\n", "\r\nHTTP/1.1 200 OK\r\n\r\n", "http/1.1 200 OK\r\n",
              "HTTP/2.0 200 OK\r\n\r\n", "HTTPS/1.1 200\r\n", "HTTP/1.\r\n", "HTTP/1.1\r\n", "HTTP/1.1 \r\n",
              "HTTP/1.1 2\r\n", "HTTP/1.1 20x OK\r\n", "HTTP/1.1 2000 OK\r\n", "HTTP/1.1 -20 OK\r\n",
              "HTTP/1.1200 OK\r\n", "HTTP/1.x 200 OK\r\n", "{}", "<html>"}) {
            QTest::addRow("not HTTP \"%s\"", line) << QByteArray(line) << is("0");
        }
        row("NUL bytes", QByteArray(100, '\0'), is("0"));
    }

    /// The result must not depend on how the bytes are split into pieces.
    void answers() {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, expected);
        QCOMPARE(readPieces({bytes}), expected);
        QCOMPARE(readPieces(singleBytes(bytes)), expected);
        for (qsizetype cut = 0; cut <= bytes.size(); ++cut) {
            QCOMPARE(readPieces({bytes.left(cut), bytes.mid(cut)}), expected);
        }
    }

    void withoutBodyTheHeadIsEnough() {
        QCOMPARE(readPieces({"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n"}, withoutBody), u"200"_s);
        QCOMPARE(readPieces({"HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n"}, withoutBody), u"200"_s);
        QCOMPARE(readPieces({"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n"}, withoutBody), closed);
    }

    void bodiesUpToTheLimitAreKept() {
        const QByteArray full(HttpReader::largestBody, 'x');
        const QByteArray head = "HTTP/1.1 200 OK\r\n\r\n";
        QCOMPARE(readPieces({head, full}).size(), 4 + full.size());
        QCOMPARE(readPieces({head, full, "x"}), tooLarge);
        const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
        QCOMPARE(readPieces({chunked, "1000000\r\n", full, "\r\n0\r\n\r\n"}).size(), 4 + full.size());
        QCOMPARE(readPieces({chunked, "1000000\r\n", full, "\r\n1\r\nx"}), tooLarge);
    }

    /// A line may be as long as a head, whatever it contains and however it arrives.
    void longLinesAreRefused() {
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        const QByteArray blanks(HttpReader::largestHead, ' ');
        const QByteArray chunks = ok + "Transfer-Encoding: chunked\r\n\r\n2;";
        for (const QByteArray& beginning : {ok + "A:", chunks}) {
            const QByteArray whole = beginning + blanks + "\r\n{}\r\n0\r\n";
            QCOMPARE(readPieces({whole}), tooLarge);
            QCOMPARE(readPieces({whole.left(66'000), whole.mid(66'000)}), tooLarge);
        }
        const QByteArray longest = blanks.left(HttpReader::largestHead - 3);
        QCOMPARE(readPieces({chunks + longest + "\r\n{}\r\n0\r\n"}), u"200 {}"_s);
    }

    void headsWithoutEndAreRefused_data() {
        QTest::addColumn<QByteArray>("beginning");
        QTest::addColumn<QByteArray>("repeated");
        QTest::newRow("status line") << QByteArray("HTTP/1.1 200 ") << QByteArray("OK");
        QTest::newRow("header line") << QByteArray("HTTP/1.1 200 OK\r\nA: ") << QByteArray("x");
        QTest::newRow("header lines") << QByteArray("HTTP/1.1 200 OK\r\n") << QByteArray("A: x\r\n");
        QTest::newRow("notices") << QByteArray() << QByteArray("HTTP/1.1 100 Continue\r\n\r\n");
        QTest::newRow("chunk size") << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
                                    << QByteArray("0");
    }
    void headsWithoutEndAreRefused() {
        QFETCH(const QByteArray, beginning);
        QFETCH(const QByteArray, repeated);
        const QByteArray piece = repeated.repeated(1 + 8192 / repeated.size());
        QCOMPARE(readPieces(QByteArrayList{beginning} + QByteArrayList(20, piece)), tooLarge);
    }
};

ORVANEL_TEST(TestHttpReader)
#include "TestHttpReader.moc"
