#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

void writeSettings(const ControllerFixture& world, const QByteArray& lines) {
    world.home.write(u".config/Orvanel/Orvanel.conf"_s, "[General]\n" + lines);
}

/// The settings, as the next start of the program would read them.
std::unique_ptr<SettingsStore> stored(const ControllerFixture& world) {
    return std::make_unique<SettingsStore>(world.settingsFile);
}

const auto cannotSave = u"The settings could not be saved."_s;

} // namespace

class TestSettings : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void defaultsWithoutAnyStore() {
        ControllerFixture world;
        const KumaController& kuma = world.controller();
        QCOMPARE(kuma.state().port, 3001);
        QCOMPARE(kuma.state().slug, QString());
        QCOMPARE(kuma.state().stopOnQuit, false);
        QCOMPARE(kuma.state().dockerOverride, QString());
        QCOMPARE(kuma.state().imageTag, u"2"_s);
        QCOMPARE(kuma.state().hasSeenGuide, false);
        QVERIFY(!QFile::exists(world.settingsFile));
    }

    void stateAtTheStart() {
        ControllerFixture world;
        const KumaController& kuma = world.controller();
        QVERIFY(!kuma.state().dockerPath);
        QVERIFY(kuma.state().dockerState == DockerState::unknown);
        QVERIFY(!kuma.state().composeAvailable);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QVERIFY(!kuma.state().busy && !kuma.state().error && !kuma.state().suggestedPort && !kuma.state().setupBusy);
        QVERIFY(!kuma.state().pulling && !kuma.state().checkingUpdate);
        QVERIFY(kuma.state().pullLog.isEmpty() && kuma.state().setupLog.isEmpty() &&
                kuma.state().statusTitle.isEmpty());
        QVERIFY(!kuma.state().brewPath && !kuma.state().colimaPath && !kuma.state().statusError &&
                !kuma.state().lastStatusUpdate);
        QVERIFY(!kuma.state().latestVersion && !kuma.state().releaseURL && !kuma.state().updateMessage);
        QVERIFY(kuma.state().monitors.isEmpty());
        QVERIFY(kuma.health() == Health::inactive);
        QCOMPARE(kuma.statusLine(), u"Checking Docker…"_s);
        QVERIFY(kuma.isIdle());
        // Creating a controller searches for nothing and runs nothing.
        world.settle();
        QCOMPARE(world.dockerSearches, 0);
        QVERIFY(world.toolSearches.isEmpty() && world.commands().isEmpty() && world.page.questions.isEmpty());
    }

    void storedPortIsReadWithinItsRange_data() {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("port");
        QTest::newRow("too low") << QByteArray("port=80") << 3001;
        QTest::newRow("just too low") << QByteArray("port=1023") << 3001;
        QTest::newRow("lowest") << QByteArray("port=1024") << 1024;
        QTest::newRow("another") << QByteArray("port=3005") << 3005;
        QTest::newRow("highest") << QByteArray("port=65535") << 65535;
        QTest::newRow("just too high") << QByteArray("port=65536") << 3001;
        QTest::newRow("too high") << QByteArray("port=70000") << 3001;
        QTest::newRow("negative") << QByteArray("port=-3001") << 3001;
        QTest::newRow("too large for a number") << QByteArray("port=99999999999999999999") << 3001;
        QTest::newRow("a word") << QByteArray("port=abc") << 3001;
        QTest::newRow("a fraction") << QByteArray("port=3005.5") << 3001;
        QTest::newRow("a list") << QByteArray("port=3005, 3006") << 3001;
        QTest::newRow("empty") << QByteArray("port=") << 3001;
        QTest::newRow("an object") << QByteArray("port=@Variant(\\0\\0\\0\\x2\\0\\0\\v\\xbd)") << 3001;
    }

    void storedPortIsReadWithinItsRange() {
        QFETCH(const QByteArray, line);
        ControllerFixture world;
        writeSettings(world, line + "\n");
        QTEST(world.controller().state().port, "port");
    }

    void editedStoreReadsAsDefaultsWhereItMakesNoSense() {
        ControllerFixture world;
        writeSettings(world, "port=x\nslug=home\nstopOnQuit=perhaps\ndockerOverride=a, b\nimageTag=2.5.3\n"
                             "hasSeenGuide=true\nsomethingElse=5\n");
        const KumaController& kuma = world.controller();
        QCOMPARE(kuma.state().port, 3001);
        QCOMPARE(kuma.state().slug, u"home"_s);
        QCOMPARE(kuma.state().stopOnQuit, false);
        QCOMPARE(kuma.state().dockerOverride, QString());
        QCOMPARE(kuma.state().imageTag, u"2.5.3"_s);
        QCOMPARE(kuma.state().hasSeenGuide, true);
    }

    void corruptStoreReadsAsDefaults() {
        ControllerFixture world;
        world.home.write(u".config/Orvanel/Orvanel.conf"_s, QByteArray("\x00\xff\xfe\x80garbage\n", 12));
        KumaController& kuma = world.controller();
        QCOMPARE(kuma.state().port, 3001);
        QCOMPARE(kuma.state().imageTag, u"2"_s);
        kuma.setSlug(u"home"_s);
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.restartProgram().state().slug, u"home"_s);
    }

    void everySettingIsStoredAtOnce() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setPort(4001);
        QCOMPARE(stored(world)->integer(u"port"_s, 0), 4001);
        kuma.setSlug(u"home"_s);
        QCOMPARE(stored(world)->text(u"slug"_s, {}), u"home"_s);
        kuma.setStopOnQuit(true);
        QCOMPARE(stored(world)->boolean(u"stopOnQuit"_s, false), true);
        kuma.setDockerOverride(u"/my docker"_s);
        QCOMPARE(stored(world)->text(u"dockerOverride"_s, {}), u"/my docker"_s);
        kuma.setImageTag(u"2.5"_s);
        QCOMPARE(stored(world)->text(u"imageTag"_s, {}), u"2.5"_s);
        kuma.setHasSeenGuide(true);
        QCOMPARE(stored(world)->boolean(u"hasSeenGuide"_s, false), true);
        QVERIFY(!kuma.state().error);

        const KumaController& next = world.restartProgram();
        QCOMPARE(next.state().port, 4001);
        QCOMPARE(next.state().slug, u"home"_s);
        QCOMPARE(next.state().stopOnQuit, true);
        QCOMPARE(next.state().dockerOverride, u"/my docker"_s);
        QCOMPARE(next.state().imageTag, u"2.5"_s);
        QCOMPARE(next.state().hasSeenGuide, true);
    }

    void switchesCanBeSwitchedOffAgain() {
        ControllerFixture world;
        world.controller().setStopOnQuit(true);
        world.controller().setHasSeenGuide(true);
        world.controller().setStopOnQuit(false);
        world.controller().setHasSeenGuide(false);
        const KumaController& next = world.restartProgram();
        QCOMPARE(next.state().stopOnQuit, false);
        QCOMPARE(next.state().hasSeenGuide, false);
    }

    void portIsStoredUncheckedAndCheckedWhenRead() {
        ControllerFixture world;
        for (const int port : {80, 0, -1, 70000}) {
            KumaController& kuma = world.controller();
            kuma.setPort(port);
            QCOMPARE(kuma.state().port, port);
            QCOMPARE(stored(world)->integer(u"port"_s, 7), port);
            QCOMPARE(world.restartProgram().state().port, 3001);
        }
    }

    void textsAreStoredAsTheyAre_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("blanks around") << "  Home  ";
        QTest::newRow("only blanks") << "   ";
        QTest::newRow("slashes") << "a/b\\c//";
        QTest::newRow("emoji") << u"😀🏳️‍🌈"_s;
        QTest::newRow("quotes and commas") << "\"a\", b; c=d # e";
        QTest::newRow("line ends") << "one\ntwo\r\n\tthree";
        QTest::newRow("looks like a list") << "@Invalid()";
        QTest::newRow("per cent") << "%1 100%25 %";
        QTest::newRow("long") << QString(5000, u'x');
    }

    void textsAreStoredAsTheyAre() {
        QFETCH(const QString, text);
        ControllerFixture world;
        world.controller().setSlug(text);
        world.controller().setImageTag(text);
        world.controller().setDockerOverride(text);
        QCOMPARE(world.controller().state().slug, text);
        const KumaController& next = world.restartProgram();
        QCOMPARE(next.state().slug, text);
        QCOMPARE(next.state().imageTag, text);
        QCOMPARE(next.state().dockerOverride, text);
    }

    void halfACharacterHoldsForThisRunAndHarmsNothing() {
        ControllerFixture world;
        const QString half = u"a"_s + QChar(0xD83D) + u"b"_s;
        world.controller().setSlug(half);
        QCOMPARE(world.controller().state().slug, half);
        QVERIFY(!world.controller().state().error);
        const KumaController& next = world.restartProgram();
        QVERIFY(next.state().slug.startsWith(u'a') && next.state().slug.endsWith(u'b'));
    }

    void storeThatCannotBeWrittenIsTold() {
        ControllerFixture world;
        world.home.write(u"file"_s, "");
        world.settingsFile = world.home.path(u"file/Orvanel.conf"_s);
        using Change = std::function<void(KumaController&)>;
        const QList<Change> changes{
            [](KumaController& kuma) { kuma.setPort(4001); },
            [](KumaController& kuma) { kuma.setSlug(u"home"_s); },
            [](KumaController& kuma) { kuma.setStopOnQuit(true); },
            [](KumaController& kuma) { kuma.setDockerOverride(u"/d"_s); },
            [](KumaController& kuma) { kuma.setImageTag(u"3"_s); },
            [](KumaController& kuma) { kuma.setHasSeenGuide(true); },
        };
        for (const Change& change : changes) {
            KumaController& kuma = world.restartProgram();
            QVERIFY(!kuma.state().error);
            change(kuma);
            QVERIFY(kuma.state().error.has_value());
            QCOMPARE(kuma.state().error->message, cannotSave);
            QVERIFY(kuma.state().error->details.contains(world.settingsFile));
        }
        // The values still hold for this run, and everything else works.
        KumaController& kuma = world.restartProgram();
        for (const Change& change : changes) {
            change(kuma);
        }
        QCOMPARE(kuma.state().port, 4001);
        QCOMPARE(kuma.state().slug, u"home"_s);
        QVERIFY(kuma.state().stopOnQuit && kuma.state().hasSeenGuide);
        QCOMPARE(kuma.state().dockerOverride, u"/d"_s);
        QCOMPARE(kuma.state().imageTag, u"3"_s);
        kuma.start();
        QVERIFY(!kuma.state().error);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.docker().container->port, 4001);
    }

    void slugForgetsThePageShownSoFar_data() {
        QTest::addColumn<QString>("slug");
        QTest::newRow("another") << "other";
        QTest::newRow("the same") << "home";
        QTest::newRow("none") << "";
    }

    void slugForgetsThePageShownSoFar() {
        QFETCH(const QString, slug);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.status = statusPage({monitor(1, 1), monitor(2, 1)});
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(kuma.state().monitors.size(), 2);

        kuma.setSlug(slug);
        QVERIFY(kuma.state().monitors.isEmpty());
        QVERIFY(!kuma.state().statusError);
        QCOMPARE(stored(world)->text(u"slug"_s, u"?"_s), slug);

        // The page is read again at the next tick, and that reading is no news.
        world.page.status = statusPage({monitor(1, 0), monitor(2, 1)});
        world.advance(3s);
        QCOMPARE(world.page.reads.size(), slug.isEmpty() ? 1 : 2);
        QVERIFY(world.notifier.posted.isEmpty());
    }

    void slugForgetsTheFailureOfThePage() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.status = StatusPageError{u"Could not."_s};
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(kuma.state().statusError, u"Could not."_s);
        kuma.setSlug(u"home"_s);
        QVERIFY(!kuma.state().statusError);
    }

    void overrideForgetsTheToolFound() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(world.isPolledAsRunning());
        for (const QString& path : {u"/mine/docker"_s, u"/mine/docker"_s, QString()}) {
            QVERIFY(kuma.state().dockerPath.has_value());
            QVERIFY(kuma.state().composeAvailable.has_value());
            kuma.setDockerOverride(path);
            QVERIFY(!kuma.state().dockerPath);
            QVERIFY(!kuma.state().composeAvailable);
            world.advance(3s);
        }
    }

    void portAndTagChangeNothingElse() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.status = statusPage({monitor(1, 1)});
        QVERIFY(world.isPolledAsRunning());
        world.takeCommands();
        kuma.setPort(3002);
        kuma.setImageTag(u"3"_s);
        kuma.setStopOnQuit(true);
        kuma.setHasSeenGuide(true);
        world.settle();
        QVERIFY(kuma.state().kuma == KumaState::running);
        QVERIFY(kuma.state().dockerPath && kuma.state().composeAvailable);
        QCOMPARE(kuma.state().monitors.size(), 1);
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(!QFile::exists(kuma.composeURL()));
    }

    void placesAndAddresses() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QCOMPARE(kuma.dataDir(), world.home.path(u".local/share/Orvanel/data"_s));
        QCOMPARE(kuma.composeURL(), world.home.path(u".local/share/Orvanel/docker-compose.yml"_s));
        QCOMPARE(kuma.dashboardURL().toString(), u"http://127.0.0.1:3001/"_s);
        QCOMPARE(kuma.imageReference(), u"louislam/uptime-kuma:2"_s);
        kuma.setPort(45678);
        kuma.setImageTag(u"%1"_s);
        QCOMPARE(kuma.dashboardURL().toString(), u"http://127.0.0.1:45678/"_s);
        QCOMPARE(kuma.imageReference(), u"louislam/uptime-kuma:%1"_s);
    }

    void launchAtLoginIsTheTrueStatus() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.launchAtLogin());
        world.loginItem.enabled = true;
        QVERIFY(kuma.launchAtLogin());
        kuma.setLaunchAtLogin(false);
        QVERIFY(!world.loginItem.enabled);
        QVERIFY(!kuma.state().error);
        QVERIFY(!QFile::exists(world.settingsFile));
    }

    void launchAtLoginThatCannotBeChangedIsTold() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.loginItem.failure = u"No room."_s;
        const QSignalSpy changes(&kuma, &KumaController::changed);
        kuma.setLaunchAtLogin(true);
        QVERIFY(!kuma.launchAtLogin());
        QVERIFY(kuma.state().error.has_value());
        QCOMPARE(kuma.state().error->details, u"No room."_s);
        QVERIFY(!changes.isEmpty());
    }

    void everyChangeIsTold() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        const QSignalSpy changes(&kuma, &KumaController::changed);
        kuma.setPort(4000);
        QCOMPARE(changes.size(), 1);
        kuma.setPort(4000);
        QCOMPARE(changes.size(), 1);
        kuma.setHasSeenGuide(true);
        QCOMPARE(changes.size(), 2);
        standin::addContainer(world.docker(), "running");
        kuma.begin();
        world.settle();
        const auto afterTheFirstPoll = changes.size();
        QVERIFY(afterTheFirstPoll > 2);
        world.advance(3s);
        QCOMPARE(changes.size(), afterTheFirstPoll); // nothing differs, so nobody has to draw
    }
};

ORVANEL_TEST(TestSettings)
#include "TestSettings.moc"
