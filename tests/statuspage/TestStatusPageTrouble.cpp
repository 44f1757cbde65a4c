#include "standin/kuma/KumaServer.h"
#include "statuspage/StatusPageClient.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThreadPool>
#include <QTimer>

#include <ctime>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

constexpr qint64 mebibyte = qint64(1024) * 1024;

const QString home = u"home"_s;
const QByteArray emptyPage = R"({"publicGroupList":[]})";
const QString timedOut = u"Could not read the status page: the request timed out."_s;
const QString cancelled = u"Could not read the status page: the request was cancelled."_s;
const QString tooLarge = u"Could not read the status page: the answer is too large."_s;

QString sentence(const StatusPageResult& result) {
    const auto* error = std::get_if<StatusPageError>(&result);
    return error ? error->message : QString();
}

/// The most memory that this process has used, in bytes.
qint64 peakMemory() {
    QFile status(u"/proc/self/status"_s);
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("VmHWM:")) {
                return line.mid(6).trimmed().split(' ').first().toLongLong() * 1024;
            }
        }
    }
    qFatal("no VmHWM in /proc/self/status");
}

/// The processor time that this thread has used, which does not depend on the computer's other load.
std::chrono::nanoseconds threadTime() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

/// Whether the port can be bound without any reuse option, as another program would do it.
bool canBind(int port) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool bound = ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return bound;
}

/// A page of nearly 16 MiB of monitors.
QByteArray largePage() {
    const QByteArray monitor = R"({"id":1,"name":"A monitor with a name of ordinary length","sendUrl":0})";
    const qsizetype count = 15 * mebibyte / (monitor.size() + 1);
    return R"({"publicGroupList":[{"name":"G","monitorList":[)" + QByteArrayList(count, monitor).join(',') + "]}]}";
}

/// A server whose answer the test sends piece by piece.
class ManualServer {
public:
    ManualServer() {
        if (!m_server.listen(QHostAddress::LocalHost)) {
            qFatal("could not listen");
        }
    }

    int port() const { return m_server.serverPort(); }

    /// Whether a request has arrived.
    bool isAsked() {
        if (!m_client) {
            m_client = m_server.nextPendingConnection();
        }
        return m_client && m_client->bytesAvailable() > 0;
    }

    void send(const QByteArray& bytes) { m_client->write(bytes); }
    bool isLeft() const { return m_client->state() == QAbstractSocket::UnconnectedState; }

private:
    QTcpServer m_server;
    QTcpSocket* m_client = nullptr;
};

/// Measures the longest time between two turns of this thread's event loop while this object lives.
class LoopWatch {
public:
    LoopWatch() {
        m_timer.callOnTimeout([this] { look(); });
        m_timer.start(10ms);
        m_wall.start();
    }

    void look() {
        m_longestWall = std::max(m_longestWall, m_wall.restart());
        m_longestWork = std::max(m_longestWork, threadTime() - m_lastWork);
        m_lastWork = threadTime();
        m_looks += 1;
    }

    qint64 longestWallMs() const { return m_longestWall; }
    qint64 longestWorkMs() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_longestWork).count();
    }
    int looks() const { return m_looks; }

private:
    QTimer m_timer;
    QElapsedTimer m_wall;
    std::chrono::nanoseconds m_lastWork = threadTime();
    qint64 m_longestWall = 0;
    std::chrono::nanoseconds m_longestWork{0};
    int m_looks = 0;
};

} // namespace

