#include "app/views/settings/BackupsSection.h"

#include "ShownSettings.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

Clock::WallTime noon() {
    const QDateTime time(QDate(2026, 5, 5), QTime(12, 0));
    return Clock::WallTime(std::chrono::milliseconds(time.toMSecsSinceEpoch()));
}

} // namespace

class TestBackupsSection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom)); }

    void lastCopyIsNamed() {
        QCOMPARE(lastBackupText({}, false), QString());
        QCOMPARE(lastBackupText({}, true), u"There is no copy yet."_s);
        QCOMPARE(lastBackupText({.isRunning = true, .lastMade = noon()}, true), u"Backing up…"_s);
        QCOMPARE(lastBackupText({.lastMade = noon(), .lastPlace = u"/b/daily-1"_s}, false),
                 u"Last copy: 05/05/2026 12:00, in /b/daily-1"_s);
        QCOMPARE(lastBackupText({.waiting = u"It waits."_s}, true), u"There is no copy yet.\nIt waits."_s);
    }

    void sizeIsTold() {
        QCOMPARE(backupSizeText({}), QString());
        QCOMPARE(backupSizeText({.copies = 1, .bytes = 2048}), u"One copy takes 2.0 KiB on the disk."_s);
        QCOMPARE(backupSizeText({.copies = 11, .bytes = 2048, .isAtMost = true}),
                 u"11 copies take at most 2.0 KiB on the disk."_s);
    }

    void switchMakesACopyAndTellsOfIt() {
        ShownSettings settings;
        settings.world.clock.setWallTime(noon());
        QVERIFY(settings.world.isPolledAsRunning());
        settings.open();
        QVERIFY(!shows(&settings.view, u"There is no copy yet."_s));
        Switch* const daily = settings.switchWith(u"Back up every day"_s);
        QVERIFY(!daily->isChecked());
        QTest::mouseClick(daily, Qt::LeftButton);
        settings.world.settle();
        QVERIFY(daily->isChecked());
        QCOMPARE(settings.world.backups.jobs.first().kind, u"daily copy"_s);
        const QString place = settings.kuma().backupsDir() + u"/daily-20260505-120000"_s;
        QCOMPARE(settings.kuma().state().dailyBackups.lastPlace, place);
        const auto labels = settings.view.findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.begin(), labels.end(), [&place](const QLabel* label) {
            return label->isVisible() && label->accessibleName() == u"Last copy: 05/05/2026 12:00, in "_s + place;
        }));
        QVERIFY(shows(&settings.view, u"One copy takes 1,000 bytes on the disk."_s));
        // The poll loop makes the next one.
        for (int hour = 0; hour < 13; ++hour) {
            settings.world.advance(1h);
        }
        QCOMPARE(settings.kuma().state().dailyBackups.copies, 2);
    }

    void failureIsTold() {
        ShownSettings settings;
        settings.world.clock.setWallTime(noon());
        QVERIFY(settings.world.isPolledAsRunning());
        settings.world.backups.failure = u"Read-only file system"_s;
        settings.open();
        QTest::mouseClick(settings.switchWith(u"Back up every day"_s), Qt::LeftButton);
        settings.world.settle();
        QVERIFY(
            shows(&settings.view, u"The daily backup failed. Read-only file system\nOrvanel tries again at 13:00."_s));
    }
};

ORVANEL_TEST(TestBackupsSection)
#include "TestBackupsSection.moc"
