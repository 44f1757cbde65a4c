#include "platform/QuitSignals.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

void ownHandler(int) {}

void (*handlerOf(int signal))(int) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

QStringList openFiles() {
    return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

class TestQuitSignals : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachSignalAsksToQuit_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void eachSignalAsksToQuit() {
        QFETCH(const int, signal);
        const QuitSignals signalsToQuit;
        const QSignalSpy requests(&signalsToQuit, &QuitSignals::quitRequested);
        QThread* thread = nullptr;
        connect(
            &signalsToQuit, &QuitSignals::quitRequested, this, [&] { thread = QThread::currentThread(); },
            Qt::DirectConnection);
        ::kill(::getpid(), signal);
        QVERIFY(waitUntil([&] { return requests.size() == 1; }));
        QCOMPARE(thread, QThread::currentThread());
        ::kill(::getpid(), signal);
        QVERIFY(waitUntil([&] { return requests.size() == 2; }));
    }

    void floodOfSignalsIsHarmless() {
        const QuitSignals signalsToQuit;
        const QSignalSpy requests(&signalsToQuit, &QuitSignals::quitRequested);
        for (int i = 0; i < 10000; ++i) {
            ::raise(SIGTERM);
        }
        QVERIFY(waitUntil([&] { return !requests.isEmpty(); }));
        drainEvents();
        QCOMPARE(requests.size(), 1);
    }

    void signalOnAnotherThreadReachesThisOne() {
        const QuitSignals signalsToQuit;
        const QSignalSpy requests(&signalsToQuit, &QuitSignals::quitRequested);
        std::thread other([] { ::raise(SIGINT); });
        other.join();
        QVERIFY(waitUntil([&] { return requests.size() == 1; }));
    }

    void handlersAreRestored() {
        ::signal(SIGINT, ownHandler);
        const auto before = handlerOf(SIGTERM);
        const QStringList filesBefore = openFiles();
        {
            const QuitSignals signalsToQuit;
            QVERIFY(handlerOf(SIGINT) != ownHandler);
            QVERIFY(handlerOf(SIGTERM) != before);
        }
        QVERIFY(handlerOf(SIGINT) == ownHandler);
        QVERIFY(handlerOf(SIGTERM) == before);
        QCOMPARE(openFiles(), filesBefore);
        ::signal(SIGINT, SIG_DFL);
    }

    void ignoredSignalStaysIgnored() {
        ::signal(SIGHUP, SIG_IGN);
        {
            const QuitSignals signalsToQuit;
            QVERIFY(handlerOf(SIGHUP) == SIG_IGN);
        }
        QVERIFY(handlerOf(SIGHUP) == SIG_IGN);
        ::signal(SIGHUP, SIG_DFL);
    }

    void childrenInheritNothing() {
        const QuitSignals signalsToQuit;
        QProcess child;
        child.start(u"/bin/sh"_s, {u"-c"_s, u"grep -E '^Sig(Blk|Ign|Cgt)' /proc/self/status; "
                                            "ls -l /proc/self/fd | grep socket; true"_s});
        QVERIFY(child.waitForFinished());
        const QByteArray output = child.readAllStandardOutput();
        QVERIFY2(!output.contains("socket:"), output.constData());
        constexpr quint64 ours = (1U << (SIGTERM - 1)) | (1U << (SIGINT - 1)) | (1U << (SIGHUP - 1));
        int lines = 0;
        for (const QByteArray& line : output.split('\n')) {
            if (line.startsWith("Sig")) {
                ++lines;
                const quint64 mask = line.mid(line.indexOf(':') + 1).trimmed().toULongLong(nullptr, 16);
                QVERIFY2((mask & ours) == 0, line.constData());
            }
        }
        QCOMPARE(lines, 3);
    }

    void signalToAChildBeforeItsProgramStartsIsTheChilds() {
        const QuitSignals signalsToQuit;
        const QSignalSpy requests(&signalsToQuit, &QuitSignals::quitRequested);
        const pid_t child = ::fork();
        if (child == 0) {
            ::raise(SIGTERM);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGTERM);
        drainEvents();
        QCOMPARE(requests.size(), 0);
    }
};

ORVANEL_TEST(TestQuitSignals)
#include "TestQuitSignals.moc"
