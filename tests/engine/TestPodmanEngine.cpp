#include "EngineWorld.h"

#include "controller/ComposeFile.h"
#include "support/Await.h"

#include <QFileInfo>
#include <QTcpServer>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QString fullName(const QString& tag) {
    return u"docker.io/"_s + imageReference(tag);
}

} // namespace

/// The controller with a real podman under docker's name. The functions run in order, and each begins where the last
/// one ended.
class TestPodmanEngine : public QObject, EngineWorld {
    Q_OBJECT

    void verifyEndsWell() {
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
    }

    void verifyRuns(const QString& tag) {
        verifyEndsWell();
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
        QCOMPARE(containerState(), u"running"_s);
        QCOMPARE(containerImage(), fullName(tag));
        QVERIFY(isDataInUse());
    }

    /// The arguments with which the controller makes the container.
    QStringList runArguments() const {
        return {u"run"_s,        u"-d"_s,
                u"--name"_s,     u"orvanel"_s,
                u"-p"_s,         u"127.0.0.1:%1:3001"_s.arg(m_controller->state().port),
                u"-v"_s,         m_controller->dataDir() + u":/app/data"_s,
                fullName(oldTag)};
    }

    void goTo(const QString& tag) {
        m_newestVersion = tag;
        m_controller->checkForUpdates();
        QTRY_COMPARE(m_controller->state().latestVersion, tag);
        m_controller->updateNow();
        agree();
    }

    /// The operation begins after the answer.
    void agree() {
        QTRY_COMPARE(m_dialogs.questions.size(), 1);
        confirm();
        QTRY_VERIFY(m_controller->state().busy);
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY2(m_mirror.isListening(), "the mirror's port is taken");
        QVERIFY(!m_docker.isEmpty());
        QCOMPARE(containerState(), QString());
        m_settings.setInteger(u"port"_s, freePort());
        m_settings.setText(u"dockerOverride"_s, m_docker);
        beginController();
    }

    void cleanupTestCase() { end(); }

