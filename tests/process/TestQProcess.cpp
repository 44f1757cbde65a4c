#include "ChildRuns.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QProcess>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

/// Why QProcess does not run our children. If a test here fails, Qt can now do what our runner is for, and QProcess
/// should be considered again.
class TestQProcess : public QObject {
    Q_OBJECT

    static void start(QProcess& process, const QStringList& arguments) {
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QString::fromUtf8(PROCESS_TEST_CHILD), arguments);
    }

    /// The id that the child prints first.
    static qint64 saidId(QProcess& process) {
        QByteArray text;
        const bool isSaid = waitUntil([&] {
            text += process.readAll();
            return text.contains(' ');
        });
        return isSaid ? text.left(text.indexOf(' ')).toLongLong() : 0;
    }

private Q_SLOTS:
    void initTestCase() {
#ifdef __has_feature
#if __has_feature(thread_sanitizer)
        QSKIP("the thread sanitizer ends programs in which QProcess forks");
#endif
#endif
    }

    /// Our runner reads it: TestGrandchildren, grandchildIsReadToItsEnd.
    void losesWhatAGrandchildWritesLater() {
        const TestHome home;
        QProcess process;
        start(process, {u"leave-grandchild"_s, home.path(u"go"_s)});
        QVERIFY(waitUntil([&] { return process.state() == QProcess::NotRunning; }));
        QCOMPARE(process.exitCode(), 6);
        process.readAll();
        home.write(u"go"_s, {});
        QVERIFY(waitUntil([&] { return QFile::exists(home.path(u"go.survived"_s)); }));
        drainEvents();
        QCOMPARE(process.readAll(), QByteArray());
    }

    /// Our runner never kills and never waits: TestProcessStop, deafChildIsGivenUpAfterTheTimeLimit.
    void killsItsChildAndWaitsForItWhenItGoes() {
        const TestHome home;
        auto process = std::make_unique<QProcess>();
        start(*process, {u"deaf"_s, home.path(u"go"_s)});
        const qint64 child = saidId(*process);
        QVERIFY(child > 0);
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"QProcess: Destroyed while process .* is still running"_s));
        process.reset();
        QCOMPARE(processState(child), ' ');
    }
};

ORVANEL_TEST(TestQProcess)
#include "TestQProcess.moc"
