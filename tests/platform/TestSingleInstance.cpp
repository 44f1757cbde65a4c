#include "platform/DataLock.h"
#include "platform/SingleInstance.h"
#include "support/Await.h"
#include "support/FilePermissions.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;
using Outcome = SingleInstance::Outcome;

namespace {

const QString noBus = u"disabled:"_s;
const QString name = u"io.github.orvanel.Orvanel"_s;
const QString objectPath = u"/io/github/orvanel/Orvanel"_s;
const QString interface = u"org.freedesktop.Application"_s;

/// Another copy of the program, in a process of its own that is killed with this object.
class Other {
public:
    Other(const QString& address, const QString& lockFile, const QString& token = {}) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_ACTIVATION_TOKEN"_s, token);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QString::fromUtf8(OTHER_INSTANCE), {address, lockFile});
    }
    ~Other() { kill(); }
    Other(const Other&) = delete;
    Other& operator=(const Other&) = delete;

    /// The next line of its output; empty if it has ended.
    QString line() {
        const bool isThere =
            waitUntil([this] { return m_process.canReadLine() || m_process.state() == QProcess::NotRunning; });
        return isThere ? QString::fromUtf8(m_process.readLine().trimmed()) : u"(nothing in time)"_s;
    }
    void send(int signal) const { ::kill(static_cast<pid_t>(m_process.processId()), signal); }
    void kill() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

private:
    QProcess m_process;
};

QDBusMessage callTo(const QString& method, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(name, objectPath, interface, method);
    call.setArguments(arguments);
    return call;
}

