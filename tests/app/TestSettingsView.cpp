#include "Contrast.h"
#include "Palettes.h"
#include "ShownSettings.h"
#include "app/AppWindow.h"
#include "app/views/settings/SettingsSection.h"
#include "app/widgets/StateColors.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QApplication>
#include <QScrollArea>
#include <QScrollBar>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

class TestSettingsView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everythingIsSaid() {
        ShownSettings settings;
        settings.open();
        for (const char* text : {
                 "Uptime Kuma",
                 "Port",
                 "Press Start or Restart after changing the port. The container is only reachable from this Mac.",
                 "Status page slug",
                 "The slug of a status page you created in the dashboard. Used to show your monitors here.",
                 "General",
                 "Backups",
                 "Docker command line tool",
                 "Docker was not found.",
                 "Updates",
                 "Pinned image: louislam/uptime-kuma:2",
                 "Newest release: not checked yet",
                 "Update backs up your data first, changes the pinned tag, pulls the new image and restarts. Your data "
                 "folder is never touched.",
                 "Danger zone",
                 "About",
                 "Orvanel controls Uptime Kuma running in Docker on this Mac.",
                 "Uptime Kuma is made by the Uptime Kuma project and published under the MIT License.",
             }) {
            QVERIFY2(shows(&settings.view, QString::fromUtf8(text)), text);
        }
        for (const char* text : {"Launch at login", "Stop the container when I quit", "Reveal data folder in Finder",
                                 "Back up every day", "Choose…", "Check for updates", "Update", "Remove everything…"}) {
            QVERIFY2(button(&settings.view, QString::fromUtf8(text)) != nullptr, text);
        }
    }

    void loginSwitchShowsTheTrueStatus() {
        ShownSettings settings;
        settings.open();
        Switch* const launch = settings.switchWith(u"Launch at login"_s);
        QVERIFY(!launch->isChecked());
        QTest::mouseClick(launch, Qt::LeftButton);
        settings.world.settle();
        QVERIFY(settings.world.loginItem.enabled);
        QVERIFY(launch->isChecked());

        settings.world.loginItem.failure = u"why"_s;
        QTest::mouseClick(launch, Qt::LeftButton);
        settings.world.settle();
        QVERIFY(launch->isChecked());
        QVERIFY(accessible(launch)->state().checked);
        QCOMPARE(settings.kuma().state().error->message, u"Could not change launch at login."_s);
    }

    void loginSwitchIsReadAgainWhenTheWindowComesBack() {
        ShownSettings settings;
        settings.open();
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        settings.world.loginItem.enabled = true;
        settings.view.activateWindow();
        QVERIFY(waitUntil([&] { return settings.switchWith(u"Launch at login"_s)->isChecked(); }));
    }

    void stopOnQuitIsStored() {
        ShownSettings settings;
        settings.open();
        Switch* const stop = settings.switchWith(u"Stop the container when I quit"_s);
        QTest::mouseClick(stop, Qt::LeftButton);
        QVERIFY(settings.kuma().state().stopOnQuit);
        QTest::keyClick(stop, Qt::Key_Space);
        QVERIFY(!settings.kuma().state().stopOnQuit);
    }

    /// A screen reader uses the accessible action of a switch, not a click.
    void screenReadersToggleSwitches() {
        ShownSettings settings;
        settings.open();
        for (const char* name : {"Launch at login", "Stop the container when I quit", "Back up every day"}) {
            Switch* const found = settings.switchWith(QString::fromLatin1(name));
            accessible(found)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
            QVERIFY(found->isChecked());
        }
        QVERIFY(settings.kuma().launchAtLogin() && settings.kuma().state().stopOnQuit);
        QVERIFY(settings.kuma().state().dailyBackup);
    }

    void dataFolderIsRevealed() {
        ShownSettings settings;
        settings.open();
        settings.click(u"Reveal data folder in Finder"_s);
        QCOMPARE(settings.world.desktop.revealed, QStringList{settings.kuma().dataDir()});
    }

    void dockerInUseIsShown() {
        ShownSettings settings;
        settings.open();
        QVERIFY(shows(&settings.view, u"Docker was not found."_s));
        settings.kuma().recheck();
        settings.world.settle();
        QVERIFY(shows(&settings.view, u"In use: /opt/bin/docker"_s));
        settings.world.installedDocker = std::nullopt;
        settings.kuma().recheck();
        settings.world.settle();
        QVERIFY(shows(&settings.view, u"Docker was not found."_s));
    }

    void longPathsBreakNoLayout() {
        ShownSettings settings;
        const QString path = u"/"_s + QString(2000, u'x') + u"/<b>docker</b>"_s;
        settings.world.installedDocker = path;
        settings.kuma().recheck();
        settings.open();
        auto* area = settings.view.findChild<QScrollArea*>();
        QVERIFY(area->widget()->width() <= area->viewport()->width());
        bool isSaid = false;
        for (QLabel* label : settings.view.findChildren<QLabel*>()) {
            isSaid |= accessible(label)->text(QAccessible::Name) == u"In use: "_s + path;
        }
        QVERIFY(isSaid);
    }

    void dockerPathCanBeTyped() {
        ShownSettings settings;
        settings.world.executables.insert(u"/my/docker"_s);
        settings.open();
        QCOMPARE(settings.dockerOverride()->placeholderText(), u"Automatic"_s);
        settings.type(settings.dockerOverride(), u"/my/docker"_s);
        QCOMPARE(settings.kuma().state().dockerOverride, u"/my/docker"_s);
        QVERIFY(settings.world.takeCommands().isEmpty());
        settings.kuma().begin();
        settings.world.settle();
        QVERIFY(shows(&settings.view, u"In use: /my/docker"_s));
    }

    void dockerCanBeChosen() {
        ShownSettings settings;
        settings.world.executables.insert(u"/my/docker"_s);
        settings.open();
        settings.click(u"Choose…"_s);
        QCOMPARE(settings.world.dialogs.openPanels.size(), 1);
        const OpenPanel panel = settings.world.dialogs.openPanels[0];
        QCOMPARE(panel.message, u"Choose the docker command line tool"_s);
        QVERIFY(panel.filesAllowed && !panel.foldersAllowed);
        settings.world.dialogs.pathQuestions[0].answer.complete(u"/my/docker"_s);
        settings.world.settle();
        QCOMPARE(settings.kuma().state().dockerOverride, u"/my/docker"_s);
        QCOMPARE(settings.dockerOverride()->text(), u"/my/docker"_s);
        // Docker is probed at once.
        QVERIFY(shows(&settings.view, u"In use: /my/docker"_s));
        QVERIFY(settings.world.takeCommands().contains(u"inspect"_s));
    }

    void cancellingTheChoiceChangesNothing() {
        ShownSettings settings;
        settings.kuma().setDockerOverride(u"/my/docker"_s);
        settings.open();
        settings.click(u"Choose…"_s);
        settings.world.dialogs.pathQuestions[0].answer.complete(std::nullopt);
        settings.world.settle();
        QCOMPARE(settings.kuma().state().dockerOverride, u"/my/docker"_s);
        QCOMPARE(settings.world.dockerSearches, 0);
        QVERIFY(settings.world.takeCommands().isEmpty());
    }

    void removingAsksFirst() {
        ShownSettings settings;
        settings.open();
        settings.click(u"Remove everything…"_s);
        QCOMPARE(settings.world.dialogs.questions.size(), 1);
        QCOMPARE(settings.world.dialogs.questions[0].alert.message, u"Remove everything?"_s);
        QVERIFY(!settings.kuma().state().busy);
    }

    void coloursCanBeRead_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << lightPalette();
        QTest::newRow("dark") << darkPalette();
    }
    void coloursCanBeRead() {
        QFETCH(const QPalette, palette);
        const QPalette before = QApplication::palette();
        QApplication::setPalette(palette);
        ShownSettings settings;
        settings.open();
        settings.click(checkText);
        settings.kuma().setImageTag(u"1"_s);
        settings.type(settings.port(), u"70000"_s);
        int orange = 0;
        for (const QLabel* label : settings.view.findChildren<QLabel*>()) {
            if (label->isVisible()) {
                const QColor color = label->palette().color(QPalette::WindowText);
                QVERIFY2(contrast(color, palette.color(QPalette::Window)) >= 4.5, qPrintable(label->text()));
                orange += color == textColor(Meaning::pending, palette) ? 1 : 0;
            }
        }
        QCOMPARE(orange, 2);
        const QPalette danger = button(&settings.view, u"Remove everything…"_s)->palette();
        QCOMPARE(danger.color(QPalette::ButtonText), textColor(Meaning::bad, palette));
        QVERIFY(contrast(danger.color(QPalette::ButtonText), danger.color(QPalette::Button)) >= 4.5);
        QApplication::setPalette(before);
    }

    void theFormScrolls() {
        ShownSettings settings;
        settings.open();
        settings.view.resize(560, 300);
        drainEvents();
        auto* area = settings.view.findChild<QScrollArea*>();
        QVERIFY(area->verticalScrollBar()->maximum() > 0);
        QVERIFY(area->widget()->width() <= area->viewport()->width());
        // What Tab reaches comes into view.
        QAbstractButton* const last = button(&settings.view, u"Remove everything…"_s);
        settings.port()->setFocus();
        for (int i = 0; i < 20 && !last->hasFocus(); ++i) {
            QTest::keyClick(settings.view.focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(last->hasFocus());
        const QPoint place = last->mapTo(area->viewport(), last->rect().center());
        QVERIFY(area->viewport()->rect().contains(place));
    }

    void tabGoesFromTopToBottom() {
        ShownSettings settings;
        settings.open();
        settings.click(checkText);
        QVERIFY(settings.world.isPolledAsRunning());
        QStringList reached;
        settings.port()->setFocus();
        for (int i = 0; i < 12; ++i) {
            reached << accessible(settings.view.focusWidget())->text(QAccessible::Name);
            QTest::keyClick(settings.view.focusWidget(), Qt::Key_Tab);
        }
        const QStringList expected{u"Port"_s,
                                   u"Status page slug"_s,
                                   u"Launch at login"_s,
                                   u"Stop the container when I quit"_s,
                                   u"Reveal data folder in Finder"_s,
                                   u"Back up every day"_s,
                                   u"Path to the docker command line tool"_s,
                                   u"Choose…"_s,
                                   checkText,
                                   updateText,
                                   notesText,
                                   u"Remove everything…"_s};
        QCOMPARE(reached, expected);
    }

    void linesBeginAtTheRightForThoseWhoReadFromThere() {
        ShownSettings settings;
        settings.open();
        const auto isWritten = [](QWidget* widget, const QRect& area) {
            const QImage picture = widget->grab(area).toImage();
            QImage empty(picture.size(), picture.format());
            empty.fill(picture.pixelColor(0, 0));
            return picture != empty;
        };
        const auto beginsAt = [&](QWidget* widget, int x) {
            return isWritten(widget, QRect(x, 0, 20, widget->height()));
        };
        QLabel* const title = visibleWith<QLabel>(&settings.view, u"General"_s);
        Switch* const launch = settings.switchWith(u"Launch at login"_s);
        QVERIFY(beginsAt(title, 0) && beginsAt(launch, 0));
        QApplication::setLayoutDirection(Qt::RightToLeft);
        drainEvents();
        const bool areMirrored = beginsAt(title, title->width() - 20) && beginsAt(launch, launch->width() - 20);
        QApplication::setLayoutDirection(Qt::LeftToRight);
        QVERIFY(areMirrored);
    }

    void screenReadersAreToldOfEverything() {
        ShownSettings settings;
        settings.open();
        int named = 0;
        for (QWidget* widget : settings.view.findChildren<QWidget*>()) {
            if (widget->isVisible() && widget->focusPolicy() != Qt::NoFocus) {
                QVERIFY2(!accessible(widget)->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
                named += 1;
            }
        }
        QVERIFY(named >= 10);
        QCOMPARE(accessible(settings.switchWith(u"Launch at login"_s))->role(), QAccessible::CheckBox);
        int groups = 0;
        for (SettingsSection* section : settings.view.findChildren<SettingsSection*>()) {
            QCOMPARE(accessible(section)->role(), QAccessible::Grouping);
            groups += 1;
        }
        QCOMPARE(groups, 7);
    }

    void nothingIsDrawnWhileHidden() {
        ShownSettings settings;
        settings.open();
        settings.view.hide();
        settings.kuma().setPort(3009);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), u"3001"_s);
        settings.view.show();
        QCOMPARE(settings.port()->text(), u"3009"_s);
    }

    void fieldsGiveWayToTheirNames() {
        ShownSettings settings;
        settings.open();
        QCOMPARE(settings.port()->width(), 260);
        QCOMPARE(settings.slug()->width(), 260);

        settings.view.resize(400, 640);
        drainEvents();

        const auto* const name = visibleWith<QLabel>(&settings.view, u"Status page slug"_s);
        QVERIFY(name != nullptr);
        QVERIFY(name->height() < 2 * name->fontMetrics().height());
        QVERIFY(name->width() >= name->fontMetrics().horizontalAdvance(name->text()));
        QVERIFY2(settings.slug()->width() < 260 && settings.slug()->width() >= 140,
                 qPrintable(QString::number(settings.slug()->width())));
    }

    void windowIsAsItShouldBe() {
        ControllerFixture world;
        const SettingsWindow window({world.controller(), world.desktop, world.clock, {}}, world.dialogs);
        QCOMPARE(window.windowTitle(), u"Settings"_s);
        QCOMPARE(window.minimumSize(), window.maximumSize());
        QCOMPARE(window.size(), QSize(560, 640).boundedTo(window.screen()->availableSize()));
    }
};

ORVANEL_TEST(TestSettingsView)
#include "TestSettingsView.moc"
