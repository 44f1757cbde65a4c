#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QFile>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto starting = u"Starting Uptime Kuma…"_s;

void confirmRemoval(ControllerFixture& world) {
    world.controller().removeEverything();
    world.dialogs.answerAll(true);
    world.settle();
}

} // namespace

class TestRemoveAndLogs : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void removeEverythingAsksFirst() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        kuma.removeEverything();
        QCOMPARE(world.dialogs.questions.size(), 1);
        const Alert& alert = world.dialogs.questions.first().alert;
        QVERIFY(alert.style == Alert::Style::Critical);
        QCOMPARE(alert.message, u"Remove everything?"_s);
        QCOMPARE(alert.informativeText,
                 u"This removes the Uptime Kuma container and permanently deletes all your monitors and "
                 "history in this folder:\n\n"_s +
                     kuma.dataDir() + u"\n\nThis cannot be undone."_s);
        QCOMPARE(alert.confirmButton, u"Delete Everything"_s);
        QCOMPARE(alert.cancelButton, u"Cancel"_s);
        world.advance(60s);
        QVERIFY(!kuma.state().busy);
        world.dialogs.answerAll(false);
        world.settle();
        QVERIFY(!kuma.state().busy);
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(QFile::exists(kuma.dataDir() + u"/kuma.db"_s));
    }

    void removeEverything_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("compose") << true << names({"inspect", "compose down", "inspect"});
        QTest::newRow("plain") << false << names({"inspect", "rm", "inspect"});
    }

    void removeEverything() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        world.page.status = statusPage({monitor(1, 1)});
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.begin();
        world.settle();
        QCOMPARE(kuma.state().monitors.size(), 1);
        world.home.write(u".local/share/Orvanel/data/upload/logo.png"_s, "x");
        world.takeCommands();
        const qsizetype before = world.commands().size();
        // Without this delay everything might be done by now, because the data is deleted on another thread.
        world.delay("inspect", 1s, 1);
        confirmRemoval(world);
        QCOMPARE(kuma.state().busy, u"Removing…"_s);
        QVERIFY(world.operationEnds());
        QTEST(world.takeCommands().mid(0, 3), "commands");
        QCOMPARE(world.commands().at(before + 1).limit.count(), 90.0);
        QVERIFY(!kuma.state().error);
        QVERIFY(!world.docker().container);
        QVERIFY(!QFile::exists(kuma.dataDir()));
        QVERIFY(QFile::exists(kuma.composeURL()));
        QVERIFY(kuma.state().monitors.isEmpty());
        QVERIFY(kuma.state().kuma == KumaState::stopped);
    }

    void pausedContainerIsRemoved() {
        for (const bool compose : {true, false}) {
            ControllerFixture world;
            world.docker().compose = compose;
            KumaController& kuma = world.controller();
            kuma.start();
            QVERIFY(world.operationEnds());
            world.docker().container->state = "paused";
            confirmRemoval(world);
            QVERIFY(world.operationEnds());
            QVERIFY(!kuma.state().error);
            QVERIFY(!world.docker().container);
            QVERIFY(!QFile::exists(kuma.dataDir()));
        }
    }

    /// The container was made without compose, which was installed later.
    void containerThatComposeLeavesAloneIsRemoved_data() {
        QTest::addColumn<bool>("rmFails");
        QTest::newRow("removed") << false;
        QTest::newRow("not removed") << true;
    }

    void containerThatComposeLeavesAloneIsRemoved() {
        QFETCH(const bool, rmFails);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.docker().container->owner = standin::Owner::plain;
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        if (rmFails) {
            world.answer("rm", 1, u"no"_s);
        }
        world.takeCommands();
        confirmRemoval(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "compose down", "inspect", "rm", "inspect"}));
        QCOMPARE(world.docker().container.has_value(), rmFails);
        QCOMPARE(kuma.state().error.has_value(), rmFails);
        QCOMPARE(QFile::exists(kuma.dataDir()), rmFails);
    }

    void removalThatFailsKeepsTheData_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    void removalThatFailsKeepsTheData() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        world.answer(compose ? "compose down" : "rm", 1, u"no"_s);
        confirmRemoval(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"Docker reported an error."_s, u"no"_s}));
        QVERIFY(QFile::exists(kuma.dataDir() + u"/kuma.db"_s));
        QVERIFY(world.docker().container.has_value());
    }

    void removalThatTakesTooLongKeepsTheData() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.hang("compose down");
        confirmRemoval(world);
        world.advance(89999ms);
        QVERIFY(kuma.state().busy.has_value());
        world.advance(1ms);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error->message, u"Docker did not answer in time."_s);
        QVERIFY(QFile::exists(kuma.dataDir()));
    }

    void removalWithoutAContainerDeletesTheData() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        for (const bool isDockerThere : {true, false}) {
            world.installedDocker = isDockerThere ? std::optional(u"/opt/bin/docker"_s) : std::nullopt;
            kuma.recheck();
            QVERIFY(world.everythingEnds());
            world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "x");
            world.takeCommands();
            confirmRemoval(world);
            QVERIFY(world.operationEnds());
            QVERIFY(!kuma.state().error);
            QVERIFY(!QFile::exists(kuma.dataDir()));
            QCOMPARE(world.takeCommands(), isDockerThere ? names({"inspect", "inspect"}) : QStringList());
        }
    }

    void removalThatCannotLookKeepsTheData_data() {
        QTest::addColumn<bool>("answers");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("details");
        const auto refusal = u"permission denied while trying to connect to the Docker daemon socket"_s;
        QTest::newRow("refused") << true << refusal << refusal;
        QTest::newRow("no answer") << false << QString() << u"Docker did not answer in time."_s;
    }

    void removalThatCannotLookKeepsTheData() {
        QFETCH(const bool, answers);
        QFETCH(const QString, output);
        QFETCH(const QString, details);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        if (answers) {
            world.answer("inspect", 1, output);
        } else {
            world.hang("inspect");
        }
        confirmRemoval(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error,
                 (OpError{u"Could not make sure that Uptime Kuma is stopped. Nothing was deleted."_s, details}));
        QVERIFY(QFile::exists(kuma.dataDir() + u"/kuma.db"_s));
        QVERIFY(world.docker().container.has_value());
    }

    /// The tool has not been looked for yet, and a server of the last session may be running.
    void removalLooksForTheTool() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        const KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        confirmRemoval(world);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.docker().container);
        QVERIFY(!QFile::exists(kuma.dataDir()));
    }

    void removalWritesTheComposeFileAnew_data() {
        QTest::addColumn<bool>("isThere");
        QTest::newRow("deleted") << false;
        QTest::newRow("spoilt") << true;
    }

    void removalWritesTheComposeFileAnew() {
        QFETCH(const bool, isThere);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(QFile::remove(kuma.composeURL()));
        if (isThere) {
            world.home.write(u".local/share/Orvanel/docker-compose.yml"_s, "services: [");
        }
        confirmRemoval(world);
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(!world.docker().container);
        QVERIFY(!QFile::exists(kuma.dataDir()));
    }

    /// While the user types a path into the settings, the tool changes. The answer still counts for the tool that was
    /// asked.
    void anotherToolChosenDuringTheLookChangesNothing() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        world.answer("inspect", 1, u"permission denied while trying to connect"_s, 1, 5s);
        confirmRemoval(world);
        kuma.setDockerOverride(u"/elsewhere/docker"_s);
        QVERIFY(!kuma.state().dockerPath);
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error->message.endsWith(u"Nothing was deleted."_s));
        QVERIFY(QFile::exists(kuma.dataDir() + u"/kuma.db"_s));

        kuma.recheck();
        QVERIFY(world.everythingEnds());
        world.answerAsUsual();
        world.delay("inspect", 5s, 1);
        confirmRemoval(world);
        kuma.setDockerOverride(u"/elsewhere/too/docker"_s);
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(!world.docker().container);
    }

    /// The tool may be in a place that only the setting named, and the server runs on without it.
    void removalWithoutAToolKeepsTheDataWhileSomebodyHoldsThePort() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        const KumaController& kuma = world.controller();
        world.listeningPorts = {kuma.state().port};
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        confirmRemoval(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error,
                 (OpError{u"Could not make sure that Uptime Kuma is stopped. Nothing was deleted."_s,
                          u"Docker was not found, and port 3001 is in use."_s}));
        QVERIFY(QFile::exists(kuma.dataDir() + u"/kuma.db"_s));
    }

    void removalConfirmedDuringAnotherOperationIsDropped() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.removeEverything();
        world.delay("info", 5s);
        kuma.start();
        world.settle();
        world.dialogs.answerAll(true);
        world.settle();
        QCOMPARE(kuma.state().busy, starting);
        QVERIFY(world.operationEnds());
        QVERIFY(world.everythingEnds());
        QVERIFY(QFile::exists(kuma.dataDir()));
        QVERIFY(world.docker().container.has_value());
    }

    void logs_data() {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("text");
        const auto none = u"No logs. The container may not exist yet."_s;
        QTest::newRow("lines") << 0 << "one\ntwo\n"
                               << "one\ntwo\n";
        QTest::newRow("as they are") << 0 << "\x1b[36m  <b>\x1b[0m\n\n"
                                     << "\x1b[36m  <b>\x1b[0m\n\n";
        QTest::newRow("a quiet server") << 0 << QString() << QString();
        QTest::newRow("failed without a word") << 1 << QString() << none;
        QTest::newRow("failed with words") << 1 << "Error response from daemon\n"
                                           << "Error response from daemon\n";
    }

    void logs() {
        QFETCH(const int, exitCode);
        QFETCH(const QString, output);
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        world.answer("logs", exitCode, output);
        world.takeCommands();
        const qsizetype before = world.commands().size();
        QTEST(await(world.controller().fetchLogs()), "text");
        QCOMPARE(world.takeCommands(), names({"logs"}));
        QCOMPARE(world.commands().at(before).arguments, names({"logs", "--tail", "300", "orvanel"}));
        QCOMPARE(world.commands().at(before).limit.count(), 15.0);
    }

    void logsWithoutATool() {
        ControllerFixture world;
        QCOMPARE(await(world.controller().fetchLogs()), u"Docker was not found."_s);
        QVERIFY(world.commands().isEmpty());
    }

    void logsOfADockerThatHangs() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        world.hang("logs");
        auto logs = world.controller().fetchLogs();
        world.advance(14999ms);
        QVERIFY(!logs.isReady());
        world.advance(1ms);
        QCOMPARE(await(std::move(logs)), u"No logs. The container may not exist yet."_s);
    }

    void logsDuringAnOperation() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.docker().log = "hello\n";
        world.delay("compose stop", 5s);
        kuma.stop();
        world.settle();
        QCOMPARE(await(kuma.fetchLogs()), u"hello\n"_s);
        QCOMPARE(kuma.state().busy, u"Stopping…"_s);
    }
};

ORVANEL_TEST(TestRemoveAndLogs)
#include "TestRemoveAndLogs.moc"
