#include "ShownSettings.h"
#include "app/views/settings/UpdatesSection.h"
#include "app/widgets/LinkButton.h"
#include "platform/FreedesktopDesktop.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"

#include <QAccessible>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// The section of the settings that checks for new versions.
class TestSettingsUpdates : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whenUpdateCanBePressed_data() {
        QTest::addColumn<QString>("latest");
        QTest::addColumn<bool>("isBusy");
        QTest::addColumn<DockerState>("docker");
        QTest::addColumn<bool>("can");
        QTest::newRow("newer") << "2.1.0" << false << DockerState::ready << true;
        QTest::newRow("any other text") << "2.0" << false << DockerState::ready << true;
        QTest::newRow("not checked") << QString() << false << DockerState::ready << false;
        QTest::newRow("the same") << "2" << false << DockerState::ready << false;
        QTest::newRow("older") << "1.23.16" << false << DockerState::ready << false;
        QTest::newRow("busy") << "2.1.0" << true << DockerState::ready << false;
        QTest::newRow("missing") << "2.1.0" << false << DockerState::missing << false;
        QTest::newRow("not running") << "2.1.0" << false << DockerState::notRunning << false;
        QTest::newRow("unknown") << "2.1.0" << false << DockerState::unknown << false;
    }
    void whenUpdateCanBePressed() {
        QFETCH(const QString, latest);
        QFETCH(const bool, isBusy);
        QFETCH(const DockerState, docker);
        QFETCH(const bool, can);
        ControllerState state;
        state.imageTag = u"2"_s;
        state.dockerState = docker;
        if (!latest.isNull()) {
            state.latestVersion = latest;
        }
        if (isBusy) {
            state.busy = u"Stopping…"_s;
        }
        QCOMPARE(canUpdate(state), can);
        // What has just ended may have changed what is said here.
        state.busy.reset();
        state.settling = u"Updating…"_s;
        QVERIFY(!canUpdate(state));
    }

    void whenGoingBackCanBePressed() {
        ControllerState state;
        state.dockerState = DockerState::ready;
        QVERIFY(!canGoBack(state));
        state.wayBackTag = u"1.23.16"_s;
        QVERIFY(canGoBack(state));
        state.settling = u"Updating…"_s;
        QVERIFY(!canGoBack(state));
        state.settling.reset();
        state.busy = u"Stopping…"_s;
        QVERIFY(!canGoBack(state));
        state.busy.reset();
        state.dockerState = DockerState::notRunning;
        QVERIFY(!canGoBack(state));
    }

    void theWayBackIsOfferedAfterAnUpdate() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        const auto goBack = u"Go back to 2…"_s;
        QVERIFY(button(&settings.view, goBack) == nullptr);
        settings.click(checkText);
        settings.click(updateText);
        settings.world.dialogs.questions.takeLast().answer.complete(true);
        QVERIFY(settings.world.operationEnds());
        settings.world.settle();
        QVERIFY(button(&settings.view, goBack)->isEnabled());
        settings.click(goBack);
        QCOMPARE(settings.world.dialogs.questions.last().alert.message, u"Go back to Uptime Kuma 2?"_s);
        settings.world.dialogs.questions.takeLast().answer.complete(true);
        QVERIFY(settings.world.operationEnds());
        settings.world.settle();
        QVERIFY(button(&settings.view, goBack) == nullptr);
        QVERIFY(shows(&settings.view, u"Pinned image: louislam/uptime-kuma:2"_s));
    }

    void anUpdateIsFoundAndOffered() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        QVERIFY(!button(&settings.view, updateText)->isEnabled());
        QVERIFY(button(&settings.view, notesText) == nullptr);
        settings.click(checkText);
        QVERIFY(shows(&settings.view, u"Newest release: 2.1.0"_s));
        QVERIFY(button(&settings.view, updateText)->isEnabled());
        settings.click(updateText);
        QCOMPARE(settings.world.dialogs.questions.size(), 1);
        QCOMPARE(settings.world.dialogs.questions[0].alert.message, u"Update Uptime Kuma to 2.1.0?"_s);
    }

    void updateWaitsForTheOperationUnderWay() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.click(checkText);
        settings.world.delay("compose stop", 5s, 1);
        settings.kuma().stop();
        settings.world.settle();
        QVERIFY(!button(&settings.view, updateText)->isEnabled());
        QVERIFY(settings.world.operationEnds());
        settings.world.settle();
        QVERIFY(button(&settings.view, updateText)->isEnabled());
    }

    void onlyOneCheckAtATime() {
        ShownSettings settings;
        settings.world.releases.holds = true;
        settings.open();
        QAbstractButton* const check = button(&settings.view, checkText);
        check->setFocus();
        QTest::keyClick(check, Qt::Key_Space);
        settings.world.settle();
        QVERIFY(!check->isEnabled());
        settings.world.releases.letGo();
        settings.world.settle();
        QVERIFY(check->isEnabled());
        // The focus returns to where it was.
        QVERIFY(check->hasFocus());
    }

    /// A screen reader says what has the focus, with its description.
    void screenReadersAreToldHowACheckEnded() {
        ShownSettings settings;
        settings.open();
        QAbstractButton* const check = button(&settings.view, checkText);
        const auto description = [check] { return accessible(check)->text(QAccessible::Description); };
        QCOMPARE(description(), QString());
        settings.world.releases.holds = true;
        QString saidWithFocus;
        const QObject listener;
        connect(qApp, &QApplication::focusChanged, &listener, [&](QWidget*, QWidget* now) {
            if (now == check) {
                saidWithFocus = description();
            }
        });
        settings.click(checkText);
        QVERIFY(!check->hasFocus());
        settings.world.releases.letGo();
        settings.world.settle();
        QVERIFY(check->hasFocus());
        QCOMPARE(saidWithFocus, u"Newest release: 2.1.0"_s);

        settings.kuma().setImageTag(u"1"_s);
        settings.world.settle();
        QCOMPARE(description(), u"Newest release: 2.1.0\nThis is a major version change and may need "
                                "Uptime Kuma's own migration. Read the release notes first."_s);
        settings.world.releases.answer = ReleaseError{u"Could not check for updates (HTTP 403)."_s};
        settings.world.releases.holds = true;
        settings.click(checkText);
        settings.world.releases.letGo();
        settings.world.settle();
        QVERIFY(saidWithFocus.startsWith(u"Could not check for updates (HTTP 403)."_s));
    }

    void aFailedCheckIsTold() {
        ShownSettings settings;
        const QString message = u"Could not check for updates (HTTP 403)."_s;
        settings.world.releases.answer = ReleaseError{message};
        settings.open();
        QVERIFY(!shows(&settings.view, message));
        settings.click(checkText);
        QVERIFY(shows(&settings.view, message));
        QVERIFY(button(&settings.view, notesText) == nullptr);
        settings.world.releases.answer = LatestRelease{.version = u"2.1.0"_s};
        settings.click(checkText);
        QVERIFY(!shows(&settings.view, message));
    }

    void aMajorChangeIsWarnedOf() {
        const auto warning = u"This is a major version change and may need Uptime Kuma's own migration. "
                             "Read the release notes first."_s;
        ShownSettings settings;
        settings.open();
        settings.click(checkText);
        QVERIFY(!shows(&settings.view, warning));
        settings.kuma().setImageTag(u"1"_s);
        settings.world.settle();
        QVERIFY(shows(&settings.view, u"Pinned image: louislam/uptime-kuma:1"_s));
        QVERIFY(shows(&settings.view, warning));
    }

    void anOlderReleaseIsNotOffered() {
        ShownSettings settings;
        settings.world.releases.answer = LatestRelease{.version = u"1.23.16"_s};
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.click(checkText);
        QVERIFY(shows(&settings.view, u"Newest release: 1.23.16"_s));
        QVERIFY(!button(&settings.view, updateText)->isEnabled());
        // There is nothing to be warned of.
        QVERIFY(!shows(&settings.view, u"This is a major version change and may need Uptime Kuma's own migration. "
                                       "Read the release notes first."_s));
        QCOMPARE(button(&settings.view, checkText)->accessibleDescription(), u"Newest release: 1.23.16"_s);
    }

    void releaseNotesAreALink() {
        ShownSettings settings;
        settings.open();
        settings.click(checkText);
        settings.click(notesText);
        const QUrl page(u"https://example.org/2.1.0"_s);
        QCOMPARE(settings.world.desktop.opened, QList<QUrl>{page});
        QAccessibleInterface* const link = accessible(button(&settings.view, notesText));
        QCOMPARE(link->role(), QAccessible::Link);
        QCOMPARE(link->text(QAccessible::Name), notesText);
        link->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(settings.world.desktop.opened.size(), 2);
    }

    void onlyWebPagesAreOpened_data() {
        QTest::addColumn<QString>("page");
        QTest::addColumn<bool>("isOpened");
        QTest::newRow("web") << u"https://example.org/x"_s << true;
        QTest::newRow("file") << u"file:///etc/passwd"_s << false;
        QTest::newRow("script") << u"javascript:alert(1)"_s << false;
        QTest::newRow("mail") << u"mailto:a@example.org"_s << false;
    }
    void onlyWebPagesAreOpened() {
        QFETCH(const QString, page);
        QFETCH(const bool, isOpened);
        ControllerFixture world;
        QList<QUrl> opened;
        FreedesktopDesktop desktop(PrivateBus::none(), [&opened](const QUrl& address) { opened.append(address); });
        SettingsView view({world.controller(), desktop, world.clock, {}}, world.dialogs);
        world.releases.answer = LatestRelease{.version = u"3"_s, .page = page};
        world.controller().checkForUpdates();
        world.settle();
        view.show();
        QAbstractButton* const link = button(&view, notesText);
        QVERIFY(link != nullptr);
        link->click();
        QCOMPARE(opened, isOpened ? QList<QUrl>{QUrl(page)} : QList<QUrl>());
    }
};

ORVANEL_TEST(TestSettingsUpdates)
#include "TestSettingsUpdates.moc"
