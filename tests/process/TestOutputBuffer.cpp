#include "process/OutputBuffer.h"
#include "support/TestClass.h"

#include <QTest>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

void append(OutputBuffer* buffer, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const auto room = buffer->room();
        const auto count = std::min(room.size(), static_cast<std::size_t>(bytes.size()));
        std::copy_n(bytes.begin(), count, room.begin());
        buffer->commit(count);
        bytes = bytes.sliced(static_cast<qsizetype>(count));
    }
}

QByteArray numbered(qsizetype size) {
    QByteArray bytes;
    for (int number = 0; bytes.size() < size; ++number) {
        bytes += QByteArray::number(number) + '\n';
    }
    bytes.truncate(size);
    return bytes;
}

} // namespace

class TestOutputBuffer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsEmpty() {
        const OutputBuffer buffer;
        QCOMPARE(buffer.size(), std::size_t(0));
        QCOMPARE(buffer.string(), QString());
    }

    void commitAnswersTheChunk() {
        OutputBuffer buffer;
        append(&buffer, "before");
        const auto room = buffer.room();
        QCOMPARE(room.size(), OutputBuffer::chunkSize);
        std::copy_n("chunk and more", 14, room.begin());
        QCOMPARE(buffer.commit(5), QByteArrayView("chunk"));
        QCOMPARE(buffer.string(), u"beforechunk"_s);
    }

    void keepsEverythingUpToTwoMillionBytes() {
        const QByteArray bytes = numbered(2'000'000);
        OutputBuffer buffer;
        append(&buffer, bytes);
        QCOMPARE(buffer.size(), std::size_t(2'000'000));
        QVERIFY(buffer.string() == QString::fromLatin1(bytes));
    }

    void keepsTheLastMillionBytesOfMore() {
        const QByteArray bytes = numbered(2'000'001);
        OutputBuffer buffer;
        append(&buffer, QByteArrayView(bytes).first(2'000'000));
        append(&buffer, QByteArrayView(bytes).last(1));
        QCOMPARE(buffer.size(), std::size_t(1'000'000));
        QVERIFY(buffer.string() == QString::fromLatin1(bytes.last(1'000'000)));
    }

    void growsAgainAfterACut() {
        const QByteArray bytes = numbered(3'000'001);
        OutputBuffer buffer;
        append(&buffer, QByteArrayView(bytes).first(2'000'000));
        append(&buffer, QByteArrayView(bytes).sliced(2'000'000, 1));
        append(&buffer, QByteArrayView(bytes).sliced(2'000'001));
        QCOMPARE(buffer.size(), std::size_t(2'000'000));
        QVERIFY(buffer.string() == QString::fromLatin1(bytes.last(2'000'000)));
    }

    /// Compares the buffer with the plain rule, over many times the size of the buffer.
    void followsTheRuleWhateverTheChunks() {
        const QByteArray source = numbered(OutputBuffer::chunkSize * 2);
        std::mt19937 random(20240229);
        QByteArray expected;
        OutputBuffer buffer;
        for (int round = 0; round < 900; ++round) {
            const auto size = static_cast<qsizetype>(random() % OutputBuffer::chunkSize);
            const QByteArray chunk = source.mid(static_cast<qsizetype>(random() % OutputBuffer::chunkSize), size);
            for (QByteArrayView rest = chunk; !rest.isEmpty();) {
                const auto piece = rest.first(std::min(rest.size(), static_cast<qsizetype>(buffer.room().size())));
                append(&buffer, piece);
                expected += piece;
                if (expected.size() >= 2'000'001) {
                    expected = expected.last(1'000'000);
                }
                rest = rest.sliced(piece.size());
            }
            QCOMPARE(buffer.size(), static_cast<std::size_t>(expected.size()));
            if (round % 50 == 0) {
                QVERIFY(buffer.string() == QString::fromLatin1(expected));
            }
        }
        QVERIFY(buffer.string() == QString::fromLatin1(expected));
    }

    void decodesAsAWhole() {
        const QByteArray bytes = u"ä€😀"_s.toUtf8();
        OutputBuffer buffer;
        for (const char byte : bytes) {
            append(&buffer, QByteArrayView(&byte, 1));
        }
        QCOMPARE(buffer.string(), u"ä€😀"_s);
    }

    void repairsACharacterSplitByTheCut() {
        OutputBuffer buffer;
        append(&buffer, QByteArray(1'000'002, 'x'));
        append(&buffer, "\xe2\x82\xac"); // the cut leaves its last byte
        append(&buffer, QByteArray(999'999, 'y'));
        const QString text = buffer.string();
        QCOMPARE(text.size(), qsizetype(1'000'000));
        QCOMPARE(text.left(2), u"\uFFFDy"_s);
    }

    void decoding_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << QByteArray() << QString();
        QTest::newRow("plain") << QByteArray("abc\r\n") << u"abc\r\n"_s;
        QTest::newRow("never valid") << QByteArray("a\xff\xfe"
                                                   "b")
                                     << u"a\uFFFD\uFFFDb"_s;
        QTest::newRow("cut short") << QByteArray("b\xc3") << u"b\uFFFD"_s;
        QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                       "a")
                                         << u"\uFEFFa"_s;
        QTest::newRow("zero byte") << QByteArray("a\0b", 3) << QString::fromUtf16(u"a\0b", 3);
    }

    void decoding() {
        QFETCH(const QByteArray, bytes);
        QTEST(decodeUtf8(bytes), "text");
    }
};

ORVANEL_TEST(TestOutputBuffer)
#include "TestOutputBuffer.moc"
