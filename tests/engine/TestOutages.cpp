#include "Engine.h"
#include "EngineWorld.h"

#include "controller/ComposeFile.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// So slow that a download can be watched, in bytes per second.
constexpr qint64 slow = qint64{1024} * 1024;
/// So much that packing it takes seconds.
constexpr qsizetype ballastSize = qsizetype{96} * 1024 * 1024;

QByteArray incompressible() {
    QByteArray bytes(ballastSize, Qt::Uninitialized);
    QRandomGenerator(1).generate(reinterpret_cast<quint32*>(bytes.begin()), reinterpret_cast<quint32*>(bytes.end()));
    return bytes;
}

} // namespace

/// The controller with a real engine that dies at work, with a container that somebody has paused, and with a docker
/// tool that neither answers nor ends. The functions run in their order: each begins where the last one ended.
class TestOutages : public QObject, EngineWorld {
    Q_OBJECT

    Engine m_engine;
    QString m_deaf;
    QByteArray m_missing;

    /// Waits, within bounds, for what must come. If it does not, missing() says what it was and what is there instead.
    template <class Condition>
    bool comes(const char* what, Condition condition) {
        m_missing = u"after waiting for %1: "_s.arg(QLatin1StringView(what)).toUtf8();
        return waitUntil(condition);
    }

    const char* missing() {
        m_missing += (m_controller->statusLine() + u"; "_s + describe()).toUtf8();
        return m_missing.constData();
    }

    bool isIdle() const { return !operationShown(m_controller->state()); }

    /// The engine has just been killed. An operation that failed because of it says so in a sentence of its own.
    bool isOut() {
        return comes("the sign that Docker does not run",
                     [this] { return m_controller->statusLine() == u"Docker is not running"_s; }) &&
               (!m_controller->state().error || errorMessage().startsWith(u"Docker "_s)) &&
               !m_controller->state().runtimeDetails.isEmpty();
    }

    /// Nothing tells of the outage any more, and what is told of the container is true.
    bool isBack() {
        return m_engine.start() && comes("the end of the outage", [this] {
                   const ControllerState& state = m_controller->state();
                   return state.dockerState == DockerState::ready && !state.error && isIdle() &&
                          (containerState() == u"running"_s) == (state.kuma == KumaState::running);
               });
    }

    bool runs() {
        return comes("the running server",
                     [this] { return isIdle() && m_controller->state().kuma == KumaState::running; }) &&
               !m_controller->state().error && containerState() == u"running"_s;
    }

    /// The data is still the same, too.
    bool starts() {
        m_controller->start();
        return runs() && (content(database).isEmpty() || content(database) == "precious");
    }

    bool stops() {
        m_controller->stop();
        return comes("the end of the server",
                     [this] { return isIdle() && m_controller->statusLine() == u"Uptime Kuma is stopped"_s; }) &&
               !m_controller->state().error && containerState() == u"exited"_s && content(database) == "precious";
    }

    bool restores(const QString& backup) {
        m_home.write(database, "spoilt");
        m_controller->restoreBackup();
        choosePath(backup);
        if (!comes("the question", [this] { return !m_dialogs.questions.isEmpty(); })) {
            return false;
        }
        confirm();
        return comes("the data of the backup", [this] { return isIdle() && content(database) == "precious"; }) &&
               runs();
    }

    bool downloads() {
        return comes("the download",
                     [this] { return m_controller->state().pulling && !m_controller->state().pullLog.isEmpty(); });
    }

    bool updateIsOffered() {
        m_controller->checkForUpdates();
        return comes("the newest version", [this] { return m_controller->state().latestVersion == newTag; });
    }

    /// Somebody pauses the container.
    bool isPaused() {
        return docker({u"pause"_s, u"orvanel"_s}).isSuccess() &&
               comes("the pause", [this] { return m_controller->statusLine() == u"Uptime Kuma is paused"_s; });
    }

