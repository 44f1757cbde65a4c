#include "HelperWorld.h"
#include "support/Await.h"
#include "support/OwnMounts.h"
#include "support/TestClass.h"

#include <QDir>
#include <QScopeGuard>

#include <csignal>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto install = u"install"_s;
const auto join = u"join"_s;
const auto startVerb = u"start"_s;
const auto addAnn = u"gpasswd ann docker"_s; // "-a" is left out
const auto enable = u"systemctl enable docker.service"_s;
const auto startUnit = u"systemctl start docker.service"_s;

bool hasAccessList(const QString& path) {
    return ::lgetxattr(qPrintable(path), "system.posix_acl_access", nullptr, 0) > 0;
}

} // namespace

/// What the root helper does for each verb, and what it refuses.
class TestDockerSetup : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void installsStartsAndLetsIn_data() {
        QTest::addColumn<QString>("manager");
        QTest::addColumn<QStringList>("packages");
        QTest::newRow("apt-get") << u"/usr/bin/apt-get"_s
                                 << QStringList{u"apt-get update"_s, u"apt-get install docker.io"_s,
                                                u"apt-cache show docker-cli docker-compose-v2 docker-compose"_s,
                                                u"apt-get install docker-cli docker-compose"_s};
        QTest::newRow("dnf") << u"/usr/bin/dnf"_s
                             << QStringList{u"dnf install moby-engine"_s, u"dnf install docker-compose"_s};
        QTest::newRow("zypper") << u"/usr/bin/zypper"_s
                                << QStringList{u"zypper install docker"_s, u"zypper install docker-compose"_s};
        QTest::newRow("pacman") << u"/usr/bin/pacman"_s << QStringList{u"pacman docker"_s, u"pacman docker-compose"_s};
    }
    void installsStartsAndLetsIn() {
        QFETCH(const QString, manager);
        QFETCH(const QStringList, packages);
        HelperWorld world(manager);
        world.answer(u"apt-cache"_s, "printf 'Package: docker-cli\\nVersion: 26.1.5\\n\\n"
                                     "Package: docker-compose\\nVersion: 2.26.1-4\\n'");
        world.answer(u"apt-get"_s, "echo \"$name speaks\"");
        const SetupStatus status = world.run({install});
        QVERIFY2(status == SetupStatus::done, qPrintable(world.output()));
        QCOMPARE(world.calls(), packages + QStringList({addAnn, enable, startUnit}));
        QVERIFY(hasAccessList(world.path(u"/run/docker.sock"_s)));
        QVERIFY2(world.output().contains(u"\n$ /usr/bin/gpasswd -a ann docker\n"_s), qPrintable(world.output()));
        QCOMPARE(world.output().contains(u"\napt-get speaks\n"_s), manager.endsWith(u"apt-get"_s));
        QVERIFY(world.output().endsWith(u"\nann may use Docker now.\n"_s));
    }

    void joinOnlyLetsIn() {
        HelperWorld world;
        QCOMPARE(world.run({join}), SetupStatus::done);
        QCOMPARE(world.calls(), QStringList(addAnn));
        QVERIFY(hasAccessList(world.path(u"/run/docker.sock"_s)));
    }

    void startOnlyStarts() {
        HelperWorld world;
        QCOMPARE(world.run({startVerb}), SetupStatus::done);
        QCOMPARE(world.calls(), QStringList({enable, startUnit}));
        QVERIFY(!hasAccessList(world.path(u"/run/docker.sock"_s)));
    }

    void missingGroupIsMade() {
        HelperWorld world;
        world.write(u"/etc/group"_s, "root:x:0:\n");
        QCOMPARE(world.run({join}), SetupStatus::done);
        QCOMPARE(world.calls(), QStringList({u"groupadd docker"_s, addAnn}));
    }

    void rootNeedsNoGroup() {
        HelperWorld world;
        world.polkitUser = u"0"_s;
        QCOMPARE(world.run({join}), SetupStatus::done);
        QCOMPARE(world.calls(), QStringList());
    }

    /// Where systemd is, packages are installed by a service of its own, which no end of a login ends.
    void packagesAreInstalledOutsideTheLogin() {
        HelperWorld world(u"/usr/bin/dnf"_s);
        world.addTool(u"/usr/bin/systemd-run"_s);
        world.answer(u"systemd-run"_s, "while [ \"$1\" != -- ]; do shift; done; shift; exec \"$@\"");
        QCOMPARE(world.run({install}), SetupStatus::done);
        const QStringList lines = QString::fromUtf8(world.read(u"/calls"_s)).split(u'\n');
        QVERIFY2(lines.first().startsWith(u"systemd-run --quiet --wait --pipe --collect"_s), qPrintable(lines.first()));
        // A service has none of the helper's variables.
        QVERIFY2(lines.first().contains(u" --setenv=DEBIAN_FRONTEND=noninteractive "_s), qPrintable(lines.first()));
        QVERIFY2(lines.first().contains(u" --setenv=LC_ALL=C"_s), qPrintable(lines.first()));
        QVERIFY(lines.first().endsWith(u"-- %1 -y install moby-engine"_s.arg(world.path(u"/usr/bin/dnf"_s))));
        QCOMPARE(lines.filter(u"systemd-run "_s).size(), 2);
    }

    void onlyTheVerbsAreKnown_data() {
        QTest::addColumn<QStringList>("words");
        QTest::newRow("none") << QStringList();
        QTest::newRow("empty") << QStringList(QString());
        QTest::newRow("another") << QStringList(u"remove"_s);
        QTest::newRow("another case") << QStringList(u"Install"_s);
        QTest::newRow("a name besides") << QStringList({join, u"eve"_s});
        QTest::newRow("a package besides") << QStringList({install, u"evil"_s});
        QTest::newRow("two verbs") << QStringList({join, install});
        QTest::newRow("an option") << QStringList(u"--help"_s);
        QTest::newRow("a command") << QStringList(u"install; reboot"_s);
    }
    void onlyTheVerbsAreKnown() {
        QFETCH(const QStringList, words);
        HelperWorld world;
        QCOMPARE(world.run(words), SetupStatus::badRequest);
        QCOMPARE(world.calls(), QStringList());
        QVERIFY(world.output().endsWith(u".\n"_s));
    }

    void onlyPolkitTellsWhoAsks_data() {
        QTest::addColumn<QString>("user");
        QTest::addColumn<bool>("isRoot");
        QTest::newRow("not through polkit") << QString() << true;
        QTest::newRow("not as root") << u"4321"_s << false;
        QTest::newRow("empty") << u""_s << true;
        QTest::newRow("unknown") << u"77"_s << true;
        QTest::newRow("negative") << u"-1"_s << true;
        QTest::newRow("nobody's number") << u"4294967295"_s << true;
        QTest::newRow("too large") << u"4294971617"_s << true; // 4321 and 2 to the power of 32
        QTest::newRow("far too large") << u"99999999999999999999999"_s << true;
        QTest::newRow("a blank") << u" 4321"_s << true;
        QTest::newRow("more than a number") << u"4321;0"_s << true;
        QTest::newRow("a name") << u"ann"_s << true;
        QTest::newRow("a name that is an option") << u"4322"_s << true;
    }
    void onlyPolkitTellsWhoAsks() {
        QFETCH(const QString, user);
        QFETCH(const bool, isRoot);
        for (const QString& verb : {install, startVerb, join}) {
            HelperWorld world;
            world.polkitUser = user;
            if (!isRoot) {
                world.remove(u"/is-root"_s);
            }
            QCOMPARE(world.run({verb}), SetupStatus::badCaller);
            QCOMPARE(world.calls(), QStringList());
            QVERIFY(!hasAccessList(world.path(u"/run/docker.sock"_s)));
            QVERIFY(world.output().endsWith(u".\n"_s));
        }
    }

    void toolsGetAnEnvironmentOfTheirOwn() {
        HelperWorld world;
        world.environment = {u"PATH="_s + world.path(u"/evil"_s),
                             u"HOME=/home/ann"_s,
                             u"USER=eve"_s,
                             u"LOGNAME=eve"_s,
                             u"DPKG_ROOT=/evil"_s,
                             u"APT_CONFIG=/evil"_s,
                             u"LC_ALL=de_DE"_s,
                             u"BASH_ENV=/evil"_s};
        QCOMPARE(world.run({install}), SetupStatus::done);
        for (const QString& tool : {u"apt-get"_s, u"gpasswd"_s, u"systemctl"_s}) {
            const QStringList lines =
                QString::fromUtf8(world.read(u"/environment-of-"_s + tool)).split(u'\n', Qt::SkipEmptyParts);
            const QStringList expected{u"APT_LISTCHANGES_FRONTEND=none"_s,
                                       u"DEBIAN_FRONTEND=noninteractive"_s,
                                       u"HOME=/root"_s,
                                       u"LC_ALL=C.UTF-8"_s,
                                       u"LOGNAME=root"_s,
                                       u"NEEDRESTART_MODE=l"_s,
                                       u"PATH=/usr/sbin:/usr/bin:/sbin:/bin"_s,
                                       u"SHELL=/bin/sh"_s,
                                       u"TERM=dumb"_s,
                                       u"USER=root"_s};
            QStringList found = lines;
            // What the shell of the stand-in adds.
            found.removeIf([](const QString& line) {
                return line.startsWith(u"PWD="_s) || line.startsWith(u"OLDPWD="_s) || line.startsWith(u"SHLVL="_s) ||
                       line.startsWith(u"_="_s);
            });
            QCOMPARE(found, expected);
        }
        QVERIFY(world.calls().contains(addAnn));
    }

    /// Nothing in it is read or written, wherever it leads.
    void homeIsOfNoInterest() {
        HelperWorld world;
        QDir().mkpath(world.path(u"/home"_s));
        world.write(u"/elsewhere/kept"_s, "kept");
        QVERIFY(QFile::link(world.path(u"/elsewhere"_s), world.path(u"/home/ann"_s)));
        QCOMPARE(world.run({install}), SetupStatus::done);
        QCOMPARE(QDir(world.path(u"/elsewhere"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList(u"kept"_s));
    }

    /// Only a socket is opened, and never what a link leads to.
    void whatIsNoSocketIsLeftAlone() {
        HelperWorld world;
        world.remove(u"/run/docker.sock"_s);
        world.write(u"/etc/shadow"_s, "secret");
        QVERIFY(QFile::link(world.path(u"/etc/shadow"_s), world.path(u"/run/docker.sock"_s)));
        QCOMPARE(world.run({join}), SetupStatus::socketFailed);
        QVERIFY(!hasAccessList(world.path(u"/etc/shadow"_s)));
        QVERIFY(world.output().endsWith(u".\n"_s));
    }

    /// ramfs keeps no access lists.
    void withoutAccessListsTheSocketIsGivenToTheUser() {
        if (::geteuid() != 0) {
            QSKIP("only root can give a socket away");
        }
        if (const QString reason = enterOwnMounts(); !reason.isEmpty()) {
            QSKIP(qPrintable(reason));
        }
        HelperWorld world;
        const QByteArray folder = QFile::encodeName(world.path(u"/run"_s));
        QCOMPARE(::mount("none", folder.constData(), "ramfs", 0, nullptr), 0);
        const auto tidyUp = qScopeGuard([&folder] { ::umount2(folder.constData(), MNT_DETACH); });
        world.listen();
        const QString socket = world.path(u"/run/docker.sock"_s);
        QCOMPARE(::chmod(qPrintable(socket), 0660), 0);
        QCOMPARE(::chown(qPrintable(socket), 0, 999), 0);

        QCOMPARE(world.run({join}), SetupStatus::done);
        QVERIFY(!hasAccessList(socket));
        struct stat information = {};
        QCOMPARE(::lstat(qPrintable(socket), &information), 0);
        QCOMPARE(information.st_uid, 4321U);
        QCOMPARE(information.st_gid, 999U);
        QCOMPARE(information.st_mode & 0777U, 0660U);
    }

    void onlyOneAtATime() {
        HelperWorld world;
        world.answer(u"apt-get"_s, "wait");
        const auto first = world.start({install});
        QVERIFY(waitUntil([&] { return world.exists(u"/waiting"_s); }));
        QCOMPARE(world.run({join}), SetupStatus::alreadyRunning);
        QCOMPARE(world.output(), u"Docker is being set up already.\n"_s);
        QVERIFY(!world.calls().contains(addAnn));
        world.goOn();
        QCOMPARE(HelperWorld::statusOf(*first), SetupStatus::done);
        QCOMPARE(world.calls().count(addAnn), 1);
    }

    void nothingBeginsAfterACancel() {
        const HelperWorld world;
        for (const QString& verb : {install, startVerb, join}) {
            QProcess process;
            process.setEnvironment({u"ORVANEL_TEST_COMPUTER="_s + world.path({}), u"PKEXEC_UID=4321"_s});
            process.setStandardInputFile(QProcess::nullDevice());
            process.start(QString::fromUtf8(HELPER_UNDER_TEST), {verb});
            QCOMPARE(HelperWorld::statusOf(process), SetupStatus::cancelled);
            QCOMPARE(process.readAll(), QByteArray("Cancelled before anything was changed.\n"));
            QCOMPARE(world.calls(), QStringList());
        }
    }

    void cancelEndsTheWaitForTheSocket() {
        HelperWorld world;
        world.remove(u"/run/docker.sock"_s);
        const auto helper = world.start({join});
        QVERIFY(waitUntil([&] { return world.calls().contains(addAnn); }));
        helper->closeWriteChannel();
        QCOMPARE(HelperWorld::statusOf(*helper), SetupStatus::cancelledAfterStep);
    }

    void packageManagerIsNeverInterrupted_data() {
        QTest::addColumn<QString>("how");
        for (const char* how : {"input closed", "output closed", "terminated", "killed"}) {
            QTest::newRow(how) << QString::fromLatin1(how);
        }
    }
    void packageManagerIsNeverInterrupted() {
        QFETCH(const QString, how);
        HelperWorld world;
        world.answer(u"apt-get"_s,
                     "case \"$*\" in *install*) echo half; wait; echo on; echo on; touch \"$root/whole\" ;; esac");
        const auto helper = world.start({install}, how == u"output closed"_s);
        QVERIFY(waitUntil([&] { return world.exists(u"/waiting"_s); }));
        if (how == u"input closed"_s) {
            helper->closeWriteChannel();
        } else if (how == u"output closed"_s) {
            world.stopReading();
        } else if (how == u"terminated"_s) {
            ::kill(static_cast<pid_t>(helper->processId()), SIGTERM);
        } else {
            ::kill(static_cast<pid_t>(helper->processId()), SIGKILL);
            HelperWorld::statusOf(*helper);
        }
        QVERIFY(!world.exists(u"/whole"_s));
        if (how == u"input closed"_s || how == u"terminated"_s) {
            QByteArray said;
            QVERIFY(waitUntil([&] {
                said += helper->readAll();
                return said.contains(
                    "\nCancelled: this step goes on to its end, because it must not be interrupted.\n");
            }));
            QVERIFY(helper->state() == QProcess::Running);
        }
        world.goOn();
        QVERIFY(waitUntil([&] { return world.exists(u"/whole"_s); }));
        if (how != u"killed"_s) {
            QCOMPARE(HelperWorld::statusOf(*helper), SetupStatus::cancelledAfterStep);
        }
        QCOMPARE(world.calls(), QStringList({u"apt-get update"_s, u"apt-get install docker.io"_s}));
        QVERIFY(!hasAccessList(world.path(u"/run/docker.sock"_s)));
    }

    void aGroupsEndDoesNotReachTheTools() {
        HelperWorld world;
        world.answer(u"apt-get"_s, "wait; touch \"$root/whole\"");
        const auto helper = world.start({install});
        QVERIFY(waitUntil([&] { return world.exists(u"/waiting"_s); }));
        // The tool leads a session, and so a group, of its own.
        QProcess list;
        list.start(u"ps"_s, {u"-o"_s, u"pid=,ppid=,sess="_s, u"-A"_s});
        QVERIFY(list.waitForFinished());
        int children = 0;
        for (const QByteArray& line : list.readAll().split('\n')) {
            const QList<QByteArray> words = line.simplified().split(' ');
            if (words.value(1).toLongLong() == helper->processId()) {
                ++children;
                QCOMPARE(words.value(2), words.value(0));
            }
        }
        QCOMPARE(children, 1);
        world.goOn();
        QCOMPARE(HelperWorld::statusOf(*helper), SetupStatus::done);
    }

    void failuresEndItInASentence_data() {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char* name, const char* tool, const char* script, SetupStatus status,
                            const char* sentence) {
            QTest::newRow(name) << QString::fromLatin1(tool) << QByteArray(script) << static_cast<int>(status)
                                << QString::fromLatin1(sentence);
        };
        row("old lists", "apt-get", "case \"$*\" in *update*) exit 100 ;; esac", SetupStatus::done,
            "The package lists could not be updated; the old ones are used.");
        row("packages", "apt-get", "exit 100", SetupStatus::packagesFailed,
            "The package manager could not install Docker.");
        row("extras", "apt-get", "case \"$*\" in *docker-cli*) exit 100 ;; esac", SetupStatus::done,
            "Some optional packages could not be installed. Docker works without them.");
        row("group", "gpasswd", "exit 3", SetupStatus::groupFailed, "ann could not be added to the group \"docker\".");
        row("service", "systemctl", "exit 1", SetupStatus::serviceFailed, "Docker's service could not be started.");
    }
    void failuresEndItInASentence() {
        QFETCH(const QString, tool);
        QFETCH(const QByteArray, script);
        QFETCH(const int, status);
        QFETCH(const QString, sentence);
        HelperWorld world;
        world.answer(u"apt-cache"_s, "printf 'Package: docker-cli\\nVersion: 26.1.5\\n'");
        world.answer(tool, script);
        QCOMPARE(static_cast<int>(world.run({install})), status);
        QVERIFY2(world.output().contains(u'\n' + sentence + u'\n'), qPrintable(world.output()));
        QCOMPARE(hasAccessList(world.path(u"/run/docker.sock"_s)), status == 0);
    }

    void toolsThatAreNotThere() {
        HelperWorld none{QString()};
        QCOMPARE(none.run({install}), SetupStatus::noPackageManager);
        QCOMPARE(none.calls(), QStringList());
        HelperWorld world;
        world.remove(u"/usr/bin/gpasswd"_s);
        QCOMPARE(world.run({join}), SetupStatus::groupFailed);
        QVERIFY(world.output().contains(u"/usr/bin/gpasswd could not be started."_s));
    }

    void someStatusesOfZypperAreSuccesses() {
        HelperWorld world(u"/usr/bin/zypper"_s);
        world.answer(u"zypper"_s, "exit 102");
        QCOMPARE(world.run({install}), SetupStatus::done);
        world.answer(u"zypper"_s, "exit 104");
        QCOMPARE(world.run({install}), SetupStatus::packagesFailed);
    }

    void withoutSystemd() {
        HelperWorld world;
        QDir().rmdir(world.path(u"/run/systemd/system"_s));
        world.addTool(u"/usr/sbin/service"_s);
        QCOMPARE(world.run({startVerb}), SetupStatus::done);
        QCOMPARE(world.calls(), QStringList(u"service docker start"_s));
    }
};

ORVANEL_TEST(TestDockerSetup)
#include "TestDockerSetup.moc"