    void absent() {
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().dockerState, DockerState::ready, engineTimeout);
        QCOMPARE(m_controller->state().kuma, KumaState::stopped);
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->state().composeAvailable.has_value(), engineTimeout);
        QVERIFY(!*m_controller->state().composeAvailable);
        QCOMPARE(m_controller->state().dockerKind, DockerKind::podman);
        const QString logs = await(m_controller->fetchLogs());
        QVERIFY2(logs.contains(u"no such container"_s) && !logs.contains(u"Emulate"_s), qPrintable(logs));
    }

    void podmansScriptPrintsItsNotice() {
        const CommandResult result = await(DockerCLI::run(m_docker, {u"--version"_s}, std::chrono::seconds(60)));
        QVERIFY2(result.output.startsWith(u"Emulate Docker CLI using podman."_s), qPrintable(result.output));
        QVERIFY2(result.output.contains(u"podman version "_s), qPrintable(result.output));
    }

    /// As the distribution has set podman up.
    void theShortNameIsUnknown() {
        const CommandResult result = docker({u"pull"_s, imageReference(oldTag)});
        QVERIFY(result.status != 0);
        QVERIFY2(result.output.contains(u"did not resolve to an alias"_s), qPrintable(result.output));
    }

    void cancelOfTheDownload() {
        m_mirror.setBytesPerSecond(qint64{1024} * 1024);
        m_controller->start();
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->state().pulling &&
                                     m_controller->state().pullLog.contains(u"Trying to pull"_s),
                                 engineTimeout);
        m_controller->cancelOperation();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QCOMPARE(errorMessage(), u"Cancelled."_s);
        QVERIFY(!hasImage());
        QCOMPARE(containerState(), QString());
        m_mirror.setBytesPerSecond(ThrottledMirror::unlimited);
    }

    void start() {
        m_controller->start();
        verifyRuns(oldTag);
        QCOMPARE(m_controller->imageReference(), imageReference(oldTag));
        const QString logs = await(m_controller->fetchLogs());
        QVERIFY2(logs.contains(u"Listening on"_s) && !logs.contains(u"Emulate"_s), qPrintable(logs));
    }

    /// The server is root in the container, which without root outside it is the user.
    void theFilesOfTheServerBelongToTheUser() {
        const QFileInfo file(m_home.path(u"support/Orvanel/data/kuma-requests.log"_s));
        QVERIFY(file.exists());
        QCOMPARE(file.ownerId(), ::geteuid());
    }

    void aChangedPortTakesEffect() {
        const quint16 port = freePort();
        m_controller->setPort(port);
        m_controller->restart();
        verifyRuns(oldTag);
        QVERIFY(openPage(port));
    }

    void backupAndRestore_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("zip") << u"backup.zip"_s;
        QTest::newRow("folder") << u"backup"_s;
    }
    void backupAndRestore() {
        QFETCH(const QString, name);
        m_home.write(database, "precious");
        m_controller->backUpNow();
        choosePath(m_home.path(name));
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop.revealed.contains(m_home.path(name)), engineTimeout);
        verifyEndsWell();
        QCOMPARE(containerState(), u"running"_s);

        m_home.write(database, "spoilt");
        m_controller->restoreBackup();
        choosePath(m_home.path(name));
        agree();
        QTRY_VERIFY2_WITH_TIMEOUT(content(database) == "precious" && !m_controller->state().busy,
                                  qPrintable(describe()), engineTimeout);
        verifyRuns(oldTag);
    }

    void updateToAVersionThatTheRegistryLacks() {
        goTo(lackingTag);
        QTRY_VERIFY2_WITH_TIMEOUT(!m_controller->state().busy && m_controller->state().error, qPrintable(describe()),
                                  engineTimeout);
        QCOMPARE(errorMessage(), u"Docker reported an error."_s);
        QCOMPARE(m_controller->state().imageTag, oldTag);
        QCOMPARE(containerImage(), fullName(oldTag));
        QCOMPARE(containerState(), u"running"_s);
    }

    void updateAndTheWayBack() {
        goTo(newTag);
        verifyRuns(newTag);
        QCOMPARE(m_controller->state().imageTag, newTag);
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().wayBackTag, oldTag, engineTimeout);

        docker({u"rmi"_s, u"-f"_s, fullName(oldTag)});
        m_controller->goBack();
        agree();
        verifyRuns(oldTag);
        QCOMPARE(m_controller->state().imageTag, oldTag);
        QCOMPARE(content(database), QByteArray("precious"));
    }

    void stop() {
        m_controller->stop();
        verifyEndsWell();
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::stopped, engineTimeout);
        QCOMPARE(containerState(), u"exited"_s);
    }

    /// Another program can take the port after the controller has looked at it.
    void aFailedRunMakesRoomForTheNextStart() {
        docker({u"rm"_s, u"-f"_s, u"orvanel"_s});
        {
            QTcpServer other;
            QVERIFY(other.listen(QHostAddress::LocalHost, static_cast<quint16>(m_controller->state().port)));
            const CommandResult failed = docker(runArguments());
            QVERIFY(failed.status != 0);
            QCOMPARE(DockerCLI::friendlyMessage(failed.output, false),
                     u"The port is already in use by another program."_s);
            QCOMPARE(containerState(), u"created"_s);

            m_controller->start();
            QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
            QCOMPARE(errorMessage(),
                     u"Port %1 is already in use by another program."_s.arg(m_controller->state().port));
            QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::stopped, engineTimeout);
        }
        m_controller->start();
        verifyRuns(oldTag);
    }

    void aContainerOfAnotherMakeIsReplaced() {
        m_controller->stop();
        verifyEndsWell();
        docker({u"rm"_s, u"-f"_s, u"orvanel"_s});
        const CommandResult made = docker(QStringList{u"create"_s} + runArguments().mid(2));
        QVERIFY2(made.isSuccess(), qPrintable(made.output));
        const QString before = containerId();
        m_controller->start();
        verifyRuns(oldTag);
        QVERIFY(containerId() != before);
    }

    void removeEverything() {
        m_controller->removeEverything();
        QCOMPARE(m_dialogs.questions.size(), 1);
        m_dialogs.answerAll(true);
        QTRY_COMPARE_WITH_TIMEOUT(containerState(), QString(), engineTimeout);
        verifyEndsWell();
        QVERIFY(!QFileInfo::exists(m_controller->dataDir()));
    }
};

QTEST_GUILESS_MAIN(TestPodmanEngine)
#include "TestPodmanEngine.moc"
