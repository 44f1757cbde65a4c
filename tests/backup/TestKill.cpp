#include "DataFolder.h"
#include "Interception.h"

#include "backup/BackupManager.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

enum class Operation {
    Backup,
    BackupOverFolder,
    BackupOverFolderWithoutExchange,
    Zip,
    ZipOverZip,
    ZipOverFolder,
    Automatic,
    RestoreFolder,
    RestoreZip
};

bool isRestore(Operation operation) {
    return operation == Operation::RestoreFolder || operation == Operation::RestoreZip;
}

bool isZip(Operation operation) {
    return operation == Operation::Zip || operation == Operation::ZipOverZip || operation == Operation::ZipOverFolder;
}

/// Data, and an earlier backup of it as a folder or a zip, with their descriptions.
struct KillScene {
    DataFolder folder;
    QMap<QString, QString> data;
    QMap<QString, QString> earlier;

    QString destination(Operation operation) const { return folder.path(isZip(operation) ? u"copy.zip"_s : u"copy"_s); }
};

/// The data that an earlier restore kept.
const QString oldest = u"Orvanel/Backups/before-restore-2020-01-01-000000"_s;

void fill(const KillScene& scene, Operation operation, int files) {
    const DataFolder& folder = scene.folder;
    for (int i = 0; i < files; ++i) {
        folder.write(u"Orvanel/data/upload/%1/file%2"_s.arg(i % 7).arg(i), QByteArray(qsizetype{1000} * i, 'f'));
    }
    folder.fill();
    const bool overFolder = operation == Operation::BackupOverFolder ||
                            operation == Operation::BackupOverFolderWithoutExchange ||
                            operation == Operation::ZipOverFolder;
    if (operation == Operation::RestoreFolder) {
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        folder.write(u"earlier/upload/file"_s, QByteArray(200'000, 'e'));
    } else if (operation == Operation::RestoreZip) {
        folder.write(u"data/kuma.db"_s, "of an earlier time");
        folder.write(u"data/upload/file"_s, QByteArray(200'000, 'e'));
        runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, u"zip"_s, u"-f"_s, folder.path(u"earlier.zip"_s), u"-C"_s,
                              folder.path(), u"data"_s});
        QDir().rename(folder.path(u"data"_s), folder.path(u"earlier"_s));
    } else if (overFolder) {
        folder.write(isZip(operation) ? u"copy.zip/old"_s : u"copy/old"_s, "old");
        folder.write(isZip(operation) ? u"copy.zip/inner/old"_s : u"copy/inner/old"_s, "old");
    } else if (operation == Operation::ZipOverZip) {
        folder.write(u"copy.zip"_s, "old");
    }
    if (isRestore(operation)) {
        for (int i = 0; i < 5; ++i) {
            folder.write(oldest + u"/upload/file%1"_s.arg(i), "oldest");
        }
        folder.write(oldest + u"/kuma.db"_s, "oldest");
    }
}

void perform(const KillScene& scene, Operation operation) {
    const DataFolder& folder = scene.folder;
    if (operation == Operation::Automatic) {
        await(BackupManager::autoBackup(folder.data(), folder.backups(), u"before-update"_s));
    } else if (isRestore(operation)) {
        const QString source = folder.path(operation == Operation::RestoreZip ? u"earlier.zip"_s : u"earlier"_s);
        await(BackupManager::restore(source, folder.data(), folder.backups()));
    } else {
        await(BackupManager::backUp(folder.data(), scene.destination(operation)));
    }
}

/// Performs the operation in a process of its own, which is killed before the step with the number `killAt`; 0 means
/// never.
pid_t startPerforming(const KillScene& scene, Operation operation, int killAt, int report = -1) {
    const pid_t child = ::fork();
    if (child != 0) {
        return child;
    }
    int argc = 1;
    std::array<char, 2> name{'t', '\0'};
    char* argv[] = {name.data(), nullptr};
    qputenv("TMPDIR", QFile::encodeName(scene.folder.path(u"tmp"_s)));
    const QCoreApplication application(argc, argv);
    interception().withoutExchange = operation == Operation::BackupOverFolderWithoutExchange;
    // The program does this at every start.
    await(BackupManager::cleanUp(scene.folder.data(), scene.folder.backups()));
    interception().killAt = killAt;
    interception().steps = 0;
    try {
        perform(scene, operation);
    } catch (const std::exception& error) {
        qWarning("%s", error.what());
        ::_exit(1);
    }
    const int steps = interception().steps;
    if (report >= 0 && ::write(report, &steps, sizeof steps) != sizeof steps) {
        ::_exit(2);
    }
    ::_exit(0);
}

/// The exit status; -1 if the process was killed.
int endOf(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::unique_ptr<KillScene> makeScene(Operation operation, int files) {
    auto scene = std::make_unique<KillScene>();
    QDir().mkpath(scene->folder.path(u"tmp"_s));
    fill(*scene, operation, files);
    scene->data = describe(scene->folder.data());
    scene->earlier = describe(scene->folder.path(u"earlier"_s));
    return scene;
}

bool isOldDestination(const KillScene& scene, Operation operation) {
    const QString destination = scene.destination(operation);
    switch (operation) {
    case Operation::ZipOverZip:
        return scene.folder.read(u"copy.zip"_s) == "old";
    case Operation::BackupOverFolder:
    case Operation::BackupOverFolderWithoutExchange:
    case Operation::ZipOverFolder:
        return describe(destination).size() == 4 && QFileInfo::exists(destination + u"/old"_s) &&
               QFileInfo::exists(destination + u"/inner/old"_s);
    default:
        return !QFileInfo::exists(destination);
    }
}

QString problemWithNewZip(const KillScene& scene, const QString& zip) {
    const QString folder = scene.folder.path(u"unpacked"_s);
    QDir().mkpath(folder);
    const QString output = runTool(u"bsdtar"_s, {u"-xpf"_s, zip, u"-C"_s, folder});
    QString problem = output.startsWith(u"failed") || describe(folder + u"/data"_s).keys() != scene.data.keys()
                          ? u"mixed: "_s + output
                          : QString();
    QDir(folder).removeRecursively();
    return problem;
}

/// Without an exchange there is a moment when the old and the new backup are both in the work folder, and whole.
bool isInWorkFolder(const KillScene& scene) {
    const QStringList names = scene.folder.names();
    for (const QString& name : names) {
        const QString old = scene.folder.path(name + u"/replaced/copy"_s);
        if (name.startsWith(u".orvanel-") && describe(old).size() == 4) {
            return difference(scene.data, describe(scene.folder.path(name + u"/copy"_s))).isEmpty();
        }
    }
    return false;
}

QString problemAfterBackup(const KillScene& scene, Operation operation) {
    const QString changed = difference(scene.data, describe(scene.folder.data()));
    if (!changed.isEmpty()) {
        return u"the data changed: "_s + changed;
    }
    QString destination = scene.destination(operation);
    if (operation == Operation::Automatic) {
        QStringList names = scene.folder.kept();
        names.removeIf([](const QString& name) { return name.startsWith(u".orvanel-"); });
        if (names.isEmpty()) {
            return {};
        }
        destination = scene.folder.backups(names.first());
    }
    if (isOldDestination(scene, operation) && operation != Operation::Automatic) {
        const bool isLost = operation == Operation::BackupOverFolderWithoutExchange && !QFileInfo::exists(destination);
        return isLost ? u"the old backup is lost"_s : QString();
    }
    if (operation == Operation::BackupOverFolderWithoutExchange && !QFileInfo::exists(destination)) {
        return isInWorkFolder(scene) ? QString() : u"the old backup is lost"_s;
    }
    return isZip(operation) ? problemWithNewZip(scene, destination) : difference(scene.data, describe(destination));
}

QString problemAfterRestore(const KillScene& scene, Operation operation) {
    QStringList kept = scene.folder.kept();
    kept.removeIf([](const QString& name) { return name.startsWith(u'.'); });
    if (kept.removeAll(u"before-restore-2020-01-01-000000"_s) > 0 && describe(scene.folder.path(oldest)).size() != 8) {
        return u"half a kept copy looks whole"_s;
    }
    const auto data = QFileInfo::exists(scene.folder.data()) ? describe(scene.folder.data()) : QMap<QString, QString>();
    if (difference(scene.data, data).isEmpty()) {
        return kept.isEmpty() ? QString() : u"the data is in two places"_s;
    }
    if (kept.size() != 1 || !kept.first().startsWith(u"before-restore-")) {
        return u"the data is not in its place, and there is "_s + kept.join(u' ');
    }
    const QString lost = difference(scene.data, describe(scene.folder.backups(kept.first())));
    if (!lost.isEmpty()) {
        return u"the kept data is not whole: "_s + lost;
    }
    if (data.isEmpty()) {
        return {};
    }
    if (operation == Operation::RestoreZip) {
        return data.keys() == scene.earlier.keys() ? QString() : u"the restored data is not whole"_s;
    }
    return difference(scene.earlier, data);
}

QString problemAfter(const KillScene& scene, Operation operation) {
    return isRestore(operation) ? problemAfterRestore(scene, operation) : problemAfterBackup(scene, operation);
}

QStringList leftovers(const KillScene& scene) {
    QStringList found = scene.folder.names(u"tmp"_s);
    for (const QString& place : {QString(), u"Orvanel"_s, u"Orvanel/Backups"_s}) {
        found += scene.folder.names(place).filter(u".orvanel-"_s);
    }
    return found;
}

/// Does what a start of the program does before it needs the data folder, and checks the data.
QString problemOfNextStart(const KillScene& scene) {
    const DataFolder& folder = scene.folder;
    BackupManager::recover(folder.data(), folder.backups());
    QDir().mkpath(folder.data());
    const auto data = describe(folder.data());
    if (difference(scene.data, data).isEmpty() || data.keys() == scene.earlier.keys()) {
        return {};
    }
    return u"the next start begins with "_s + data.keys().join(u' ');
}

/// Whether one of the kept folders holds the previous data.
bool isKept(const KillScene& scene) {
    const QStringList kept = scene.folder.kept();
    return std::any_of(kept.begin(), kept.end(), [&](const QString& name) {
        return difference(scene.data, describe(scene.folder.backups(name))).isEmpty();
    });
}

/// Checks that the next run at the same place succeeds, loses nothing and cleans up. The archiver of a killed run may
/// go on writing for a moment, so cleaning up may take more than one run.
QString problemOfNextRun(const KillScene& scene, Operation operation) {
    bool mustBeKept = false;
    if (isRestore(operation)) {
        QString problem = problemOfNextStart(scene);
        if (!problem.isEmpty()) {
            return problem;
        }
        mustBeKept = difference(scene.data, describe(scene.folder.data())).isEmpty();
    }
    for (int run = 0; run < 20; ++run) {
        if (endOf(startPerforming(scene, operation, 0)) != 0) {
            return u"the next run failed"_s;
        }
        if (run == 0 && mustBeKept && !isKept(scene)) {
            return u"the next restore lost the data"_s;
        }
        if (leftovers(scene).isEmpty()) {
            return {};
        }
    }
    return u"left: "_s + leftovers(scene).join(u' ');
}

int countSteps(Operation operation, int files) {
    const auto scene = makeScene(operation, files);
    std::array<int, 2> ends{};
    int steps = 0;
    if (::pipe(ends.data()) != 0 || endOf(startPerforming(*scene, operation, 0, ends[1])) != 0 ||
        ::read(ends[0], &steps, sizeof steps) != sizeof steps) {
        qFatal("the operation fails without being killed");
    }
    ::close(ends[0]);
    ::close(ends[1]);
    return steps;
}

} // namespace

/// Runs without an application object, because each forked process makes its own.
class TestKill : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { workInMemory(); }

    void nothingIsLostByAKill_data() {
        QTest::addColumn<int>("operation");
        QTest::addColumn<int>("files");
        QTest::addColumn<int>("kills");
        const auto row = [](const char* name, Operation operation, int files, int kills) {
            QTest::newRow(name) << static_cast<int>(operation) << files << kills;
        };
        row("backup", Operation::Backup, 3, 20);
        row("backup over a folder", Operation::BackupOverFolder, 3, 45);
        row("backup over a folder, without exchange", Operation::BackupOverFolderWithoutExchange, 3, 45);
        row("backup over a folder, larger", Operation::BackupOverFolder, 100, 10);
        row("zip over a zip", Operation::ZipOverZip, 3, 85);
        row("zip over a folder", Operation::ZipOverFolder, 3, 85);
        row("automatic", Operation::Automatic, 3, 20);
        row("restore of a folder", Operation::RestoreFolder, 3, 30);
        row("restore of a folder, larger", Operation::RestoreFolder, 100, 10);
        row("restore of a zip", Operation::RestoreZip, 3, 20);
    }

    void nothingIsLostByAKill() {
        QFETCH(const int, operation);
        QFETCH(const int, files);
        QFETCH(const int, kills);
        const auto what = static_cast<Operation>(operation);
        const int steps = countSteps(what, files);
        QVERIFY2(steps > 20, qPrintable(QString::number(steps)));
        bool isBeforeSwapSeen = false;
        std::mt19937 random(static_cast<unsigned>(operation));
        std::uniform_int_distribution<int> anyStep(1, steps);
        for (int i = 0; i < kills; ++i) {
            // The swap is among the last steps, so every one of those gets its kill.
            const bool isInTurn = i < kills * 4 / 5;
            const int step = isInTurn ? std::max(1, steps - i) : anyStep(random);
            const auto scene = makeScene(what, files);
            QCOMPARE(endOf(startPerforming(*scene, what, step)), -1);
            const QString at = u"step %1 of %2: "_s.arg(step).arg(steps);
            const QString problem = problemAfter(*scene, what);
            QVERIFY2(problem.isEmpty(), qPrintable(at + problem));
            isBeforeSwapSeen = isBeforeSwapSeen || (isInTurn && isOldDestination(*scene, what));
            // After a kill during a restore, the way back is checked at each of these steps.
            if (i % 3 == 0 || (isInTurn && isRestore(what))) {
                const QString next = problemOfNextRun(*scene, what);
                QVERIFY2(next.isEmpty(), qPrintable(at + next));
            }
        }
        QVERIFY2(isBeforeSwapSeen || files > 3, "the steps taken in turn did not reach the swap");
    }

    void nothingIsLostByAKillAtAnyTime() {
        std::mt19937 random(7);
        std::uniform_int_distribution<useconds_t> moment(0, 120'000);
        for (int i = 0; i < 30; ++i) {
            const auto operation = static_cast<Operation>(i % 9);
            const auto scene = makeScene(operation, 40);
            const pid_t child = startPerforming(*scene, operation, 0);
            ::usleep(moment(random));
            ::kill(child, SIGKILL);
            endOf(child);
            const QString problem = problemAfter(*scene, operation);
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            const QString next = problemOfNextRun(*scene, operation);
            QVERIFY2(next.isEmpty(), qPrintable(next));
        }
    }
};

ORVANEL_TEST_WITH(TestKill, .isForking = true)
#include "TestKill.moc"
