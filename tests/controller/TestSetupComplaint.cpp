#include "controller/SetupComplaint.h"
#include "process/CommandResult.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

const auto locked = u"Another program is installing software right now. Try again when it is done."_s;
const auto full = u"Your disk is full. Free some space and try again."_s;
const auto unreachable = u"The package sources could not be reached. Check your connection and try again."_s;
const auto broken = u"The package sources sent something broken or out of date. Try again later."_s;
const auto unknown = u"The package sources of this computer do not have Docker."_s;
const auto inTheWay = u"Installing Docker would remove other software, so nothing was installed."_s;
const auto unasked = u"Orvanel could not ask for your password, so nothing was changed."_s;

} // namespace

/// The sentence for each way in which a run of the root helper ends.
class TestSetupComplaint : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statuses_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char* name, int status, const QString& output, const QString& sentence) {
            QTest::newRow(name) << status << output << sentence;
        };
        row("dismissed", 126, u"Error executing command as another user: Request dismissed\n"_s,
            u"The question for your password was dismissed, so nothing was changed."_s);
        row("refused", 127,
            u"Error executing command as another user: Not authorized\n\nThis incident has been reported.\n"_s,
            u"The password was not accepted, or you may not administer this computer, so nothing was changed."_s);
        row("no agent", 127, u"Error executing command as another user: No authentication agent found.\n"_s,
            u"This desktop has no program that asks for your password, so nothing was changed."_s);
        row("no pkexec", -1, u"Could not run /usr/bin/pkexec: No such file or directory"_s, unasked);
        row("no polkit", 127, u"Error getting authority: Error initializing authority\n"_s, unasked);
        row("not a verb", 64, u"This helper …"_s, u"Docker could not be set up."_s);
        row("not through polkit", 65, u"This helper …"_s, u"Docker could not be set up."_s);
        row("twice", 66, u"Docker is being set up already."_s, u"Docker is being set up already."_s);
        row("cancelled", 67, {}, u"Cancelled."_s);
        row("cancelled later", 68, {}, u"Cancelled after the step that was under way."_s);
        row("no package manager", 69, {}, u"This computer has no package manager that Orvanel knows."_s);
        row("service", 71, {}, u"Docker is installed, but its service could not be started."_s);
        row("group", 72, {}, u"You could not be added to the group “docker”."_s);
        row("socket", 73, {}, u"You cannot use Docker right away. Log out and back in to use it."_s);
        const auto interrupted = u"Setting up Docker was interrupted. What it had begun may still be going on."_s;
        row("killed", 137, u"$ apt-get install docker.io\n"_s, interrupted);
        row("crashed", 134, {}, interrupted);
        row("unheard of", 99, {}, u"Docker could not be set up."_s);
    }
    void statuses() {
        QFETCH(const int, status);
        QFETCH(const QString, output);
        QFETCH(const QString, sentence);
        const Outcome outcome = outcomeOfHelper({.status = status, .output = output});
        QVERIFY(outcome);
        QCOMPARE(outcome->error, (OpError{sentence, output}));
    }

    /// As the package managers say it.
    void packageManagers_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char* output, const QString& sentence) {
            QTest::newRow(output) << QString::fromLatin1(output) << sentence;
        };
        row("E: Could not get lock /var/lib/dpkg/lock-frontend. It is held by process 812 (unattended-upgr)", locked);
        row("error: failed to init transaction (unable to lock database)", locked);
        row("System management is locked by the application with pid 900 (zypper).", locked);
        row("E: You don't have enough free space in /var/cache/apt/archives/.", full);
        row("dpkg: error processing archive x.deb: failed to write (No space left on device)", full);
        row("Error: At least 123MB more space needed on the / filesystem.", full);
        row("  installing package docker needs 12MB more space on the / filesystem", full);
        row("error: Partition / too full: not enough free disk space", full);
        row("E: Failed to fetch http://x/y  Temporary failure resolving 'x'", unreachable);
        row("W: Failed to fetch http://x  Could not connect to x:80, connection timed out", unreachable);
        row("Curl error (6): Couldn't resolve host name for http://x", unreachable);
        row("error: failed retrieving file 'core.db' from x : Could not resolve host: x", unreachable);
        row("E: Failed to fetch http://x/y.deb  Unable to connect to x:80:", unreachable);
        row("E: Failed to fetch http://x/y.deb  Connection failed [IP: 192.0.2.1 80]", unreachable);
        row("Curl error (7): Couldn't connect to server for http://x [Failed to connect to x port 80]", unreachable);
        row("E: Failed to fetch http://x/y.deb  Hash Sum mismatch", broken);
        row("error: failed retrieving file 'docker.pkg' from x : The requested URL returned error: 404", broken);
        row("E: Failed to fetch http://x/y.deb  404  Not Found [IP: 192.0.2.1 80]", broken);
        row("Error: Error downloading packages: Cannot download x.rpm: All mirrors were tried", broken);
        row("E: Unable to locate package docker.io", unknown);
        row("E: Package 'docker.io' has no installation candidate", unknown);
        row("Error: Unable to find a match: moby-engine", unknown);
        row("error: target not found: docker", unknown);
        row("'docker' not found in package names. Trying capabilities.", unknown);
        row("E: Packages need to be removed but remove is disabled.", inTheWay);
        row("error: unresolvable package conflicts detected\n:: docker and podman-docker are in conflict", inTheWay);
        row("E: dpkg was interrupted, you must manually run 'dpkg --configure -a'",
            u"An earlier installation was interrupted. Run “sudo dpkg --configure -a”, then try again."_s);
        row("Segmentation fault", u"The package manager could not install Docker."_s);
        row("", u"The package manager could not install Docker."_s);
        row("Error: \n - conflicting requests\n - nothing provides x needed by moby-engine",
            u"The package manager could not install Docker."_s);
        // A lock was waited for, and came free.
        row("Waiting for cache lock: Could not get lock /var/lib/dpkg/lock.\nE: Failed to fetch x  Could not resolve "
            "'x'",
            unreachable);
        // A network that is silent is why the package is not known.
        row("$ apt-get update\nTemporary failure resolving 'x'\n$ apt-get install\nE: Unable to locate package "
            "docker.io",
            unreachable);
        // Another source of this computer is broken.
        row("$ apt-get update\nW: GPG error: http://other\n$ apt-get install\nE: Unable to locate package docker.io",
            unknown);
    }
    void packageManagers() {
        QFETCH(const QString, output);
        QFETCH(const QString, sentence);
        const Outcome outcome = outcomeOfHelper({.status = 70, .output = output});
        QVERIFY(outcome);
        QCOMPARE(outcome->error, (OpError{sentence, output}));
    }

    void successIsNone() {
        QVERIFY(!outcomeOfHelper({.status = 0}));
        // Everything was done when the cancel came.
        QVERIFY(!outcomeOfHelper({.status = 0, .cancelled = true}));
    }

    void endOfPkexecItself() {
        const Outcome cancelled = outcomeOfHelper({.status = 143, .cancelled = true});
        QVERIFY(cancelled && cancelled->error.message == u"Cancelled."_s);
        const Outcome before = outcomeOfHelper({.status = -1, .cancelled = true});
        QVERIFY(before && before->error.message == u"Cancelled."_s);
        const Outcome late = outcomeOfHelper({.status = 143, .timedOut = true});
        QVERIFY(late && late->error.message == u"Nobody answered the question for the password."_s);
        // What the helper says counts more than how long it took.
        const Outcome slow = outcomeOfHelper({.status = 68, .timedOut = true});
        QVERIFY(slow && slow->error.message.startsWith(u"Cancelled after"_s));
    }
};

ORVANEL_TEST(TestSetupComplaint)
#include "TestSetupComplaint.moc"