/// Forks a process that takes the lock, says so, and waits to be killed.
pid_t processWithLock(const QString& file) {
    int ends[2];
    if (::pipe(ends) != 0) {
        qFatal("no pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        DataLock lock(file);
        const char result = lock.take() == DataLock::Result::Taken ? '+' : '-';
        [[maybe_unused]] const auto written = ::write(ends[1], &result, 1);
        ::alarm(60);
        while (true) {
            ::pause();
        }
    }
    char result = 0;
    if (::read(ends[0], &result, 1) != 1 || result != '+') {
        qFatal("the other process could not take the lock");
    }
    ::close(ends[0]);
    ::close(ends[1]);
    return child;
}

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString lockFile() const { return m_folder.filePath(u"program/.lock"_s); }

private Q_SLOTS:
    void initTestCase() { obeyFilePermissions(); }

    void secondStartActivatesTheFirst() {
        PrivateBus bus;
        SingleInstance instance(lockFile(), bus.connect());
        const QSignalSpy activated(&instance, &SingleInstance::activated);
        QCOMPARE(instance.start({}), Outcome::First);
        Other other(bus.address(), lockFile(), u"token-1"_s);
        QCOMPARE(other.line(), u"AlreadyRunning"_s);
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated[0][0].toString(), u"token-1"_s);
        Other third(bus.address(), lockFile());
        QCOMPARE(third.line(), u"AlreadyRunning"_s);
        QCOMPARE(activated.size(), 2);
        QCOMPARE(activated[1][0].toString(), QString());
    }

    void secondStartHandsItsTokensOver() {
        PrivateBus bus;
        Other first(bus.address(), lockFile());
        QCOMPARE(first.line(), u"First"_s);
        {
            SingleInstance instance(lockFile(), bus.connect());
            QCOMPARE(instance.start({u"token"_s, u"startup"_s}), Outcome::AlreadyRunning);
            QCOMPARE(first.line(), u"activated [token] [startup]"_s);
        }
        SingleInstance instance(lockFile(), bus.connect());
        QCOMPARE(instance.start({QString(), u"startup"_s}), Outcome::AlreadyRunning);
        QCOMPARE(first.line(), u"activated [] [startup]"_s);
    }

    void desktopMayActivateInEachWay() {
        PrivateBus bus;
        SingleInstance instance(lockFile(), bus.connect());
        QSignalSpy activated(&instance, &SingleInstance::activated);
        QCOMPARE(instance.start({}), Outcome::First);
        const auto desktop = bus.connect();
        const QVariantMap data{{u"activation-token"_s, u"t"_s}};
        for (const auto& call : {callTo(u"Activate"_s, {data}), callTo(u"Open"_s, {QStringList{u"file:///a"_s}, data}),
                                 callTo(u"ActivateAction"_s, {u"action"_s, QVariantList{1, u"a"_s}, data})}) {
            activated.clear();
            const auto reply = desktop.asyncCall(call);
            QVERIFY(waitUntil([&] { return reply.isFinished(); }));
            QVERIFY2(!reply.isError(), qPrintable(reply.error().message()));
            QCOMPARE(activated.size(), 1);
            QCOMPARE(activated[0][0].toString(), u"t"_s);
        }
    }

    void firstCopyMakesRoomWhenItEnds() {
        PrivateBus bus;
        {
            SingleInstance instance(lockFile(), bus.connect());
            QCOMPARE(instance.start({}), Outcome::First);
        }
        Other other(bus.address(), lockFile());
        QCOMPARE(other.line(), u"First"_s);
    }

    void hangingFirstCopyHoldsNobodyUp() {
        PrivateBus bus;
        Other first(bus.address(), lockFile());
        QCOMPARE(first.line(), u"First"_s);
        first.send(SIGSTOP);
        SingleInstance instance(lockFile(), bus.connect(), 50ms);
        const auto outcome = instance.start({});
        first.send(SIGCONT);
        QCOMPARE(outcome, Outcome::AlreadyRunning);
        // The first copy still gets the question that was waiting.
        QCOMPARE(first.line(), u"activated [] []"_s);
    }

    void killedCopyBlocksNoStart() {
        PrivateBus bus;
        for (int round = 0; round < 100; ++round) {
            Other other(bus.address(), lockFile());
            QCOMPARE(other.line(), u"First"_s);
            other.send(SIGKILL);
            SingleInstance instance(lockFile(), bus.connect());
            QCOMPARE(instance.start({}), Outcome::First);
        }
    }

    void withoutBusItJustRuns() {
        SingleInstance instance(lockFile(), PrivateBus::none());
        QCOMPARE(instance.start({}), Outcome::NoBus);
        Other other(noBus, lockFile());
        QCOMPARE(other.line(), u"DataInUse"_s);
        Other elsewhere(noBus, m_folder.filePath(u"other data/.lock"_s));
        QCOMPARE(elsewhere.line(), u"NoBus"_s);
    }

    void lockKeepsCopiesOfDifferentBusesApart() {
        PrivateBus bus;
        PrivateBus otherBus;
        SingleInstance instance(lockFile(), bus.connect());
        const QSignalSpy activated(&instance, &SingleInstance::activated);
        QCOMPARE(instance.start({}), Outcome::First);
        Other other(otherBus.address(), lockFile());
        QCOMPARE(other.line(), u"DataInUse"_s);
        Other withoutBus(noBus, lockFile());
        QCOMPARE(withoutBus.line(), u"DataInUse"_s);
        // A copy that may not run must not keep the name either.
        QVERIFY(!otherBus.connect().interface()->isServiceRegistered(name));
        QCOMPARE(activated.size(), 0);
    }

    void startDuringTheEndWaitsForIt() {
        PrivateBus bus;
        auto instance = std::make_unique<SingleInstance>(lockFile(), bus.connect());
        const QSignalSpy activated(instance.get(), &SingleInstance::activated);
        QCOMPARE(instance->start({}), Outcome::First);
        instance->leave();
        Other other(bus.address(), lockFile());
        const auto desktop = bus.connect();
        QVERIFY(waitUntil([&] { return desktop.interface()->isServiceRegistered(name).value(); }));
        QCOMPARE(other.line(), u"Leaving"_s);
        instance.reset();
        QCOMPARE(other.line(), u"Successor"_s);
        QCOMPARE(activated.size(), 0);
    }

    void lockIsWaitedForLongerWhenItsEndIsAnnounced() {
        DataLock first(lockFile());
        DataLock second(lockFile());
        QCOMPARE(first.take(), DataLock::Result::Taken);
        QCOMPARE(second.take(0ms, 1h), DataLock::Result::HeldElsewhere);
        first.announceEnd();
        std::thread end([&first] {
            std::this_thread::sleep_for(50ms);
            first.release();
        });
        QCOMPARE(second.take(0ms, 1h), DataLock::Result::TakenOver);
        end.join();
        // The announcement came from the old holder, so it does not count for the new one.
        DataLock third(lockFile());
        QCOMPARE(third.take(0ms, 1h), DataLock::Result::HeldElsewhere);
    }

    void placeWithoutLocksKeepsNobodyFromRunning() {
        QFile file(m_folder.filePath(u"a file"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        DataLock below(file.fileName() + u"/.lock"_s);
        QCOMPARE(below.take(), DataLock::Result::Impossible);
        DataLock folder(m_folder.path());
        QCOMPARE(folder.take(), DataLock::Result::Impossible);
        SingleInstance instance(m_folder.path(), PrivateBus::none());
        QCOMPARE(instance.start({}), Outcome::NoBus);
        PrivateBus bus;
        SingleInstance withBus(m_folder.path(), bus.connect());
        QCOMPARE(withBus.start({}), Outcome::First);
    }

    void lockOfAKilledProcessIsGoneAtOnce() {
        const QString file = lockFile();
        for (int round = 0; round < 100; ++round) {
            const pid_t holder = processWithLock(file);
            {
                DataLock early(file);
                QCOMPARE(early.take(), DataLock::Result::HeldElsewhere);
            }
            ::kill(holder, SIGKILL);
            int status = 0;
            QCOMPARE(::waitpid(holder, &status, 0), holder);
            DataLock lock(file);
            QCOMPARE(lock.take(), DataLock::Result::Taken);
        }
    }

    void childrenDoNotKeepTheLock() {
        const QString file = lockFile();
        QProcess child;
        {
            DataLock lock(file);
            QCOMPARE(lock.take(), DataLock::Result::Taken);
            child.start(u"/bin/cat"_s, {});
            QVERIFY(child.waitForStarted());
        }
        DataLock second(file);
        QCOMPARE(second.take(), DataLock::Result::Taken);
        child.kill();
        QVERIFY(child.waitForFinished());
    }

    void usersLockLiesBesideTheData() {
        const TestHome home;
        QCOMPARE(SingleInstance::usersLockFile(), home.path(u".local/share/Orvanel/.lock"_s));
    }

    void tokensComeFromTheEnvironment() {
        qputenv("XDG_ACTIVATION_TOKEN", "a");
        qputenv("DESKTOP_STARTUP_ID", "b");
        const auto tokens = SingleInstance::LaunchTokens::fromEnvironment();
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        QCOMPARE(tokens.activationToken, u"a"_s);
        QCOMPARE(tokens.startupId, u"b"_s);
    }
};

ORVANEL_TEST(TestSingleInstance)
#include "TestSingleInstance.moc"
