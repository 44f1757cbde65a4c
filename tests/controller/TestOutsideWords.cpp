#include "controller/ContainerAnswer.h"
#include "controller/EngineAddress.h"
#include "controller/ImageTag.h"
#include "controller/PermissionDenied.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

Q_DECLARE_METATYPE(orvanel::CommandResult)

/// How the messages of docker, of the project's releases and of a database check are understood.
class TestOutsideWords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void containerIsKnownToHaveEnded_data() {
        QTest::addColumn<CommandResult>("answer");
        QTest::addColumn<bool>("absent");
        QTest::addColumn<bool>("stopped");
        const auto row = [](const char* name, const CommandResult& answer, bool absent, bool stopped) {
            QTest::newRow(name) << answer << absent << stopped;
        };
        for (const char* word : {"exited", "created", "dead"}) {
            row(word, {.status = 0, .output = QString::fromLatin1(word) + u'\n'}, false, true);
        }
        for (const char* word : {"running", "restarting", "paused", "removing", "Exited", "something new", ""}) {
            row(*word == '\0' ? "no word" : word, {.status = 0, .output = QString::fromLatin1(word) + u'\n'}, false,
                false);
        }
        const auto none = u"\nError: No such object: orvanel\n"_s;
        row("absent", {.status = 1, .output = none}, true, true);
        row("absent, but late", {.status = 143, .output = none, .timedOut = true}, false, false);
        row("absent, but cancelled", {.status = 143, .output = none, .cancelled = true}, false, false);
        row("a warning before", {.status = 0, .output = u"WARNING: running\nexited\n"_s}, false, true);
        row("exited, but late", {.status = 0, .output = u"exited"_s, .timedOut = true}, false, false);
        row("no daemon", {.status = 1, .output = u"Cannot connect to the Docker daemon"_s}, false, false);
        row("no tool", {.status = -1, .output = u"Could not run /x/docker: no"_s}, false, false);
    }

    void containerIsKnownToHaveEnded() {
        QFETCH(const CommandResult, answer);
        QTEST(isAbsent(answer), "absent");
        QTEST(isStopped(answer), "stopped");
    }

    void dataIsOnlyTouchedWhenNoServerCanRun_data() {
        QTest::addColumn<CommandResult>("answer");
        QTest::addColumn<bool>("expected");
        const auto failure = [](const char* name, const char* output, bool expected) {
            QTest::newRow(name) << CommandResult{.status = 1, .output = QString::fromLatin1(output)} << expected;
        };
        for (const char* word : {"exited", "created", "dead"}) {
            QTest::newRow(word) << CommandResult{.status = 0, .output = QString::fromLatin1(word)} << true;
        }
        for (const char* word : {"running", "restarting", "paused", "removing", "something new"}) {
            QTest::newRow(word) << CommandResult{.status = 0, .output = QString::fromLatin1(word)} << false;
        }
        failure("no container", "\nError: No such object: orvanel\n", true);
        failure("no container, in other words", "Error response from daemon: No such container: orvanel", true);
        failure("no daemon", "Cannot connect to the Docker daemon at unix:///x. Is the docker daemon running?", true);
        failure("no daemon, in newer words", "failed to connect to the docker API at unix:///x; check if it runs",
                true);
        failure("refused",
                "permission denied while trying to connect to the Docker daemon socket at unix:///x: connect: "
                "permission denied",
                false);
        failure("refused, in newer words",
                "failed to connect to the docker API at unix:///x: dial unix /x: connect: permission denied", false);
        failure("no such context", "unable to resolve docker endpoint: context \"x\": context not found", false);
        failure("no words", "", false);
        failure("a fault", "Error response from daemon: something went wrong", false);
        const auto none = u"Error: No such object: orvanel"_s;
        QTest::newRow("late") << CommandResult{.status = 1, .output = none, .timedOut = true} << false;
        QTest::newRow("cancelled") << CommandResult{.status = 1, .output = none, .cancelled = true} << false;
        QTest::newRow("no tool") << CommandResult{.status = -1, .output = u"Could not run /x: no"_s} << false;
    }

    void dataIsOnlyTouchedWhenNoServerCanRun() {
        QFETCH(const CommandResult, answer);
        QTEST(leavesDataAlone(answer), "expected");
    }

    void majorChange_data() {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("latest");
        QTest::addColumn<bool>("isMajor");
        const auto row = [](const char* tag, const char* latest, bool isMajor) {
            QTest::addRow("\"%s\" to \"%s\"", tag, latest)
                << QString::fromLatin1(tag) << QString::fromLatin1(latest) << isMajor;
        };
        row("1", "2.0.0", true);
        row("1.23", "1.23.16", false);
        row("2", "2.0.0", false);
        row("2.1.3", "2.0.0", false);
        row("2", "3", true);
        row("2-slim", "2.0.0", true);
        row("02", "2", true);
        row("beta", "2.0.0", true);
        row("nightly", "nightly", false);
        row("2.0.0-beta.4", "2.0.0", false);
        row("2.0.0", "V2.0.0", true);
        row("..2", ".2.0", false);
        row("", "2.0.0", false);
        row("...", "2.0.0", false);
        row("2", "", false);
        row("2", "..", false);
    }

    void majorChange() {
        QFETCH(const QString, tag);
        QFETCH(const QString, latest);
        QTEST(isMajorChange(tag, latest), "isMajor");
        QVERIFY(!isMajorChange(tag, std::nullopt));
    }

    void olderVersions_data() {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<bool>("isOlder");
        const auto row = [](const char* version, const char* tag, bool isOlder) {
            QTest::addRow("%s for %s", version, tag) << QString::fromUtf8(version) << QString::fromUtf8(tag) << isOlder;
        };
        row("1.23.16", "2", true);
        row("1.23.16", "2.0.0-beta.3", true);
        row("2.0.5", "2.1", true);
        row("2.0.9", "2.0.10", true);
        row("2", "2.0.10", false);
        row("2.0.0", "2", false);
        row("2.5.0", "2", false);
        row("2.1.0", "2.1.0", false);
        row("2.1.0", "2.1.0-slim", false);
        row("2.0.0", "2.0.0-beta.3", false);
        row("2.0.10", "2.0.9", false);
        row("3.0.0", "2.9", false);
        row("2.0.0", "latest", false);
        row("2.0.0", "", false);
        row("nightly", "2", false);
        row("V1.0", "2", false);
    }

    void olderVersions() {
        QFETCH(const QString, version);
        QFETCH(const QString, tag);
        QTEST(isOlderVersion(version, tag), "isOlder");
    }

    void imageTagsThatDockerTakes_data() {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<bool>("isValid");
        for (const char* tag : {"2", "2.0.0", "2.0.0-beta.4", "nightly", "V2", "_x", "1.23-debian", "A_b.C-d"}) {
            QTest::newRow(tag) << QString::fromLatin1(tag) << true;
        }
        QTest::newRow("as long as may be") << QString(128, u'x') << true;
        QTest::newRow("too long") << QString(129, u'x') << false;
        QTest::newRow("nothing") << QString() << false;
        QTest::newRow("a line end after it") << u"2\n"_s << false;
        QTest::newRow("another key") << u"2\n    privileged: true"_s << false;
        QTest::newRow("letters of others") << u"версия"_s << false;
        QTest::newRow("digits of others") << u"\u0662"_s << false;
        for (const char* tag : {"-2", ".2", "2 ", " 2", "2:3", "2@sha256", "2/3", "2#x", "$TAG", "2+build", "{2}"}) {
            QTest::newRow(tag) << QString::fromLatin1(tag) << false;
        }
    }

    void imageTagsThatDockerTakes() {
        QFETCH(const QString, tag);
        QTEST(isValidImageTag(tag), "isValid");
    }

    void engineAddresses_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("isSystems");
        QTest::addColumn<bool>("isUsers");
        const auto row = [](const char* output, const QString& address, bool isSystems, bool isUsers) {
            QTest::newRow(output) << QString::fromLatin1(output) << address << isSystems << isUsers;
        };
        row("Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?",
            u"unix:///var/run/docker.sock"_s, true, false);
        row("permission denied while trying to connect to the docker API at unix:///run/docker.sock",
            u"unix:///run/docker.sock"_s, true, false);
        row("the Docker daemon socket at unix:///home/anna/.colima/docker.sock: Get \"http://%2Fvar\"",
            u"unix:///home/anna/.colima/docker.sock"_s, false, false);
        row("Cannot connect to the Docker daemon at unix:///run/user/1000/docker.sock. Is it",
            u"unix:///run/user/1000/docker.sock"_s, false, true);
        row("error during connect: Get \"http://server:2375/v1.24/info\": no such host",
            u"http://server:2375/v1.24/info"_s, false, false);
        row("WARNING: see https://docs.docker.com/go/x\nCannot connect at unix:///var/run/docker.sock. Is it",
            u"unix:///var/run/docker.sock"_s, true, false);
        row("no address", QString(), true, false);
    }
    void engineAddresses() {
        QFETCH(const QString, output);
        QFETCH(const QString, address);
        QCOMPARE(engineAddress(output), address);
        QTEST(isSystemEngine(address), "isSystems");
        QTEST(isUsersEngine(address), "isUsers");
    }

    void permissionDenied_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("isDenied");
        const auto row = [](const char* name, const char* output, bool isDenied) {
            QTest::newRow(name) << QString::fromLatin1(output) << isDenied;
        };
        row("inspect, client 28",
            "\npermission denied while trying to connect to the Docker daemon socket at unix:///var/run/docker.sock: "
            "Get "
            "\"http://%2Fvar%2Frun%2Fdocker.sock/v1.50/containers/orvanel/json\": dial unix /var/run/docker.sock: "
            "connect: permission denied\n",
            true);
        row("info, client 20",
            "Client:\n Context:    default\n Debug Mode: false\n\nServer:\nERROR: Got permission denied while trying "
            "to "
            "connect to the Docker daemon socket at unix:///var/run/docker.sock: Get "
            "\"http://%2Fvar%2Frun%2Fdocker.sock/v1.24/info\": dial unix /var/run/docker.sock: connect: permission "
            "denied\nerrors pretty printing info\n",
            true);
        row("compose pull",
            "unable to get image 'louislam/uptime-kuma:2': permission denied while trying to connect to the Docker "
            "daemon socket at unix:///var/run/docker.sock: Get "
            "\"http://%2Fvar%2Frun%2Fdocker.sock/v1.45/images/json\": "
            "dial unix /var/run/docker.sock: connect: permission denied\n",
            true);
        row("another socket", "dial unix /home/ann/.colima/default/docker.sock: connect: permission denied\n", true);
        row("in other letters", "PERMISSION DENIED while trying to connect to the Docker API at unix:///x", true);
        row("nobody listens",
            "Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?\n",
            false);
        row("nobody listens, with a warning about the configuration",
            "WARNING: Error loading config file: open /root/.docker/config.json: permission denied\nCannot connect to "
            "the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?\n",
            false);
        row("a tool that may not be run", "Could not run /usr/bin/docker: Permission denied", false);
        row("a file in the container", "exec /usr/bin/node: permission denied\n", false);
        row("nothing", "", false);
    }

    void permissionDenied() {
        QFETCH(const QString, output);
        QTEST(isPermissionDenied(output), "isDenied");
    }
};

ORVANEL_TEST(TestOutsideWords)
#include "TestOutsideWords.moc"
