#include "UpdateSteps.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto updating = u"Updating…"_s;

} // namespace

/// Moving to the newest release.
class TestUpdate : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAKnownReleaseNothingHappens() {
        ControllerFixture world;
        world.controller().updateNow();
        world.settle();
        QVERIFY(world.dialogs.questions.isEmpty());
        QVERIFY(!world.controller().state().busy);
    }

    void asksFirst() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        kuma.updateNow();
        QCOMPARE(world.dialogs.questions.size(), 1);
        const Alert alert = world.dialogs.questions.first().alert;
        QCOMPARE(alert.message, u"Update Uptime Kuma to 2.1.0?"_s);
        QCOMPARE(alert.informativeText,
                 u"Your data is backed up first and never deleted. A major version change may need Uptime "
                 "Kuma's own migration, so read the release notes."_s);
        QCOMPARE(alert.confirmButton, u"Update"_s);
        QCOMPARE(alert.cancelButton, u"Cancel"_s);
        world.dialogs.answerAll(false);
        world.settle();
        QVERIFY(!kuma.state().busy);
        QVERIFY(world.backups.jobs.isEmpty());
        verifyUntouched(world);
    }

    void updates_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("compose") << true << names({"compose pull", "inspect", "compose up", "inspect"});
        QTest::newRow("plain") << false << names({"pull", "inspect", "rm", "run", "inspect"});
    }

    void updates() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        const std::string oldContainer = world.docker().container->id;
        QStringList texts;
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] {
            const QString text = kuma.state().busy.value_or(u"-"_s);
            if (texts.isEmpty() || texts.last() != text) {
                texts.append(text);
            }
        });
        QStringList tagsAtBackup;
        world.backups.onWork = [&](const ScriptedBackups::Job&) { tagsAtBackup.append(kuma.state().imageTag); };
        confirmUpdate(world);
        QVERIFY(world.operationEnds());

        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error ? kuma.state().error->details : QString()));
        QTEST(world.takeCommands(), "commands");
        QCOMPARE(texts, (QStringList{updating, u"Downloading the Uptime Kuma image"_s,
                                     u"Restarting with the new version…"_s, u"-"_s}));
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.backups.jobs.first().kind, u"auto backup"_s);
        QCOMPARE(world.backups.jobs.first().arguments,
                 (QStringList{kuma.dataDir(), world.applicationSupport + u"/Orvanel/Backups"_s, u"before-update"_s}));
        QCOMPARE(tagsAtBackup, QStringList(oldTag));
        QCOMPARE(kuma.state().imageTag, newTag);
        QCOMPARE(storedTag(world), newTag);
        QCOMPARE(textOf(kuma.composeURL()), composeText(newTag, kuma.state().port));
        QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2.1.0"));
        QVERIFY(world.docker().container->id != oldContainer);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void sameTagRunsTheWholeSequence() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        kuma.setImageTag(newTag);
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.takeCommands(), names({"compose pull", "inspect", "compose up", "inspect"}));
        QCOMPARE(kuma.state().imageTag, newTag);
    }

    void whatWasConfirmedIsWhatIsInstalled() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        kuma.updateNow();
        world.releases.answer = LatestRelease{.version = u"9"_s};
        kuma.checkForUpdates();
        world.settle();
        QCOMPARE(kuma.state().latestVersion, u"9"_s);
        world.dialogs.answerAll(true);
        world.settle();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().imageTag, newTag);
    }

    void withoutDataThereIsNothingToBackUp() {
        ControllerFixture world;
        prepareUpdate(world);
        world.backups.hasData = false;
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().state().error);
        QCOMPARE(world.controller().state().imageTag, newTag);
    }

    void withoutAToolNothingHappens() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        world.installedDocker.reset();
        kuma.setDockerOverride(QString());
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(kuma.state().imageTag, oldTag);
    }

    void backupThatFailsChangesNothing() {
        ControllerFixture world;
        prepareUpdate(world);
        world.backups.failure = u"The disk is full."_s;
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"The backup before the update failed, so nothing was changed."_s, u"The disk is full."_s}));
        QCOMPARE(world.takeCommands(), names({"inspect"}));
        verifyUntouched(world);
    }

    void backupThatDidNotPassItsCheckStopsTheUpdate() {
        ControllerFixture world;
        prepareUpdate(world);
        world.backups.databaseProblem = u"row 7 missing from index"_s;
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"The backup before the update did not pass a check, so nothing was changed."_s,
                          u"row 7 missing from index\n\nThe backup is\n%1/before-update"_s.arg(
                              world.controller().backupsDir())}));
        verifyUntouched(world);
    }

    void backupThatCouldNotBeCheckedIsToldAfterTheUpdate() {
        ControllerFixture world;
        prepareUpdate(world);
        world.backups.databaseNotChecked = u"The disk has too little room."_s;
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().imageTag, newTag);
        QCOMPARE(world.controller().state().error,
                 (OpError{u"The update was made, but the backup before it could not be checked."_s,
                          u"The disk has too little room.\n\nThe backup is\n%1/before-update"_s.arg(
                              world.controller().backupsDir())}));
    }

    void composeFileThatCannotBeWrittenTakesTheTagBack() {
        ControllerFixture world;
        prepareUpdate(world);
        const KumaController& kuma = world.controller();
        // A folder in the place of the file cannot be replaced.
        QFile::remove(kuma.composeURL());
        world.home.write(u".local/share/Orvanel/docker-compose.yml/x"_s, "x");
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error->message, u"Could not write the compose file."_s);
        QVERIFY(!kuma.state().error->details.isEmpty());
        QCOMPARE(kuma.state().imageTag, oldTag);
        QCOMPARE(storedTag(world), oldTag);
        QCOMPARE(world.takeCommands(), names({"inspect"}));
    }

    void downloadThatFailsTakesEverythingBack_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<bool>("hangs");
        QTest::addColumn<QString>("message");
        const auto offline = u"Docker could not reach the internet to download the image. Check your connection."_s;
        QTest::newRow("compose") << true << false << offline;
        QTest::newRow("plain") << false << false << offline;
        QTest::newRow("in time") << true << true << u"Docker did not answer in time."_s;
    }

    void downloadThatFailsTakesEverythingBack() {
        QFETCH(const bool, compose);
        QFETCH(const bool, hangs);
        ControllerFixture world;
        world.docker().compose = compose;
        prepareUpdate(world);
        world.docker().registry = standin::Registry::unreachable;
        if (hangs) {
            world.hang("compose pull");
        }
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QTEST(world.controller().state().error->message, "message");
        QCOMPARE(world.takeCommands(), compose ? names({"compose pull", "inspect"}) : names({"pull", "inspect"}));
        verifyUntouched(world);
        QVERIFY(world.controller().state().kuma == KumaState::running);
    }

    void cancelOfTheDownloadTakesEverythingBack() {
        ControllerFixture world;
        prepareUpdate(world);
        world.hang("compose pull");
        confirmUpdate(world);
        QCOMPARE(world.controller().state().imageTag, newTag);
        world.controller().cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error->message, u"Cancelled."_s);
        verifyUntouched(world);
    }

    void cancelDuringTheBackupDownloadsNothing() {
        ControllerFixture world;
        prepareUpdate(world);
        world.backups.holds = true;
        confirmUpdate(world);
        QCOMPARE(world.controller().state().busy, updating);
        world.controller().cancelOperation();
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error->message, u"Cancelled."_s);
        verifyUntouched(world);
    }

    void tagChosenDuringTheDownloadStays() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        world.hang("compose pull");
        confirmUpdate(world);
        kuma.setImageTag(u"nightly"_s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().imageTag, u"nightly"_s);
        QCOMPARE(textOf(kuma.composeURL()), composeText(u"nightly"_s, kuma.state().port));
    }

    void bringUpThatFailsKeepsTheNewTag() {
        ControllerFixture world;
        prepareUpdate(world);
        const KumaController& kuma = world.controller();
        world.answer("compose up", 1, u"no"_s);
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"Docker reported an error."_s, u"no"_s}));
        QCOMPARE(kuma.state().imageTag, newTag);
        QCOMPARE(storedTag(world), newTag);
        QCOMPARE(textOf(kuma.composeURL()), composeText(newTag, kuma.state().port));
    }

    void nameThatIsNoTagIsRefused_data() {
        QTest::addColumn<QString>("version");
        QTest::newRow("another line") << u"2\n    privileged: true"_s;
        QTest::newRow("blanks") << u"Release 2"_s;
        QTest::newRow("nothing") << QString();
        QTest::newRow("a comment") << u"2 #"_s;
        QTest::newRow("another image") << u"2@sha256:0"_s;
        QTest::newRow("no end") << QString(1'000'000, u'2');
    }

    void nameThatIsNoTagIsRefused() {
        QFETCH(const QString, version);
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        world.releases.answer = LatestRelease{.version = version};
        kuma.checkForUpdates();
        QVERIFY(world.everythingEnds());
        QCOMPARE(kuma.state().latestVersion, version);
        kuma.updateNow();
        QVERIFY(world.dialogs.questions.last().alert.message.size() < 200);
        world.dialogs.answerAll(true);
        world.settle();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error->message,
                 u"The new version's name cannot be an image tag, so nothing was changed."_s);
        QVERIFY(world.backups.jobs.isEmpty());
        verifyUntouched(world);
    }

    void confirmedDuringAnotherOperationIsDropped() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        kuma.updateNow();
        world.delay("compose stop", 5s);
        kuma.stop();
        world.settle();
        world.dialogs.answerAll(true);
        world.settle();
        QCOMPARE(kuma.state().busy, u"Stopping…"_s);
        QVERIFY(world.operationEnds());
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(kuma.state().imageTag, oldTag);
    }
};

ORVANEL_TEST(TestUpdate)
#include "TestUpdate.moc"
