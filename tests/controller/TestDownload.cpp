#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto starting = u"Starting Uptime Kuma…"_s;
const auto downloading = u"Downloading the Uptime Kuma image"_s;

} // namespace

/// The download of the image, and cancelling it before, during and afterwards.
class TestDownload : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pullingIsTrueOnlyDuringTheDownload() {
        ControllerFixture world;
        world.latency = [](const QString&) { return 2s; };
        KumaController& kuma = world.controller();
        bool isRight = true;
        int downloads = 0;
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] {
            isRight = isRight && (!kuma.state().pulling || kuma.state().busy == downloading);
            downloads += kuma.state().pulling ? 1 : 0;
        });
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(isRight);
        QVERIFY(downloads > 0);
        QVERIFY(!kuma.state().pulling);
    }

    void failuresOfTheDownload_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QByteArray>("trouble");
        QTest::addColumn<QString>("message");
        const auto noInternet = u"Docker could not reach the internet to download the image. Check your connection."_s;
        const auto full = u"Your disk is full. Free some space and try again."_s;
        const auto late = u"Docker did not answer in time."_s;
        const auto other = u"Docker reported an error."_s;
        for (const bool compose : {true, false}) {
            const char* how = compose ? "compose" : "plain";
            QTest::addRow("no internet, %s", how) << compose << QByteArray("unreachable") << noInternet;
            QTest::addRow("disk full, %s", how) << compose << QByteArray("disk full") << full;
            QTest::addRow("never ends, %s", how) << compose << QByteArray("hangs") << late;
            QTest::addRow("silent, %s", how) << compose << QByteArray("silent") << other;
        }
    }

    void failuresOfTheDownload() {
        QFETCH(const bool, compose);
        QFETCH(const QByteArray, trouble);
        ControllerFixture world;
        world.docker().compose = compose;
        const char* pull = compose ? "compose pull" : "pull";
        if (trouble == "unreachable") {
            world.docker().registry = standin::Registry::unreachable;
        } else if (trouble == "disk full") {
            world.docker().diskFull = true;
        } else if (trouble == "hangs") {
            world.hang(pull);
        } else {
            world.answer(pull, 1, QString());
        }
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error.has_value());
        QTEST(kuma.state().error->message, "message");
        QCOMPARE(kuma.state().error->details.isEmpty(), false);
        if (trouble == "silent") {
            QCOMPARE(kuma.state().error->details, u"(no output)"_s);
        }
        QVERIFY(!kuma.state().pulling && !kuma.state().suggestedPort);
        QVERIFY(!world.docker().container);
        QVERIFY(!world.takeCommands().contains(u"compose up"_s));
    }

    void cancelWhileIdleIsHarmless() {
        ControllerFixture world;
        world.controller().cancelOperation();
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(world.controller().state().kuma == KumaState::running);
    }

    /// A cancel lets the command under way run to its end, but prevents what would come after it.
    void cancelDuringACommandThatCannotBeCancelled_data() {
        QTest::addColumn<QByteArray>("during");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<bool>("saysCancelled");
        QTest::newRow("info") << QByteArray("info") << names({"info", "inspect", "compose version"}) << false;
        QTest::newRow("container probe") << QByteArray("inspect")
                                         << names({"info", "inspect", "image inspect", "compose version",
                                                   "compose pull", "inspect"})
                                         << true;
        QTest::newRow("image probe") << QByteArray("image inspect")
                                     << names({"info", "inspect", "image inspect", "compose version", "compose pull",
                                               "inspect"})
                                     << true;
        QTest::newRow("compose probe") << QByteArray("compose version")
                                       << names({"info", "inspect", "image inspect", "compose version", "compose pull",
                                                 "inspect"})
                                       << true;
    }

    void cancelDuringACommandThatCannotBeCancelled() {
        QFETCH(const QByteArray, during);
        ControllerFixture world;
        world.delay(during.constData(), 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        QCOMPARE(world.underWay(), QStringList(QString::fromLatin1(during)));
        kuma.cancelOperation();
        world.settle();
        QCOMPARE(world.underWay(), QStringList(QString::fromLatin1(during)));
        QVERIFY(kuma.state().busy.has_value());
        QVERIFY(world.operationEnds());
        QTEST(world.takeCommands(), "commands");
        QCOMPARE(kuma.state().error.has_value(), QTest::currentDataTag() != QByteArray("info"));
        if (kuma.state().error) {
            QCOMPARE(*kuma.state().error, (OpError{u"Cancelled."_s, QString()}));
        }
        // Nothing was downloaded: the command was not even started.
        QVERIFY(world.docker().images.empty());
        QVERIFY(!world.docker().container);
        QVERIFY(kuma.state().pullLog.isEmpty());
    }

    void cancelDuringTheImageProbeOfAPresentImageBringsNothingUp() {
        ControllerFixture world;
        standin::addImage(world.docker());
        world.delay("image inspect", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "image inspect", "inspect", "compose version"}));
        QVERIFY(!kuma.state().error);
        QVERIFY(!world.docker().container);
    }

    void cancelEndsTheDownload_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    void cancelEndsTheDownload() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        world.docker().pace = 1;
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(6s);
        QVERIFY(kuma.state().pulling);
        QCOMPARE(kuma.state().busy, downloading);
        QVERIFY(!kuma.state().pullLog.isEmpty());
        kuma.cancelOperation();
        world.settle();
        QVERIFY(!kuma.state().pulling);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error->message, u"Cancelled."_s);
        QVERIFY(!kuma.state().error->details.isEmpty());
        QVERIFY(kuma.state().error->details.startsWith(kuma.state().pullLog));
        QVERIFY(world.docker().images.empty());
        QVERIFY(!world.docker().container);
        // The next start downloads from the beginning.
        kuma.start();
        QVERIFY(!kuma.state().error);
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void cancelAfterTheDownloadBringsNothingUp() {
        ControllerFixture world;
        // Like old clients, it finishes its work although it is told to stop.
        world.docker().overrides.push_back(
            {.command = "compose pull", .exitCode = 0, .out = "Pulled", .delay = 5000, .ignoresTerm = true});
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        QVERIFY(kuma.state().pulling);
        kuma.cancelOperation();
        world.settle();
        QVERIFY(kuma.state().pulling);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"Cancelled."_s, u"Pulled"_s}));
        QVERIFY(!world.takeCommands().contains(u"compose up"_s));
    }

    void cancelWhileBringingUpComesTooLate() {
        ControllerFixture world;
        standin::addImage(world.docker());
        world.delay("compose up", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void cancelledOperationDoesNotCancelTheNext() {
        ControllerFixture world;
        world.delay("info", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.settle();
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void logOfTheDownloadIsLiveAndCapped() {
        ControllerFixture world;
        world.docker().pace = 1;
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(4s);
        const QString early = kuma.state().pullLog;
        QVERIFY(early.contains(u"Pulling"_s));
        world.advance(2s);
        QVERIFY(kuma.state().pullLog.startsWith(early) && kuma.state().pullLog.size() > early.size());
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().pullLog.contains(u"Pulled"_s));

        // The next download begins with an empty one.
        world.docker().images.clear();
        world.docker().container.reset();
        QString flood;
        for (int i = 0; i < 5000; ++i) {
            flood += u"line %1\n"_s.arg(i);
        }
        world.answer("compose pull", 0, flood);
        world.docker().pullable.clear();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().pullLog.size(), qsizetype(20000));
        QVERIFY(flood.endsWith(kuma.state().pullLog));
    }

    void shutdownEndsADownload() {
        ControllerFixture world;
        world.docker().pace = 1;
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(5s);
        QVERIFY(kuma.state().pulling);
        kuma.shutdownPolling();
        world.settle();
        QVERIFY(!kuma.state().pulling);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error->message, u"Cancelled."_s);
        QVERIFY(!world.docker().container);
    }
};

ORVANEL_TEST(TestDownload)
#include "TestDownload.moc"
