#include "ChildRuns.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QString couldNotRun(const QString& path, int error) {
    return u"Could not run %1: %2"_s.arg(path, QString::fromLocal8Bit(std::strerror(error)));
}

/// How many descriptors this process's I/O threads watch.
qsizetype watchedDescriptors() {
    qsizetype count = 0;
    const QDir folder(u"/proc/self/fdinfo"_s);
    for (const QString& name : folder.entryList(QDir::Files)) {
        QFile file(folder.filePath(name));
        count += file.open(QIODevice::ReadOnly) ? file.readAll().count("\ntfd:") : 0;
    }
    return count;
}

} // namespace

/// What a run starts, what the child finds, and what it returns.
class TestProcessRunner : public QObject {
    Q_OBJECT

    FakeClock m_clock;
    TestHome m_home;

    CommandResult run(const QStringList& arguments, const DockerCLI::OutputCallback& onOutput = {}) {
        ProcessRunner runner(&m_clock);
        return await(runChild(&runner, arguments, {}, onOutput));
    }

    CommandResult runPath(const QString& path, const QStringList& arguments = {}) {
        ProcessRunner runner(&m_clock);
        return await(runner.run(path, arguments, noLimit));
    }

private Q_SLOTS:
    void exitStatus_data() {
        QTest::addColumn<int>("status");
        QTest::newRow("success") << 0;
        QTest::newRow("failure") << 1;
        QTest::newRow("greatest") << 255;
    }

    void exitStatus() {
        QFETCH(const int, status);
        const CommandResult result = run({u"exit"_s, QString::number(status)});
        QCOMPARE(result.status, status);
        QCOMPARE(result.output, QString());
        QVERIFY(!result.timedOut);
        QVERIFY(!result.cancelled);
        QCOMPARE(result.isSuccess(), status == 0);
    }

    void statusOfASignalledChild() {
        const CommandResult result = run({u"end-by-signal"_s, QString::number(SIGKILL)});
        QCOMPARE(result.status, 128 + SIGKILL);
        QVERIFY(!result.isSuccess());
    }

    void sharedRunnerRunsToo() {
        const QStringList arguments{u"streams"_s};
        const CommandResult result = await(DockerCLI::run(QString::fromUtf8(PROCESS_TEST_CHILD), arguments, noLimit));
        QCOMPARE(result.output, u"one two three"_s);
    }

    void bothStreamsArriveMergedInOrder() { QCOMPARE(run({u"streams"_s}).output, u"one two three"_s); }

    void standardErrorAlone() {
        const CommandResult result = run({u"complain"_s, u"no such container"_s});
        QCOMPARE(result.status, 1);
        QCOMPARE(result.output, u"no such container"_s);
    }

    void standardInputIsAtItsEnd() {
        // Our own standard input has something to read, which must not reach the child.
        int ends[2] = {-1, -1};
        QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
        QCOMPARE(::write(ends[1], "x", 1), 1);
        const int ours = ::dup(STDIN_FILENO);
        const auto restore = qScopeGuard([&] {
            ::dup2(ours, STDIN_FILENO);
            for (const int descriptor : {ours, ends[0], ends[1]}) {
                ::close(descriptor);
            }
        });
        QVERIFY(::dup2(ends[0], STDIN_FILENO) == STDIN_FILENO);
        QCOMPARE(run({u"count-input"_s}).output, u"0"_s);
    }

    void argumentsArriveAsTheyAre() {
        const QStringList arguments{u"a b"_s, QString(), u"$HOME;*'\""_s, u"ü😀"_s, u"\n"_s};
        QCOMPARE(run(QStringList{u"echo"_s} + arguments).output, u"["_s + arguments.join(u"]["_s) + u"]"_s);
    }

    void environmentIsOursAlone() {
        qputenv("ORVANEL_TEST_FOREIGN", "1");
        QStringList expected;
        const auto environment = DockerCLI::environmentFor(QString::fromUtf8(PROCESS_TEST_CHILD));
        for (auto it = environment.cbegin(); it != environment.cend(); ++it) {
            expected << it.key() + u'=' + it.value() + u'\n';
        }
        QCOMPARE(run({u"environment"_s}).output, expected.join(QString()));
        qunsetenv("ORVANEL_TEST_FOREIGN");
    }

    void childGetsNoForeignDescriptors() {
        const int inheritable = ::fcntl(STDERR_FILENO, F_DUPFD, 200);
        QVERIFY(inheritable >= 200);
        const QString output = run({u"descriptors"_s}).output;
        ::close(inheritable);
        QCOMPARE(output, u"0 1 2 "_s);
    }

    void childGetsNoBlockedOrIgnoredSignals() {
        const auto ignored = ::signal(SIGPIPE, SIG_IGN);
        sigset_t blocked;
        sigset_t before;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        sigaddset(&blocked, SIGUSR1);
        ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
        const QString output = run({u"signals"_s}).output;
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        ::signal(SIGPIPE, ignored);
        // Signals 32 and 33 do not count: the C library keeps them to itself, and ignores them in a child.
        const QStringList words = output.split(QRegularExpression(u"\\s+"_s));
        QCOMPARE(words.value(0), u"SigBlk:"_s);
        QCOMPARE(words.value(1), u"0000000000000000"_s);
        QCOMPARE(words.value(2), u"SigIgn:"_s);
        bool isNumber = false;
        QCOMPARE(words.value(3).toULongLong(&isNumber, 16) & ~quint64{0x180000000}, quint64{0});
        QVERIFY(isNumber);
    }

