#include "DailyWorld.h"
#include "FileEdits.h"
#include "backup/BackupManager.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <random>
#include <sys/stat.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

/// One change that a server, or whoever works on its data, may make.
void changeSomething(const DataFolder& folder, std::mt19937& random) {
    const QString root = u"Orvanel/data/"_s;
    const QString name = u"upload/%1/file%2"_s.arg(random() % 3).arg(random() % 12);
    const QString path = folder.data(name);
    const QByteArray content(static_cast<qsizetype>(1 + random() % 3000), static_cast<char>('a' + random() % 26));
    switch (random() % 9) {
    case 0:
    case 1:
        folder.write(root + name, content);
        break;
    case 2:
        if (QFileInfo::exists(path)) {
            writeInPlace(path, content.left(10));
        }
        break;
    case 3:
        if (QFileInfo::exists(path)) {
            // As if nothing had been written.
            const timespec date = dateOf(path);
            writeInPlace(path, content.left(static_cast<qsizetype>(std::min<qint64>(5, QFileInfo(path).size()))));
            setDate(path, date);
        }
        break;
    case 4:
        QFile::remove(path);
        break;
    case 5:
        QFile::rename(path, folder.data(u"moved%1"_s.arg(random() % 5)));
        break;
    case 6:
        ::link(QFile::encodeName(path).constData(),
               QFile::encodeName(folder.data(u"second name%1"_s.arg(random() % 5))).constData());
        break;
    case 7:
        ::chmod(QFile::encodeName(path).constData(), random() % 2 == 0 ? 0600 : 0644);
        break;
    default:
        writeInPlace(folder.data(u"kuma.db"_s), content);
        break;
    }
}

} // namespace

/// Daily copies that somebody edits or deletes, and that nothing else alters.
class TestAlteredCopies : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void noCopyIsEverAltered_data() {
        QTest::addColumn<unsigned>("seed");
        for (const unsigned seed : {1U, 2U, 3U, 4U}) {
            QTest::addRow("seed %u", seed) << seed;
        }
    }

    /// Neither by later copies, nor by what the server does, nor by restores.
    void noCopyIsEverAltered() {
        QFETCH(const unsigned, seed);
        std::mt19937 random(seed);
        DailyWorld world;
        world.folder.fill();
        QMap<QString, QMap<QString, QString>> made;
        int compared = 0;
        for (int day = 0; day < 60; ++day) {
            for (unsigned change = random() % 8; change > 0; --change) {
                changeSomething(world.folder, random);
            }
            const QString path = world.nextDay();
            QCOMPARE(difference(world.folder.data(), path), QString());
            made.insert(path, describe(path));
            world.prune();
            const QStringList names = world.shown();
            QVERIFY(names.filter(u"daily-"_s).size() <= 11);
            QVERIFY(names.contains(QFileInfo(path).fileName()));
            for (const QString& name : names.filter(u"daily-"_s)) {
                const QString kept = world.folder.backups(name);
                QCOMPARE(difference(made.value(kept), describe(kept)), QString());
                compared += 1;
            }
            if (random() % 5 == 0) {
                const QString chosen =
                    world.folder.backups(names.filter(u"daily-"_s)
                                             .at(static_cast<qsizetype>(
                                                 random() % static_cast<unsigned>(names.filter(u"daily-"_s).size()))));
                await(BackupManager::restore(chosen, world.folder.data(), world.folder.backups()));
                QCOMPARE(difference(made.value(chosen), describe(world.folder.data())), QString());
            }
        }
        QVERIFY(compared > 400);
        for (const DailyCopy& copy : world.look().copies) {
            QVERIFY(!copy.isChanged);
        }
    }

    void editedCopyIsNoticedAndSpoilsNoOther() {
        DailyWorld world;
        world.folder.fill();
        const QString first = world.make()->backup.path;
        writeInPlace(first + u"/upload/logo1.png"_s, "edited");
        QVERIFY(world.look().copies.first().isChanged);
        const QString second = world.nextDay();
        QCOMPARE(difference(world.folder.data(), second), QString());
        QVERIFY(idOf(first + u"/upload/locked.txt"_s) != idOf(second + u"/upload/locked.txt"_s));
        // What somebody has put something into stays for ever.
        for (int day = 0; day < 60; ++day) {
            world.nextDay();
            world.prune();
        }
        QVERIFY(world.shown().contains(QFileInfo(first).fileName()));
        QVERIFY(!world.shown().contains(QFileInfo(second).fileName()));
        QCOMPARE(world.shown().size(), 12);
    }

    /// With the date of before, so that nobody notices. The next copy is right all the same.
    void secretlyEditedCopySpoilsNoOther() {
        DailyWorld world;
        world.folder.fill();
        const QString first = world.make()->backup.path;
        const timespec date = dateOf(first + u"/upload/logo1.png"_s);
        writeInPlace(first + u"/upload/logo1.png"_s, "edited");
        setDate(first + u"/upload/logo1.png"_s, date);
        QVERIFY(!world.look().copies.first().isChanged);
        QCOMPARE(difference(world.folder.data(), world.nextDay()), QString());
    }

    void halfDeletedCopyIsNoticedAndNotCounted() {
        DailyWorld world;
        world.folder.fill();
        const QString good = world.make()->backup.path;
        const QString half = world.nextDay();
        QVERIFY(QFile::remove(half + u"/kuma.db"_s));
        QVERIFY(QDir(half + u"/upload"_s).removeRecursively());
        damageDatabase(world.folder.data(u"kuma.db"_s));
        for (int day = 0; day < 60; ++day) {
            world.nextDay();
            world.prune();
        }
        // The good one is the newest that passed, since the half one no longer is what passed.
        QVERIFY(world.shown().contains(QFileInfo(good).fileName()));
        QVERIFY(world.shown().contains(QFileInfo(half).fileName()));
        const DailyCopyStock stock = world.look();
        QVERIFY(stock.copies.at(0).isGood());
        QVERIFY(stock.copies.at(1).isChanged);
    }

    void deletedCopyIsForgotten() {
        DailyWorld world;
        world.folder.fill();
        QVERIFY(QDir(world.make()->backup.path).removeRecursively());
        QVERIFY(world.look().copies.isEmpty());
        world.nextDay();
        QCOMPARE(world.folder.kept().size(), 2);
    }
};

ORVANEL_TEST(TestAlteredCopies)
#include "TestAlteredCopies.moc"