class TestStatusPageTrouble : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readinessWaitsTwoAndAHalfSeconds_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::newRow("no answer") << QByteArray("stall");
        QTest::newRow("a byte now and then") << QByteArray("drip=60000");
    }
    void readinessWaitsTwoAndAHalfSeconds() {
        QFETCH(const QByteArray, mood);
        const KumaServer server("path / " + mood);
        FakeClock clock;
        StatusPageClient client(clock);
        auto answers = client.pageAnswers(server.port());
        QVERIFY(waitUntil([&] { return !server.requests().isEmpty(); }));
        clock.advance(2499ms);
        drainEvents();
        QVERIFY(!answers.isReady());
        clock.advance(1ms);
        QVERIFY(await(std::move(answers)) == PageAnswer::none);
        QCOMPARE(clock.pendingTimers(), 0);
    }

    void readingEndsAfterFiveSilentSeconds() {
        const KumaServer server("path /api/* stall");
        FakeClock clock;
        StatusPageClient client(clock);
        auto reading = client.fetch(server.port(), home);
        QVERIFY(waitUntil([&] { return !server.requests().isEmpty(); }));
        clock.advance(4999ms);
        drainEvents();
        QVERIFY(!reading.isReady());
        clock.advance(1ms);
        QCOMPARE(sentence(await(std::move(reading))), timedOut);
        QCOMPARE(server.requests().size(), 1);
        QCOMPARE(clock.pendingTimers(), 0);
    }

    void everyPieceOfTheAnswerIsASignOfLife() {
        ManualServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        auto reading = client.fetch(server.port(), home);
        QVERIFY(waitUntil([&] { return server.isAsked(); }));
        clock.advance(2s);
        QCOMPARE(clock.untilNextTimer(), 3000ms);
        server.send("H");
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() == 5s; }));
        clock.advance(2s);
        server.send("TTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n");
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() == 5s; }));
        clock.advance(3s);
        server.send("{");
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() == 5s; }));
        clock.advance(4999ms);
        drainEvents();
        QVERIFY(!reading.isReady());
        clock.advance(1ms);
        QCOMPARE(sentence(await(std::move(reading))), timedOut);
        QVERIFY(waitUntil([&] { return server.isLeft(); }));
    }

    void fifteenSecondsAreEnoughForAnyAnswer() {
        ManualServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        auto reading = client.fetch(server.port(), home);
        QVERIFY(waitUntil([&] { return server.isAsked(); }));
        clock.advance(4s);
        server.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n");
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() == 5s; }));
        clock.advance(4s);
        server.send("{");
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() == 5s; }));
        clock.advance(4s);
        // Three seconds are left, however often the server sends something.
        server.send("{");
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() == 3s; }));
        clock.advance(2999ms);
        drainEvents();
        QVERIFY(!reading.isReady());
        clock.advance(1ms);
        QCOMPARE(sentence(await(std::move(reading))), timedOut);
    }

    void eachOfTheTwoRequestsHasItsOwnTime() {
        const KumaServer server("path /api/status-page/heartbeat/* stall");
        server.page(home, emptyPage);
        FakeClock clock;
        StatusPageClient client(clock);
        auto reading = client.fetch(server.port(), home);
        QVERIFY(waitUntil([&] { return server.requests().size() == 2; }));
        QCOMPARE(clock.untilNextTimer(), 5000ms);
        clock.advance(5s);
        QCOMPARE(sentence(await(std::move(reading))), timedOut);
    }

    void slowButLivelyAnswersAreRead() {
        const KumaServer server("path * drip=1");
        server.page(home, emptyPage);
        FakeClock clock;
        StatusPageClient client(clock);
        QCOMPARE(sentence(await(client.fetch(server.port(), home))), QString());
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::usual);
    }

    void answersWithoutEndAreRefusedInBoundedMemory_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::newRow("until the close") << QByteArray("endless until-close");
        QTest::newRow("in chunks") << QByteArray("endless chunked");
        QTest::newRow("1 GiB announced") << QByteArray("size=1G");
        QTest::newRow("1 GiB in chunks") << QByteArray("size=1G chunked");
        QTest::newRow("4 GiB announced") << QByteArray("size=4G");
    }
    void answersWithoutEndAreRefusedInBoundedMemory() {
        QFETCH(const QByteArray, mood);
        const KumaServer server("path /api/* " + mood);
        FakeClock clock;
        StatusPageClient client(clock);
        const qint64 before = peakMemory();
        QCOMPARE(sentence(await(client.fetch(server.port(), home))), tooLarge);
        const qint64 growth = peakMemory() - before;
        QVERIFY2(growth < 160 * mebibyte, qPrintable(u"%1 MiB"_s.arg(growth / mebibyte)));
    }

    void headersWithoutEndAreRefused() {
        const KumaServer server("path * endless-head");
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::none);
        QCOMPARE(sentence(await(client.fetch(server.port(), home))), tooLarge);
    }

    void otherProtocolsAreNotWaitedFor() {
        ManualServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        auto reading = client.fetch(server.port(), home);
        QVERIFY(waitUntil([&] { return server.isAsked(); }));
        server.send("220 mail is ready");
        QCOMPARE(sentence(await(std::move(reading))), u"Could not read the status page (HTTP 0)."_s);
        QVERIFY(waitUntil([&] { return server.isLeft(); }));
    }

    void readinessNeedsTheHeadersButNotTheBody() {
        ManualServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        auto answers = client.pageAnswers(server.port());
        QVERIFY(waitUntil([&] { return server.isAsked(); }));
        server.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n");
        clock.advance(2s);
        server.send("\r\n");
        // Then comes the question whether the server has started, which nobody answers here.
        QVERIFY(waitUntil([&] { return clock.untilNextTimer() > 2s; }));
        clock.advance(2500ms);
        QVERIFY(await(std::move(answers)) == PageAnswer::strange);
        QVERIFY(waitUntil([&] { return server.isLeft(); }));
    }

    void sixteenMebibytesAreReadWithoutHoldingUpTheEventLoop() {
        const KumaServer server;
        server.page(home, largePage());
        FakeClock clock;
        StatusPageClient client(clock);
        LoopWatch watch;
        const StatusPageResult result = await(client.fetch(server.port(), home));
        watch.look();
        QCOMPARE(sentence(result), QString());
        QVERIFY(std::get<StatusPageData>(result).monitors.size() > 100'000);
        qInfo("longest stretch %lld ms, of it %lld ms of work, %d turns", watch.longestWallMs(), watch.longestWorkMs(),
              watch.looks());
        QVERIFY2(watch.longestWorkMs() < 250, qPrintable(u"%1 ms of work"_s.arg(watch.longestWorkMs())));
        QVERIFY2(watch.longestWallMs() < 5000, qPrintable(u"%1 ms"_s.arg(watch.longestWallMs())));
    }

    void exactlySixteenMebibytesAreAccepted_data() {
        QTest::addColumn<QByteArray>("framing");
        for (const char* framing : {"", "chunked", "until-close"}) {
            QTest::addRow("[%s]", framing) << QByteArray(framing);
        }
    }
    void exactlySixteenMebibytesAreAccepted() {
        QFETCH(const QByteArray, framing);
        const KumaServer server("path /api/status-page/home " + framing);
        const QByteArray padding(16 * mebibyte - emptyPage.size(), ' ');
        server.page(home, emptyPage + padding);
        FakeClock clock;
        StatusPageClient client(clock);
        QCOMPARE(sentence(await(client.fetch(server.port(), home))), QString());
        server.page(home, emptyPage + padding + ' ');
        QCOMPARE(sentence(await(client.fetch(server.port(), home))), tooLarge);
    }

    void clientMayGoWhileItWaits_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::newRow("before the answer") << QByteArray("stall");
        QTest::newRow("in the headers") << QByteArray("drip=60000");
        QTest::newRow("in the body") << QByteArray("text={} stall-after=1");
    }
    void clientMayGoWhileItWaits() {
        QFETCH(const QByteArray, mood);
        const KumaServer server("path / stall\npath /api/* " + mood);
        auto clock = std::make_unique<FakeClock>();
        auto client = std::make_unique<StatusPageClient>(*clock);
        auto reading = client->fetch(server.port(), home);
        auto answers = client->pageAnswers(server.port());
        QVERIFY(waitUntil([&] { return server.requests().size() == 2; }));
        client.reset();
        QCOMPARE(clock->pendingTimers(), 0);
        clock.reset();
        QCOMPARE(sentence(await(std::move(reading))), cancelled);
        QVERIFY(await(std::move(answers)) == PageAnswer::none);
    }

    void clientMayGoBetweenTheTwoRequests() {
        const KumaServer server;
        server.page(home, emptyPage);
        // While the only worker is busy, the first answer waits to be parsed until the client no longer exists.
        QThreadPool* const workers = QThreadPool::globalInstance();
        workers->setMaxThreadCount(1);
        QSemaphore gone;
        workers->start([&gone] { gone.acquire(); });
        FakeClock clock;
        auto client = std::make_unique<StatusPageClient>(clock);
        auto reading = client->fetch(server.port(), home);
        const bool isAnswered = waitUntil([&] { return clock.pendingTimers() == 0; });
        client.reset();
        gone.release();
        QVERIFY(isAnswered);
        QCOMPARE(sentence(await(std::move(reading))), cancelled);
        QCOMPARE(server.requests().size(), 1);
        workers->setMaxThreadCount(QThread::idealThreadCount());
    }

    void clientThatWasNeverAskedNeedsNothing() {
        FakeClock clock;
        const StatusPageClient client(clock);
        QCOMPARE(clock.pendingTimers(), 0);
    }

    /// Otherwise, every restart of the server would find its port taken for a minute.
    void portIsFreeAsSoonAsTheServerHasEnded() {
        KumaServer server;
        server.page(home, emptyPage);
        const int port = server.port();
        FakeClock clock;
        StatusPageClient client(clock);
        for (int round = 0; round < 5; ++round) {
            QVERIFY(await(client.pageAnswers(port)) == PageAnswer::usual);
            QCOMPARE(sentence(await(client.fetch(port, home))), QString());
        }
        QVERIFY(!canBind(port));
        QCOMPARE(server.stop(), 0);
        QVERIFY(canBind(port));
    }
};

ORVANEL_TEST(TestStatusPageTrouble)
#include "TestStatusPageTrouble.moc"
