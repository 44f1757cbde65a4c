#include "ChildRuns.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QEventLoop>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <random>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const QStringList atOnce{u"exit"_s, u"0"_s};

/// A line of /proc/self/status in bytes, such as VmHWM, the most memory that this process ever held.
qint64 memory(const QByteArray& name) {
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name + ':')) {
            return line.mid(name.size() + 1).trimmed().split(' ').first().toLongLong() * 1024;
        }
    }
    return -1;
}

bool resetMostMemory() {
    QFile file(u"/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly) && file.write("5") == 1;
}

/// Whether a test child of ours runs or waits to be reaped. Other children, which a sanitizer may have, do not count.
bool hasChildren() {
    const QByteArray parent = "\nPPid:\t" + QByteArray::number(::getpid()) + '\n';
    const QStringList processes = QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs);
    return std::any_of(processes.begin(), processes.end(), [&](const QString& id) {
        QFile file(u"/proc/%1/status"_s.arg(id));
        const QByteArray status = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        return status.startsWith("Name:\tprocess_test_ch") && status.contains(parent);
    });
}

/// Makes the system tell this thread, and every thread that it starts from now on, that there is no pidfd_open.
bool forbidProcessDescriptors() {
    std::array<sock_filter, 4> filter{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{.len = filter.size(), .filter = filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0 &&
           ::syscall(SYS_pidfd_open, ::getpid(), 0) == -1;
}

} // namespace

/// Much output, many runs, and events at inconvenient moments.
class TestProcessLoad : public QObject {
    Q_OBJECT

    FakeClock m_clock;

private Q_SLOTS:
    void twoGigabytesNeedLittleMemory() {
        ProcessRunner runner(&m_clock);
        QVERIFY(await(runChild(&runner, atOnce)).isSuccess());
        QVERIFY(resetMostMemory());
        const qint64 before = memory("VmRSS");
        QVERIFY(before > 0);
        const QStringList arguments{u"flood"_s, u"2147483648"_s};
        const CommandResult result = await(runChild(&runner, arguments));
        const qint64 grown = memory("VmHWM") - before;
        QVERIFY(result.isSuccess());
        QVERIFY(result.output.endsWith(u'E'));
        QVERIFY2(grown < qint64{32} * 1024 * 1024, qPrintable(QString::number(grown)));
    }

    void manyRunsAtOnce() {
        ProcessRunner runner(&m_clock);
        QVERIFY(await(runChild(&runner, atOnce)).isSuccess());
        const auto files = openFiles();
        const auto threads = threadCount();
        std::vector<QCoro::Task<CommandResult>> tasks;
        for (int number = 0; number < 500; ++number) {
            const QStringList arguments{u"echo"_s, QString::number(number)};
            tasks.push_back(runChild(&runner, arguments));
        }
        auto mostThreads = threads;
        for (int number = 0; number < 500; ++number) {
            const CommandResult result = await(std::move(tasks[static_cast<std::size_t>(number)]));
            QVERIFY(result.isSuccess());
            QCOMPARE(result.output, u"[%1]"_s.arg(number));
            mostThreads = std::max(mostThreads, threadCount());
        }
        QCOMPARE(mostThreads, threads);
        QCOMPARE(openFiles(), files);
        QVERIFY(!hasChildren());
    }

    /// Children that write without end must not keep others from being read.
    void talkersLeaveRoomForOthers() {
        ProcessRunner runner(&m_clock);
        const QStringList endless{u"flood"_s, u"1000000000000000"_s};
        std::vector<std::shared_ptr<ProcessHandle>> handles;
        std::vector<QCoro::Task<CommandResult>> talkers;
        for (int number = 0; number < 4; ++number) {
            handles.push_back(std::make_shared<ProcessHandle>());
            talkers.push_back(runChild(&runner, endless, handles.back()));
        }
        for (int number = 0; number < 20; ++number) {
            QVERIFY(await(runChild(&runner, atOnce)).isSuccess());
        }
        for (std::size_t number = 0; number < talkers.size(); ++number) {
            QVERIFY(!talkers[number].isReady());
            handles[number]->cancel();
            QVERIFY(await(std::move(talkers[number])).cancelled);
        }
    }

    void nothingIsLeftOfManyRuns() {
        ProcessRunner runner(&m_clock);
        QVERIFY(await(runChild(&runner, atOnce)).isSuccess());
        const auto files = openFiles();
        const auto threads = threadCount();
        for (int number = 0; number < 200; ++number) {
            const QString path = number % 5 == 0 ? u"/does/not/exist"_s : QString::fromUtf8(PROCESS_TEST_CHILD);
            await(runner.run(path, atOnce, noLimit));
        }
        QCOMPARE(openFiles(), files);
        QCOMPARE(threadCount(), threads);
        QCOMPARE(m_clock.pendingTimers(), 0);
        QVERIFY(!hasChildren());
    }

    void nothingIsLeftOfARunner() {
        drainEvents();
        const auto files = openFiles();
        const auto threads = threadCount();
        {
            ProcessRunner runner(&m_clock);
            QVERIFY(await(runChild(&runner, atOnce)).isSuccess());
            QVERIFY(threadCount() > threads);
        }
        QCOMPARE(threadCount(), threads);
        QCOMPARE(openFiles(), files);
    }

    void thousandCancelsAtAnyMoment() {
        constexpr int rounds = 25;
        constexpr std::size_t runs = 40;
        std::mt19937 random(20240301);
        ProcessRunner runner(&m_clock);
        QVERIFY(await(runChild(&runner, atOnce)).isSuccess());
        const auto files = openFiles();
        int cancelled = 0;
        for (int round = 0; round < rounds; ++round) {
            std::vector<std::shared_ptr<ProcessHandle>> handles(runs);
            std::generate(handles.begin(), handles.end(), std::make_shared<ProcessHandle>);
            auto order = handles;
            std::shuffle(order.begin(), order.end(), random);
            std::thread canceller([order, pause = random() % 1000] {
                for (const auto& handle : order) {
                    std::this_thread::sleep_for(std::chrono::microseconds(pause));
                    handle->cancel();
                }
            });
            std::vector<QCoro::Task<CommandResult>> tasks;
            tasks.reserve(runs);
            for (const auto& handle : handles) {
                tasks.push_back(runChild(&runner, {u"streams"_s}, handle));
            }
            for (auto& task : tasks) {
                const CommandResult result = await(std::move(task));
                const bool notStarted = result.status == -1 && result.output.isEmpty();
                const bool ended = result.status == 0 && result.output == u"one two three"_s;
                QVERIFY(result.cancelled ? notStarted || ended || result.status == 128 + SIGTERM : ended);
                cancelled += result.cancelled ? 1 : 0;
            }
            canceller.join();
        }
        QVERIFY(cancelled > 0);
        QVERIFY(!hasChildren());
        QCOMPARE(openFiles(), files);
        QCOMPARE(m_clock.pendingTimers(), 0);
    }

    void worksWithoutProcessDescriptors() {
        bool isForbidden = false;
        std::optional<CommandResult> ended;
        std::optional<CommandResult> stopped;
        // The prohibition ends with this thread, so the runner's thread is started from here.
        std::thread([&] {
            const QEventLoop dispatchesEvents;
            isForbidden = forbidProcessDescriptors();
            {
                ProcessRunner runner(&m_clock);
                const LiveOutput live;
                const auto handle = std::make_shared<ProcessHandle>();
                ended = await(runChild(&runner, {u"exit"_s, u"9"_s}));
                auto task = runChild(&runner, {u"stay"_s}, handle, live.callback());
                if (live.arrives(u"ready"_s)) {
                    handle->cancel();
                }
                stopped = await(std::move(task));
            }
            drainEvents();
        }).join();
        QVERIFY(isForbidden);
        QCOMPARE(ended->status, 9);
        QCOMPARE(stopped->status, 128 + SIGTERM);
    }

    /// At its end, the program must not wait for children, nor crash because of them.
    void programEndsWhileChildrenRun() {
        ProcessRunner runner(&m_clock);
        // Qt warns if the locale is not UTF-8. Children get LANG but no other variable of the locale.
        const QStringList arguments{u"LC_ALL=C.UTF-8"_s, QString::fromUtf8(PROCESS_TEST_LEAVER),
                                    QString::fromUtf8(PROCESS_TEST_CHILD)};
        auto task = runner.run(u"/usr/bin/env"_s, arguments, noLimit);
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.output, u"leaving 0 threads\n"_s);
        QCOMPARE(result.status, 0);
    }
};

ORVANEL_TEST(TestProcessLoad)
#include "TestProcessLoad.moc"
