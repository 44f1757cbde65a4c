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
#include <functional>
#include <optional>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

/// Data, and an earlier backup to restore.
class TwiceKilled {
public:
    TwiceKilled() {
        m_folder.write(u"Orvanel/data/kuma.db"_s, "database");
        m_folder.write(u"Orvanel/data/upload/file"_s, "uploaded");
        m_folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        m_folder.write(u"earlier/upload/file"_s, "uploaded earlier");
        m_folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s, "oldest");
        m_before = describe(m_folder.data());
    }

    void restore() const {
        await(BackupManager::restore(m_folder.path(u"earlier"_s), m_folder.data(), m_folder.backups()));
    }
    void recover() const { BackupManager::recover(m_folder.data(), m_folder.backups()); }

    bool hasData() const { return QFileInfo::exists(m_folder.data()); }
    bool isRestored() const { return hasData() && difference(m_folder.path(u"earlier"_s), m_folder.data()).isEmpty(); }
    QStringList names() const { return m_folder.names(u"Orvanel"_s); }

    /// The number of places where the previous data is whole.
    qsizetype places() const {
        QStringList folders{m_folder.data()};
        const QStringList kept = m_folder.kept();
        for (const QString& name : kept) {
            folders << m_folder.backups(name);
        }
        return std::count_if(folders.begin(), folders.end(), [this](const QString& folder) {
            return QFileInfo::exists(folder) && difference(m_before, describe(folder)).isEmpty();
        });
    }

    /// What is wrong after a restore was killed before its end; empty if nothing is.
    QString problem() const {
        if (places() != 1) {
            return u"the previous data is in %1 places, beside %2"_s.arg(places()).arg(m_folder.kept().join(u' '));
        }
        const bool isWhole = !hasData() || isRestored() || difference(m_before, describe(m_folder.data())).isEmpty();
        return isWhole ? QString() : u"the data is a mixture"_s;
    }

private:
    DataFolder m_folder;
    QMap<QString, QString> m_before;
};

/// Does the job in a process of its own, which is killed before the step with the number `killAt`; 0 means never.
/// Returns the number of steps, or none if the process was killed.
std::optional<int> perform(const std::function<void()>& job, int killAt) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        qFatal("no pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        int argc = 1;
        std::array<char, 2> name{'t', '\0'};
        char* argv[] = {name.data(), nullptr};
        const QCoreApplication application(argc, argv);
        interception().killAt = killAt;
        interception().steps = 0;
        try {
            job();
        } catch (const std::exception& error) {
            qFatal("%s", error.what());
        }
        const int steps = interception().steps;
        ::_exit(::write(ends[1], &steps, sizeof steps) == sizeof steps ? 0 : 1);
    }
    ::close(ends[1]);
    int steps = 0;
    const bool isTold = ::read(ends[0], &steps, sizeof steps) == sizeof steps;
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (!isKilled && !isTold) {
        qFatal("it fails without being killed");
    }
    return isKilled ? std::nullopt : std::optional(steps);
}

void restoreUntil(const TwiceKilled& scene, int step) {
    if (perform([&] { scene.restore(); }, step)) {
        qFatal("the restore ended before it was killed");
    }
}

int countSteps() {
    const TwiceKilled scene;
    return perform([&] { scene.restore(); }, 0).value_or(0);
}

/// This many last steps include everything from the note of a restore to the removal of its work folder.
constexpr int lastSteps = 28;

} // namespace

/// Restores that are killed, and whose repair is killed as well.
class TestKillTwice : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { workInMemory(); }

    void wayBackLosesNothingByAKill() {
        const int steps = countSteps();
        QVERIFY2(steps > lastSteps, qPrintable(QString::number(steps)));
        int killedWaysBack = 0;
        bool isBeforeNoteSeen = false;
        for (int step = steps; step > steps - lastSteps; --step) {
            bool isEnding = false;
            for (int second = 1; !isEnding; ++second) {
                const TwiceKilled scene;
                restoreUntil(scene, step);
                isBeforeNoteSeen = isBeforeNoteSeen || (scene.hasData() && !scene.isRestored());
                isEnding = perform([&] { scene.recover(); }, second).has_value();
                killedWaysBack += isEnding ? 0 : 1;
                const QString at = u"step %1 of %2, then %3: "_s.arg(step).arg(steps).arg(second);
                QVERIFY2(scene.problem().isEmpty(), qPrintable(at + scene.problem()));
                scene.recover();
                QVERIFY2(scene.hasData(), qPrintable(at + u"no data"_s));
                QVERIFY2(scene.problem().isEmpty(), qPrintable(at + scene.problem()));
            }
        }
        qInfo("%d ways back were killed", killedWaysBack);
        QVERIFY(killedWaysBack > 10);
        QVERIFY2(isBeforeNoteSeen, "the last steps did not reach the first move");
    }

    void nothingIsLostByTwoKillsInARow() {
        const int steps = countSteps();
        std::mt19937 random(3);
        // The second restore has more steps than the first, because it gives the data back first.
        std::uniform_int_distribution<int> wayBack(1, 8);
        std::uniform_int_distribution<int> anyStep(1, steps + 8);
        int killedTwice = 0;
        for (int i = 0; i < lastSteps * 3; ++i) {
            const int step = steps - i % lastSteps;
            const int second = (i % 3 == 0 ? wayBack : anyStep)(random);
            const QString at = u"step %1 of %2, then %3: "_s.arg(step).arg(steps).arg(second);
            const TwiceKilled scene;
            restoreUntil(scene, step);
            // If it was, the second restore may delete what the first one kept.
            const bool isFirstDone = scene.isRestored();
            killedTwice += perform([&] { scene.restore(); }, second) ? 0 : 1;
            QVERIFY2(isFirstDone || scene.problem().isEmpty(), qPrintable(at + scene.problem()));
            scene.recover();
            QVERIFY2(scene.hasData(), qPrintable(at + u"no data"_s));
            QVERIFY2(isFirstDone ? scene.isRestored() : scene.problem().isEmpty(), qPrintable(at + scene.problem()));
            const bool isRestored = scene.isRestored();
            QVERIFY(perform([&] { scene.restore(); }, 0));
            QVERIFY2(scene.isRestored(), qPrintable(at + u"not restored at last"_s));
            QVERIFY2(isRestored || scene.places() == 1, qPrintable(at + scene.problem()));
            QCOMPARE(scene.names(), (QStringList{u"Backups"_s, u"data"_s}));
        }
        qInfo("%d were killed twice", killedTwice);
        QVERIFY(killedTwice > lastSteps);
    }
};

ORVANEL_TEST_WITH(TestKillTwice, .isForking = true)
#include "TestKillTwice.moc"
