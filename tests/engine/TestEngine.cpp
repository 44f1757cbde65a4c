#include "EngineWorld.h"

#include "controller/ComposeFile.h"
#include "support/Await.h"

#include <QFileInfo>
#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

/// The controller with a real engine. The functions run in order, and each begins where the last one ended.
class TestEngine : public QObject, EngineWorld {
    Q_OBJECT

    void verifyOldVersionRuns() const {
        QCOMPARE(m_controller->state().imageTag, oldTag);
        QCOMPARE(SettingsStore(m_settings.file()).text(u"imageTag"_s, oldTag), oldTag);
        QCOMPARE(content(u"support/Orvanel/docker-compose.yml"_s),
                 composeText(oldTag, m_controller->state().port).toUtf8());
        QCOMPARE(containerState(), u"running"_s);
        QCOMPARE(containerImage(), imageRepository() + u':' + oldTag);
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
        QVERIFY(!hasImage());
        QCOMPARE(await(m_controller->fetchLogs()).contains(u"No such container"_s), true);
    }

    void cancelOfTheDownload() {
        m_mirror.setBytesPerSecond(qint64{1024} * 1024);
        m_controller->start();
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->state().pulling && !m_controller->state().pullLog.isEmpty(),
                                 engineTimeout);
        m_controller->cancelOperation();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QCOMPARE(errorMessage(), u"Cancelled."_s);
        QVERIFY(!m_controller->state().pulling);
        QVERIFY(!hasImage());
        QCOMPARE(containerState(), QString());
    }

    void downloadWithLiveOutput() {
        m_mirror.setBytesPerSecond(qint64{12} * 1024 * 1024);
        script("not-ready ms=6000\n");
        QStringList logs;
        QList<KumaState> states;
        connect(m_controller.get(), &KumaController::changed, this, [&] {
            if (m_controller->state().pulling && (logs.isEmpty() || logs.last() != m_controller->state().pullLog)) {
                logs.append(m_controller->state().pullLog);
            }
            if (states.isEmpty() || states.last() != m_controller->state().kuma) {
                states.append(m_controller->state().kuma);
            }
        });
        m_controller->start();
        QTRY_VERIFY2_WITH_TIMEOUT(m_controller->state().kuma == KumaState::running, qPrintable(describe()),
                                  engineTimeout);
        m_controller->disconnect(this);
        script("");

        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QVERIFY2(logs.size() >= 3, "the output of the download came all at once");
        QVERIFY2(logs.last().contains(u"Pull"_s), qPrintable(logs.last()));
        QCOMPARE(states.sliced(states.size() - 2), QList<KumaState>({KumaState::starting, KumaState::running}));
        QCOMPARE(containerState(), u"running"_s);
    }

    void startOfARunningContainerChangesNothing() {
        m_controller->start();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QCOMPARE(containerState(), u"running"_s);
    }

    void logs() {
        const QString text = await(m_controller->fetchLogs());
        QVERIFY2(text.contains(u"Listening on"_s), qPrintable(text));
    }

    void restartWithABrowserConnected() {
        const auto browser = openPage(m_controller->state().port);
        QVERIFY(browser);
        m_controller->restart();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
    }

    void stopThenStartWithABrowserConnected() {
        const auto browser = openPage(m_controller->state().port);
        QVERIFY(browser);
        m_controller->stop();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QCOMPARE(containerState(), u"exited"_s);
        m_controller->start();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
    }

    void portTakenByAnotherProgram() {
        m_controller->stop();
        QTRY_COMPARE_WITH_TIMEOUT(containerState(), u"exited"_s, engineTimeout);
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);

        QTcpServer other;
        const int port = m_controller->state().port;
        QVERIFY(other.listen(QHostAddress::LocalHost, static_cast<quint16>(port)));
        m_controller->start();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QCOMPARE(errorMessage(), u"Port %1 is already in use by another program."_s.arg(port));
        QVERIFY(m_controller->state().suggestedPort);

        m_controller->setPort(*m_controller->state().suggestedPort);
        m_controller->start();
        QTRY_VERIFY2_WITH_TIMEOUT(m_controller->state().kuma == KumaState::running, qPrintable(describe()),
                                  engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
    }

    void crashLoop() {
        script("exit code=3 after=100\n");
        m_controller->restart();
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::error, engineTimeout);
        QCOMPARE(errorMessage(), u"Uptime Kuma keeps restarting. Open the logs to see why."_s);

        script("");
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
    }

    void backupWhileRunning_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("zip") << u"backup.ZIP"_s;
        QTest::newRow("folder") << u"backup"_s;
    }

    void backupWhileRunning() {
        QFETCH(const QString, name);
        m_home.write(database, "precious");
        m_controller->backUpNow();
        choosePath(m_home.path(name));
        QTRY_VERIFY_WITH_TIMEOUT(m_desktop.revealed.contains(m_home.path(name)), engineTimeout);
        QVERIFY2(!m_controller->state().error && !m_controller->state().busy, qPrintable(describe()));
        QVERIFY(QFileInfo::exists(m_home.path(name)));
        QCOMPARE(containerState(), u"running"_s);
        QCOMPARE(content(database), QByteArray("precious"));
    }

    void restore_data() { backupWhileRunning_data(); }

    void restore() {
        QFETCH(const QString, name);
        m_home.write(database, "spoilt, " + name.toUtf8());
        m_controller->restoreBackup();
        choosePath(m_home.path(name));
        QTRY_COMPARE(m_dialogs.questions.size(), 1);
        confirm();
        QTRY_VERIFY2_WITH_TIMEOUT(content(database) == "precious" && !m_controller->state().busy,
                                  qPrintable(describe()), engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
        QVERIFY(isDataInUse());
        const QStringList kept = backups(u"before-restore"_s);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(content(u"support/Orvanel/Backups/%1/kuma.db"_s.arg(kept.first())), "spoilt, " + name.toUtf8());
    }

    void updateWhoseDownloadIsCancelled() {
        m_controller->checkForUpdates();
        QTRY_COMPARE(m_controller->state().latestVersion, newTag);
        m_mirror.setBytesPerSecond(qint64{1024} * 1024);
        m_controller->updateNow();
        confirm();
        QTRY_VERIFY_WITH_TIMEOUT(m_controller->state().pulling && !m_controller->state().pullLog.isEmpty(),
                                 engineTimeout);
        QCOMPARE(m_controller->state().imageTag, newTag);
        m_controller->cancelOperation();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QCOMPARE(errorMessage(), u"Cancelled."_s);
        verifyOldVersionRuns();
    }

    /// The engine's message depends on its version, and on whether it asks another registry as well.
    void updateToAVersionThatTheRegistryLacks() {
        m_mirror.setBytesPerSecond(ThrottledMirror::unlimited);
        m_newestVersion = lackingTag;
        m_controller->checkForUpdates();
        QTRY_COMPARE(m_controller->state().latestVersion, lackingTag);
        const QString before = containerId();
        m_controller->updateNow();
        confirm();
        const auto cancelled = u"Cancelled."_s;
        QTRY_VERIFY2_WITH_TIMEOUT(!m_controller->state().busy && m_controller->state().error &&
                                      errorMessage() != cancelled,
                                  qPrintable(describe()), engineTimeout);
        QVERIFY2(errorMessage().startsWith(u"Docker "_s), qPrintable(describe()));
        verifyOldVersionRuns();
        QCOMPARE(containerId(), before);
        QCOMPARE(content(database), QByteArray("precious"));
    }

    void update() {
        m_newestVersion = newTag;
        m_controller->checkForUpdates();
        QTRY_COMPARE(m_controller->state().latestVersion, newTag);
        m_controller->updateNow();
        confirm();
        QTRY_VERIFY2_WITH_TIMEOUT(m_controller->state().imageTag == newTag && !m_controller->state().busy,
                                  qPrintable(describe()), engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QCOMPARE(containerImage(), imageRepository() + u':' + newTag);
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
        QVERIFY(isDataInUse());
        QCOMPARE(content(database), QByteArray("precious"));
        const QStringList made = backups(u"before-update"_s);
        QCOMPARE(made.size(), 3);
        for (const QString& name : made) {
            QCOMPARE(content(u"support/Orvanel/Backups/%1/kuma.db"_s.arg(name)), QByteArray("precious"));
        }
    }

    void stop() {
        m_controller->stop();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::stopped, engineTimeout);
        QCOMPARE(containerState(), u"exited"_s);
    }

    /// Such a container was made by hand or before compose was installed.
    void containerOfPlainDockerMakesRoom() {
        const auto name = u"orvanel"_s;
        docker({u"rm"_s, u"-f"_s, name});
        const CommandResult made = docker({u"create"_s, u"--name"_s, name, u"-v"_s,
                                           m_controller->dataDir() + u":/app/data"_s, m_controller->imageReference()});
        QVERIFY2(made.isSuccess(), qPrintable(made.output));
        const QString before = containerId();
        m_controller->start();
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QTRY_COMPARE_WITH_TIMEOUT(m_controller->state().kuma, KumaState::running, engineTimeout);
        QVERIFY(containerId() != before);
        QVERIFY(isDataInUse());
        QCOMPARE(content(database), QByteArray("precious"));
    }

    void removeEverything() {
        QVERIFY(QFileInfo::exists(m_controller->dataDir()));
        m_controller->removeEverything();
        QCOMPARE(m_dialogs.questions.size(), 1);
        m_dialogs.answerAll(true);
        QTRY_COMPARE_WITH_TIMEOUT(containerState(), QString(), engineTimeout);
        QTRY_VERIFY_WITH_TIMEOUT(!m_controller->state().busy, engineTimeout);
        QVERIFY2(!m_controller->state().error, qPrintable(describe()));
        QVERIFY(!QFileInfo::exists(m_controller->dataDir()));
        QVERIFY(QFileInfo::exists(m_controller->composeURL()));
    }
};

QTEST_GUILESS_MAIN(TestEngine)
#include "TestEngine.moc"