    /// The child has no terminal on which it could ask questions.
    void childLeadsASession() { QCOMPARE(run({u"session"_s}).output, u"own"_s); }

    void statusIsKnownThoughOurParentIgnoredChildren() {
        const auto before = ::signal(SIGCHLD, SIG_IGN);
        const CommandResult result = run({u"exit"_s, u"7"_s});
        ::signal(SIGCHLD, before);
        QCOMPARE(result.status, 7);
    }

    void programThatCannotBeStarted_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("error");
        QTest::newRow("nothing there") << m_home.path(u"nothing"_s) << ENOENT;
        QTest::newRow("no path at all") << QString() << ENOENT;
        QTest::newRow("folder") << m_home.path() << EACCES;
        QTest::newRow("not executable") << m_home.write(u"plain"_s, "text") << EACCES;
        QTest::newRow("text with the executable bit") << m_home.write(u"script"_s, "echo hello\n", true) << ENOEXEC;
        QTest::newRow("zero byte") << QString(QString::fromUtf8(PROCESS_TEST_CHILD) + QChar(0) + u'x') << EINVAL;
        QTest::newRow("not looked up") << u"true"_s << ENOENT;
    }

    void programThatCannotBeStarted() {
        QFETCH(const QString, path);
        QFETCH(const int, error);
        const CommandResult result = runPath(path);
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, couldNotRun(path, error));
        QVERIFY(!result.timedOut);
        QVERIFY(!result.cancelled);
        QCOMPARE(m_clock.pendingTimers(), 0);
    }

    void systemOutOfDescriptors() {
        ProcessRunner runner(&m_clock);
        await(runChild(&runner, {u"exit"_s, u"0"_s}));
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none{.rlim_cur = 3, .rlim_max = before.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
        auto onUsedThread = runChild(&runner, {u"exit"_s, u"0"_s});
        const CommandResult used = await(std::move(onUsedThread));
        ProcessRunner fresh(&m_clock);
        auto onFreshThread = runChild(&fresh, {u"exit"_s, u"0"_s});
        const bool endedAtOnce = onFreshThread.isReady();
        ::setrlimit(RLIMIT_NOFILE, &before);
        QCOMPARE(used.output, couldNotRun(QString::fromUtf8(PROCESS_TEST_CHILD), EMFILE));
        QVERIFY(endedAtOnce);
        QCOMPARE(await(std::move(onFreshThread)).output, used.output);
        QCOMPARE(await(runChild(&fresh, {u"exit"_s, u"5"_s})).status, 5);
    }

    void outputArrivesWhileTheChildRuns() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"stay"_s}, handle, live.callback());
        QVERIFY(live.arrives(u"ready"_s));
        QVERIFY(!task.isReady());
        handle->cancel();
        await(std::move(task));
    }

    void outputArrivesOnTheRunnersThread() {
        std::atomic<QThread*> thread = nullptr;
        run({u"streams"_s}, [&thread](const QString&) { thread = QThread::currentThread(); });
        QVERIFY(thread != nullptr);
        QVERIFY(thread != QThread::currentThread());
    }

    void chunksTogetherAreTheOutput() {
        const LiveOutput live;
        const CommandResult result = run({u"lines"_s, u"900"_s}, live.callback());
        QVERIFY(live.text() == result.output);
        QVERIFY(result.output.endsWith(u"number 899\n"_s));
    }

    void lastWordsReachTheCallback() {
        for (int round = 0; round < 50; ++round) {
            const LiveOutput live;
            QCOMPARE(run({u"echo"_s, u"bye"_s}, live.callback()).output, u"[bye]"_s);
            QCOMPARE(live.text(), u"[bye]"_s);
        }
    }

    void halvesOfCharactersArriveRepairedButEndWhole() {
        const LiveOutput live;
        const CommandResult result = run({u"drip"_s, u"aä€😀"_s}, live.callback());
        QCOMPARE(result.output, u"aä€😀"_s);
        QCOMPARE(live.chunks(), QStringList{u"a"_s} + QStringList(9, u"\uFFFD"_s));
    }

    void invalidBytesAreReplaced() {
        const LiveOutput live;
        const CommandResult result = run({u"garbage"_s}, live.callback());
        QCOMPARE(result.output, u"a\uFFFD\uFFFDb\uFFFD"_s);
        QCOMPARE(live.text(), result.output);
    }

    void ofALongOutputTheEndIsKept() {
        const CommandResult result = run({u"flood"_s, u"2500000"_s});
        QVERIFY(result.output.size() >= 1'000'000);
        QVERIFY(result.output.size() <= 2'000'000);
        QVERIFY(result.output.endsWith(u"xE"_s));
    }

    void runGoesOnAfterTheOutputIsClosed() {
        const auto watchedByOthers = watchedDescriptors();
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const QString file = m_home.path(u"go"_s);
        auto task = runChild(&runner, {u"close-output"_s, file}, {}, live.callback());
        QVERIFY(live.arrives(u"last words"_s));
        // The two are the thread's mailbox and the child's end. The pipe must not be watched any more: at its end, it
        // would wake the thread without pause.
        QVERIFY(waitUntil([&] { return watchedDescriptors() == watchedByOthers + 2; }));
        QVERIFY(!task.isReady());
        m_home.write(u"go"_s, {});
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 4);
        QCOMPARE(result.output, u"last words"_s);
    }
};

ORVANEL_TEST(TestProcessRunner)
#include "TestProcessRunner.moc"