    /// Writes a tool that is deaf in calls that contain the words in a certain file. It notes its calls, a deaf one
    /// only when no signal ends it any more.
    QString makeTool() {
        forgetCalls();
        m_deaf = m_home.path(u"deaf"_s);
        const QByteArray text = R"sh(#!/bin/sh
words=$(echo "$*" | sed 's/ -p orvanel -f [^ ]*//')
if [ -e 'HOME/deaf' ] && echo "$words" | grep -qF -- "$(cat 'HOME/deaf')"; then
    trap '' TERM
    echo "$words" >>'HOME/calls'
    while [ -e 'HOME/deaf' ]; do sleep 1; done
    exit 1
fi
echo "$words" >>'HOME/calls'
exec 'DOCKER' "$@"
)sh";
        return m_home.write(u"docker"_s,
                            QByteArray(text)
                                .replace("HOME", QFile::encodeName(m_home.path(QString())))
                                .replace("DOCKER", QFile::encodeName(m_docker)),
                            true);
    }

    /// It ignores every request to end as well. A run of it that is given up ends by itself when the file has gone.
    void makeDeaf(const QByteArray& words) {
        forgetCalls();
        m_home.write(u"deaf"_s, words);
    }

    void forgetCalls() { m_home.write(u"calls"_s, ""); }

    bool isCalled(const QByteArray& words) {
        return comes(words.constData(), [&] { return content(u"calls"_s).contains(words); });
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY2(m_mirror.isListening(), "the mirror's port is taken");
        QCOMPARE(containerState(), QString());
        m_settings.setInteger(u"port"_s, freePort());
        m_settings.setText(u"dockerOverride"_s, makeTool());
        beginController();
        QVERIFY2(comes("Docker", [this] { return m_controller->state().dockerState == DockerState::ready; }),
                 missing());
    }

    /// One function that fails must not take the engine from the others.
    void init() { QVERIFY(m_engine.start()); }

    void cleanupTestCase() {
        QFile::remove(m_deaf);
        QVERIFY(m_engine.start());
        end();
    }

    void engineKilledInTheDownload() {
        m_mirror.setBytesPerSecond(slow);
        m_controller->start();
        QVERIFY2(downloads(), missing());
        m_engine.kill();
        QVERIFY2(isOut(), missing());
        QVERIFY2(isBack(), missing());
        QVERIFY(!hasImage());
        m_mirror.setBytesPerSecond(ThrottledMirror::unlimited);
        QVERIFY2(starts(), missing());
        m_home.write(database, "precious");
    }

    /// The data is all that a backup needs.
    void engineKilledInTheBackup() {
        const QString path = m_home.path(u"backup.zip"_s);
        const QString ballast = m_home.write(u"support/Orvanel/data/ballast"_s, incompressible());
        m_controller->backUpNow();
        choosePath(path);
        QVERIFY2(comes("the backup's beginning", [this] { return m_controller->state().busy.has_value(); }), missing());
        m_engine.kill();
        QVERIFY2(!m_desktop.revealed.contains(path), "the backup was ready before the engine was dead");
        QVERIFY2(comes("the backup", [&] { return m_desktop.revealed.contains(path); }), missing());
        QVERIFY2(isOut(), missing());
        QVERIFY2(!m_controller->state().error, missing());
        QVERIFY2(isBack(), missing());
        QVERIFY2(starts(), missing());
        QVERIFY(QFile::remove(ballast));
        QVERIFY2(restores(path), missing());
        QVERIFY2(QFileInfo(ballast).size() == ballastSize, "the backup lacks a file");
        QVERIFY(QFile::remove(ballast));
    }

    /// The server takes its time to end, and the engine waits for it.
    void engineKilledInTheStop() {
        script("term delay=5000\n");
        const auto shutdowns = [this] {
            return docker({u"logs"_s, u"orvanel"_s}).output.count(u"Shutdown requested"_s);
        };
        const qsizetype before = shutdowns();
        m_controller->stop();
        QVERIFY2(comes("the shutdown", [&] { return shutdowns() > before; }), missing());
        QVERIFY2(m_controller->state().busy, "the server did not take its time");
        m_engine.kill();
        QVERIFY2(isOut(), missing());
        QVERIFY2(isBack(), missing());
        script("");
        QVERIFY2(starts(), missing());
        QVERIFY2(stops(), missing());
    }

    void engineKilledInTheStart() {
        forgetCalls();
        m_controller->start();
        QVERIFY2(isCalled("compose up -d"), missing());
        m_engine.kill();
        QVERIFY2(isOut(), missing());
        QVERIFY2(isBack(), missing());
        QVERIFY2(starts(), missing());
    }

    void engineKilledInTheUpdate() {
        QVERIFY2(updateIsOffered(), missing());
        m_mirror.setBytesPerSecond(slow);
        m_controller->updateNow();
        confirm();
        QVERIFY2(downloads(), missing());
        QCOMPARE(m_controller->state().imageTag, newTag);
        m_engine.kill();
        QVERIFY2(isOut(), missing());
        QCOMPARE(m_controller->state().imageTag, oldTag);
        QVERIFY2(isBack(), missing());
        QVERIFY2(starts(), missing());
        QCOMPARE(containerImage(), imageRepository() + u':' + oldTag);
    }

    /// Only the download is deaf, so that the polls meanwhile tell what is.
    void deafDownloadIsCancelled() {
        QVERIFY2(updateIsOffered(), missing());
        makeDeaf("pull");
        m_controller->updateNow();
        confirm();
        QVERIFY2(isCalled("compose pull"), missing());
        QElapsedTimer time;
        time.start();
        m_controller->cancelOperation();
        QVERIFY2(comes("the end of the update", [this] { return isIdle(); }), missing());
        // 5 s for the end, and something for a slow computer.
        QVERIFY2(time.elapsed() > 4500 && time.elapsed() < 15'000, qPrintable(QString::number(time.elapsed())));
        QCOMPARE(errorMessage(), u"Cancelled."_s);
        QCOMPARE(m_controller->state().imageTag, oldTag);
        QCOMPARE(m_controller->state().kuma, KumaState::running);
        QVERIFY(QFile::remove(m_deaf));
        QVERIFY2(starts(), missing());
        QCOMPARE(containerImage(), imageRepository() + u':' + oldTag);
    }

    /// The polls are deaf as well, and go on as soon as the tool hears again.
    void deafToolIsGivenUp() {
        makeDeaf("");
        m_controller->start();
        QElapsedTimer time;
        time.start();
        QVERIFY2(comes("the end of the start", [this] { return !m_controller->state().busy; }), missing());
        // 15 s for the answer and 5 s for the end, and something for a slow computer.
        QVERIFY2(time.elapsed() > 19'000 && time.elapsed() < 28'000, qPrintable(QString::number(time.elapsed())));
        QCOMPARE(m_controller->state().dockerState, DockerState::notRunning);
        QVERIFY(QFile::remove(m_deaf));
        QVERIFY2(isBack(), missing());
        QVERIFY2(starts(), missing());
    }

    void pausedContainerGoesOn() {
        const QString before = containerId();
        QVERIFY2(isPaused(), missing());
        QVERIFY2(starts(), missing());
        QCOMPARE(containerId(), before);
    }

    void pausedContainerStopsAndRestarts() {
        QVERIFY2(isPaused(), missing());
        m_controller->restart();
        QVERIFY2(runs(), missing());
        QVERIFY2(isPaused(), missing());
        QVERIFY2(stops(), missing());
        QVERIFY2(starts(), missing());
    }

    void pausedContainerIsBackedUpAndRestored() {
        const QString path = m_home.path(u"paused"_s);
        QVERIFY2(isPaused(), missing());
        m_controller->backUpNow();
        choosePath(path);
        QVERIFY2(comes("the backup", [&] { return m_desktop.revealed.contains(path) && isIdle(); }), missing());
        QVERIFY2(restores(path), missing());
        QVERIFY(isDataInUse());
    }

    /// By then, the update is as good as done.
    void engineKilledInTheRestartOfTheUpdate() {
        m_mirror.setBytesPerSecond(ThrottledMirror::unlimited);
        QVERIFY2(updateIsOffered(), missing());
        forgetCalls();
        m_controller->updateNow();
        confirm();
        QVERIFY2(isCalled("compose up -d"), missing());
        m_engine.kill();
        QVERIFY2(isOut(), missing());
        QCOMPARE(m_controller->state().imageTag, newTag);
        QVERIFY2(isBack(), missing());
        QVERIFY2(starts(), missing());
        QCOMPARE(containerImage(), imageRepository() + u':' + newTag);
    }

    void wayBackIsOpenAfterTheOutage() {
        QCOMPARE(m_controller->state().wayBackTag, oldTag);
        m_home.write(database, "of the new version");
        m_controller->goBack();
        confirm();
        QVERIFY2(comes("the old version", [this] { return isIdle() && m_controller->state().imageTag == oldTag; }),
                 missing());
        QVERIFY2(starts(), missing());
        QCOMPARE(containerImage(), imageRepository() + u':' + oldTag);
    }

    void pausedContainerIsUpdated() {
        QVERIFY2(updateIsOffered(), missing());
        QVERIFY2(isPaused(), missing());
        m_controller->updateNow();
        confirm();
        QVERIFY2(comes("the new version", [this] { return isIdle() && m_controller->state().imageTag == newTag; }),
                 missing());
        QVERIFY2(runs(), missing());
        QCOMPARE(containerImage(), imageRepository() + u':' + newTag);
    }

    void pausedContainerIsRemoved() {
        QVERIFY2(isPaused(), missing());
        m_controller->removeEverything();
        QCOMPARE(m_dialogs.questions.size(), 1);
        confirm();
        QVERIFY2(comes("the end of the container", [this] { return isIdle() && containerState().isEmpty(); }),
                 missing());
        QVERIFY2(!m_controller->state().error, missing());
        QVERIFY(!QFileInfo::exists(m_controller->dataDir()));
    }
};

QTEST_GUILESS_MAIN(TestOutages)
#include "TestOutages.moc"
