#include "RandomSequence.h"
#include "support/TestClass.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel::test;

namespace {

constexpr std::uint64_t sequences = 4000;

/// What must happen somewhere in that many sequences; otherwise the test shows nothing.
const QStringList& expected() {
    static const QStringList list =
        u"info|inspect|image inspect|compose version|compose pull|pull|compose up|rm|run|compose stop|stop|"
        "compose down|logs|back up|auto backup|restore|daily copy|prune|The daily backup failed.|unknown|missing|not "
        "running|ready|stopped|starting|running|failing|news|"
        "a port error|Cancelled.|Docker did not answer in time.|Docker reported an error.|"
        "Docker is not running.|Your disk is full. Free some space and try again.|"
        "Docker could not reach the internet to download the image. Check your connection.|"
        "Uptime Kuma keeps restarting. Open the logs to see why.|The backup failed.|"
        "The restore failed. The disk is full.|The backup before the update failed, so nothing was changed.|"
        "brew install|colima start|ps|Colima is not installed.|Colima could not start.|"
        "Colima started but the Docker daemon is not answering.|"
        "Homebrew could not install Colima and Docker.|"
        "Homebrew is not installed, so the app cannot install Colima for you.|"
        "The docker command line tool was not found after the install.|"
        "pkexec install|pkexec join|The package manager could not install Docker.|"
        "Docker was installed, but it does not answer.|"
        "You are in the group “docker” now. Log out and back in to use Docker.|"
        "polkit is not installed, so Orvanel cannot ask for your password.|"
        "The password was not accepted, or the question for it was dismissed, so Docker was not started.|"
        "The new version's name cannot be an image tag, so nothing was changed.|"
        "The backup was made, but its database did not pass a check.|"
        "The backup before the update did not pass a check, so nothing was changed.|"
        "end of the log|went back|"
        "The backup from before the update is not what it was, so nothing was changed."_s.split(u'|');
    return list;
}

} // namespace

/// Some rules hold whatever the user, Docker, the server and the clock do in whatever order (see ControllerWatch). Each
/// run takes the same sequences, from 1 on. ORVANEL_FIRST_SEED=n begins elsewhere, and ORVANEL_SEQUENCES=n takes n of
/// them. ORVANEL_SEED=n repeats only sequence n and prints its steps.
class TestRandomSequences : public QObject {
    Q_OBJECT

    QSet<QString> m_seen;

    bool holds(std::uint64_t seed, bool isTold) {
        RandomSequence sequence(seed);
        const QString violation = sequence.run();
        if (isTold || !violation.isEmpty()) {
            qInfo().noquote() << "steps:\n   " << sequence.trace().join(u"\n    "_s);
        }
        if (!violation.isEmpty()) {
            qWarning().noquote() << "broken:" << violation << "- repeat it with" << u"ORVANEL_SEED=%1"_s.arg(seed);
        }
        m_seen.unite(sequence.seen());
        return violation.isEmpty();
    }

private Q_SLOTS:
    void initTestCase() {
        // The test makes thousands of homes, whose files need never reach a disk.
        const QString memory = u"/dev/shm"_s;
        if (QFileInfo(memory).isDir() && QFileInfo(memory).isWritable()) {
            qputenv("TMPDIR", QFile::encodeName(memory));
        }
    }

    void rulesHold() {
        if (qEnvironmentVariableIsSet("ORVANEL_SEED")) {
            QVERIFY(holds(qEnvironmentVariable("ORVANEL_SEED").toULongLong(), true));
            return;
        }
        // The sequences are the same each time, so that a test that passed passes again; ORVANEL_FIRST_SEED takes
        // others.
        const std::uint64_t first = qEnvironmentVariable("ORVANEL_FIRST_SEED", u"1"_s).toULongLong();
        const std::uint64_t count = qEnvironmentVariableIsSet("ORVANEL_SEQUENCES")
                                        ? qEnvironmentVariable("ORVANEL_SEQUENCES").toULongLong()
                                        : sequences;
        qInfo() << "sequences" << first << "to" << first + count - 1;
        for (std::uint64_t seed = first; seed < first + count; ++seed) {
            QVERIFY(holds(seed, false));
        }
        if (count >= sequences) {
            const QStringList& all = expected();
            const QStringList missing = (QSet<QString>(all.begin(), all.end()) - m_seen).values();
            QVERIFY2(missing.isEmpty(), qPrintable(missing.join(u'|')));
        }
    }
};

ORVANEL_TEST(TestRandomSequences)
#include "TestRandomSequences.moc"
