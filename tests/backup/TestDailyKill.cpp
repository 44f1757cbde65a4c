#include "DailyWorld.h"
#include "Interception.h"

#include "support/TestClass.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <array>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

/// The exit status of a process that does that; -1 when it was killed.
int inProcess(const std::function<int()>& job) {
    const pid_t child = ::fork();
    if (child == 0) {
        int argc = 1;
        std::array<char, 2> name{'t', '\0'};
        char* argv[] = {name.data(), nullptr};
        const QCoreApplication application(argc, argv);
        ::_exit(job());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

constexpr int days = 9;

/// Nine days of copies. The first two are of the week before the last seven days, so that with each next one expires.
void fill(DailyWorld& world) {
    for (int i = 0; i < 5; ++i) {
        world.folder.write(u"Orvanel/data/upload/file%1"_s.arg(i), QByteArray(1000, 'f'));
    }
    world.folder.write(u"Orvanel/data/kuma.db"_s, "no real database");
    const auto job = [&world] {
        for (int day = 0; day < days; ++day) {
            world.folder.write(u"Orvanel/data/upload/file0"_s, QByteArray::number(day));
            world.nextDay();
            world.prune();
        }
        return 0;
    };
    QCOMPARE(inProcess(job), 0);
    world.now = world.now.addDays(days + 1);
    world.folder.write(u"Orvanel/data/upload/file0"_s, "changed");
}

/// Everything in the Backups folder that a user sees, file by file.
QMap<QString, QString> shown(const DailyWorld& world) {
    auto entries = describe(world.folder.backups());
    entries.removeIf([](const auto& entry) { return entry.key().startsWith(u'.'); });
    return entries;
}

/// Makes a copy and prunes, and is killed before its step of that number. 0 is never: then it begins as the program
/// does at its start. Its exit status.
int run(const DailyWorld& world, int killAt, int report) {
    return inProcess([&] {
        if (killAt == 0) {
            await(BackupManager::cleanUp(world.folder.data(), world.folder.backups()));
        }
        interception().killAt = killAt;
        interception().steps = 0;
        world.make();
        world.prune();
        const int steps = interception().steps;
        return ::write(report, &steps, sizeof steps) == sizeof steps ? 0 : 1;
    });
}

/// Whether the copies that are there are whole: the new one, and each of those before.
void checkCopies(const DailyWorld& world, const QMap<QString, QString>& before, const QString& made) {
    const QStringList names = world.shown();
    for (const QString& name : names) {
        const auto entries = describe(world.folder.backups(name));
        if (name == made) {
            QCOMPARE(difference(describe(world.folder.data()), entries), QString());
            continue;
        }
        QVERIFY(before.contains(name + u"/kuma.db"_s));
        for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
            QCOMPARE(entry.value(), before.value(entry.key() == u"."_s ? name : name + u'/' + entry.key()));
        }
        const auto isOfThis = [&name](const QString& key) { return key.startsWith(name + u'/'); };
        const QStringList known = before.keys();
        QCOMPARE(std::count_if(known.begin(), known.end(), isOfThis), entries.size() - 1);
    }
}

} // namespace

/// Without an application of its own: each process that is forked here makes one.
class TestDailyKill : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { workInMemory(); }

    void eachCopyIsWholeOrGone() {
        std::array<int, 2> ends{};
        QVERIFY(::pipe(ends.data()) == 0);
        DailyWorld whole;
        fill(whole);
        int steps = 0;
        QCOMPARE(run(whole, 0, ends[1]), 0);
        QVERIFY(::read(ends[0], &steps, sizeof steps) == sizeof steps);
        QVERIFY2(steps > 40, qPrintable(QString::number(steps)));
        bool isPlacedSeen = false;
        bool isAbsentSeen = false;
        for (int killAt = 1; killAt <= steps; ++killAt) {
            DailyWorld world;
            fill(world);
            const auto before = shown(world);
            const auto data = describe(world.folder.data());
            const QString made = u"daily-"_s + dailyTime(world.now);
            QCOMPARE(run(world, killAt, ends[1]), -1);
            QCOMPARE(difference(data, describe(world.folder.data())), QString());
            checkCopies(world, before, made);
            QVERIFY(!QTest::currentTestFailed());
            const bool isPlaced = world.shown().contains(made);
            isPlacedSeen = isPlacedSeen || isPlaced;
            isAbsentSeen = isAbsentSeen || !isPlaced;
            QVERIFY(world.shown().size() >= 8);
            // The next run clears up, and knows each copy that is there.
            world.now = world.now.addDays(1);
            int ignored = 0;
            QCOMPARE(run(world, 0, ends[1]), 0);
            QVERIFY(::read(ends[0], &ignored, sizeof ignored) == sizeof ignored);
            QCOMPARE(world.shown().size(), 8);
            QVERIFY2(world.folder.kept().size() == 16, qPrintable(world.folder.kept().join(u' ')));
        }
        QVERIFY(isPlacedSeen);
        QVERIFY(isAbsentSeen);
    }
};

ORVANEL_TEST_WITH(TestDailyKill, .isForking = true)
#include "TestDailyKill.moc"
