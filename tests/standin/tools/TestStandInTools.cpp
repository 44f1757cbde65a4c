#include "process/DockerCLI.h"
#include "standin/tools/InProcessDocker.h"
#include "standin/tools/StandInTools.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "task/Clock.h"

#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

#include <atomic>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::standin;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

using Change = std::function<void(DockerState&)>;

const QString image = u"louislam/uptime-kuma:2"_s;
const QStringList inspect{u"inspect"_s, u"-f"_s, u"{{.State.Status}}"_s, u"orvanel"_s};

QStringList words(const char* text) {
    return QString::fromUtf8(text).split(u' ', Qt::SkipEmptyParts);
}

struct Named {
    const char* name;
    Change change;
};

const std::vector<Named>& situations() {
    static const std::vector<Named> all{
        {"nothing yet", [](DockerState&) {}},
        {"running", [](DockerState& s) { addContainer(s, "running"); }},
        {"running for client 20",
         [](DockerState& s) {
             addContainer(s, "running");
             s.client = Client::v20;
         }},
        {"exited", [](DockerState& s) { addContainer(s, "exited"); }},
        {"paused", [](DockerState& s) { addContainer(s, "paused"); }},
        {"crashing",
         [](DockerState& s) {
             addContainer(s, "running");
             s.crashLoop = 1;
         }},
        {"a stranger of that name",
         [](DockerState& s) {
             addContainer(s, "running");
             s.container->owner = Owner::foreign;
         }},
        {"another port before", [](DockerState& s) { addContainer(s, "running", 3005); }},
        {"image only", [](DockerState& s) { addImage(s); }},
        {"port taken",
         [](DockerState& s) {
             addImage(s);
             s.portHolder = PortHolder::process;
         }},
        {"nothing for client 20", [](DockerState& s) { s.client = Client::v20; }},
        {"no compose", [](DockerState& s) { s.compose = false; }},
        {"no compose for client 20",
         [](DockerState& s) {
             s.compose = false;
             s.client = Client::v20;
         }},
        {"daemon down", [](DockerState& s) { s.daemon = Daemon::down; }},
        {"daemon down for client 20",
         [](DockerState& s) {
             s.daemon = Daemon::down;
             s.client = Client::v20;
         }},
        {"denied", [](DockerState& s) { s.daemon = Daemon::denied; }},
        {"registry unreachable", [](DockerState& s) { s.registry = Registry::unreachable; }},
        {"no such tag", [](DockerState& s) { s.pullable.clear(); }},
        {"disk full", [](DockerState& s) { s.diskFull = true; }},
        {"a warning and a script",
         [](DockerState& s) {
             addContainer(s, "running");
             s.warning = "WARNING: something\tis odd\n";
             s.overrides = {{.command = "compose stop", .exitCode = 3, .err = "no\n"}};
         }},
    };
    return all;
}

/// The compose file as the program writes it.
QString composeFile(const StandInTools& tools, int port = 3001) {
    QString path = tools.toolRoot() + u"/docker-compose.yml"_s;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        qFatal("could not write %s", qPrintable(path));
    }
    file.write(
        "# A comment.\nservices:\n  uptime-kuma:\n    image: louislam/uptime-kuma:2\n    container_name: orvanel\n"
        "    restart: unless-stopped\n    ports:\n      - \"127.0.0.1:" +
        QByteArray::number(port) + ":3001\"\n    volumes:\n      - ./data:/app/data\n");
    return path;
}

QStringList compose(const QString& file, const char* verb) {
    return QStringList{u"compose"_s, u"-p"_s, u"orvanel"_s, u"-f"_s, file} + words(verb);
}

std::vector<QStringList> commands(const QString& file) {
    return {words("info"),
            words("compose version"),
            inspect,
            words("logs --tail 300 orvanel"),
            QStringList{u"image"_s, u"inspect"_s, image},
            words("ps"),
            compose(file, "pull"),
            compose(file, "up -d"),
            inspect,
            compose(file, "stop"),
            inspect,
            words("unpause orvanel"),
            words("stop orvanel"),
            compose(file, "down"),
            QStringList{u"pull"_s, image},
            words("rm -f orvanel"),
            words("run -d --name orvanel --restart unless-stopped -p 127.0.0.1:3001:3001 -v /tmp/nowhere:/app/data "
                  "louislam/uptime-kuma:2"),
            words("rename orvanel other")};
}

CommandResult runReal(const StandInTools& tools, const QStringList& arguments,
                      std::shared_ptr<ProcessHandle> handle = {}) {
    return await(DockerCLI::run(tools.path(u"docker"_s), arguments, patience, handle, {}));
}

bool isListening(int port) {
    QTcpSocket socket;
    socket.connectToHost(u"127.0.0.1"_s, static_cast<quint16>(port));
    return socket.waitForConnected(1000);
}

int freePort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

class TestStandInTools : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void stateSurvivesAsText();
    void wrongLineOfStateIsNamed();
    void executableAndInProcessAgree_data();
    void executableAndInProcessAgree();
    void wordsAreDockersOwn();
    void callsAreRecorded();
    void noChangeIsLostBetweenProcesses();
    void pullHoldsNobodyUpAndCanBeCancelled_data();
    void pullHoldsNobodyUpAndCanBeCancelled();
    void serverLivesWithItsContainer();
    void theRootHelperBringsDocker();
    void brewAndColimaBringARuntime();
};

void TestStandInTools::stateSurvivesAsText() {
    for (const Named& situation : situations()) {
        DockerState state;
        situation.change(state);
        state.log = "one\ntwo \\n three\r\n";
        QVERIFY2(stateFromText(toText(state)) == state, situation.name);
    }
}

void TestStandInTools::wrongLineOfStateIsNamed() {
    try {
        stateFromText("# fine\ndaemon up\nport-holder someone\n");
        QFAIL("a wrong word was taken");
    } catch (const std::runtime_error& error) {
        QVERIFY(QString::fromUtf8(error.what()).startsWith(u"line 3: "));
    }
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, stateFromText("surprise yes"));
}

void TestStandInTools::executableAndInProcessAgree_data() {
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < situations().size(); ++i) {
        QTest::newRow(situations()[i].name) << static_cast<int>(i);
    }
}

void TestStandInTools::executableAndInProcessAgree() {
    QFETCH(const int, index);
    const Change& change = situations().at(static_cast<std::size_t>(index)).change;
    const StandInTools tools;
    InProcessDocker inProcess(&SystemClock::instance());
    const RunCommand run = inProcess.runner();
    tools.change(change);
    change(inProcess.state());
    for (const QStringList& arguments : commands(composeFile(tools))) {
        const CommandResult real = runReal(tools, arguments);
        const CommandResult played = await(run(u"/usr/local/bin/docker"_s, arguments, patience, {}, {}));
        QCOMPARE(played.output, real.output);
        QCOMPARE(played.status, real.status);
        QVERIFY(tools.state() == inProcess.state());
    }
    QCOMPARE(inProcess.calls().back().command, QString());
    QCOMPARE(tools.commands().last(), u"?"_s);
}

void TestStandInTools::wordsAreDockersOwn() {
    const StandInTools tools;
    const QString file = composeFile(tools);
    CommandResult result = runReal(tools, inspect);
    QCOMPARE(result.status, 1);
    QCOMPARE(result.output, u"\nError: No such object: orvanel\n"_s);
    result = runReal(tools, compose(file, "up -d"));
    QCOMPARE(result.status, 0);
    QVERIFY(result.output.startsWith(u" uptime-kuma Pulling \n 9f3c8a1be702 Pulling fs layer \n"));
    QVERIFY(result.output.endsWith(u" uptime-kuma Pulled \n Network orvanel_default  Creating\n"
                                   " Network orvanel_default  Created\n Container orvanel  Creating\n"
                                   " Container orvanel  Created\n Container orvanel  Starting\n"
                                   " Container orvanel  Started\n"_s));
    const QRegularExpression bar(u"\\n [0-9a-f]{12} Downloading \\[=*>? *\\] {1,5}[0-9.]+[kM]B/[0-9.]+[kM]B\\n"_s);
    QVERIFY(bar.match(result.output).hasMatch());
    QCOMPARE(runReal(tools, inspect).output, u"running\n"_s);
    composeFile(tools, 3007);
    QCOMPARE(runReal(tools, compose(file, "up -d")).output,
             u" Container orvanel  Recreate\n Container orvanel  Recreated\n Container orvanel  Starting\n"
             " Container orvanel  Started\n"_s);
    QCOMPARE(tools.state().container->port, 3007);
    tools.change([](DockerState& state) { state.container->state = "paused"; });
    QCOMPARE(runReal(tools, compose(file, "up -d")).output,
             u" Container orvanel  Starting\nError response from daemon: cannot start a paused container, try unpause "
             "instead\n"_s);
    QCOMPARE(runReal(tools, words("unpause orvanel")).output, u"orvanel\n"_s);
    QCOMPARE(runReal(tools, inspect).output, u"running\n"_s);
    result = runReal(tools, words("unpause orvanel"));
    QCOMPARE(result.status, 1);
    QCOMPARE(result.output, u"Error response from daemon: Container %1 is not paused\n"_s.arg(
                                QString::fromStdString(tools.state().container->id)));
    tools.change([](DockerState& state) { state.daemon = Daemon::down; });
    QCOMPARE(runReal(tools, words("ps")).output, u"Cannot connect to the Docker daemon at "
                                                 "unix:///var/run/docker.sock. Is the docker daemon running?\n"_s);
}

void TestStandInTools::callsAreRecorded() {
    const StandInTools tools;
    const QStringList odd{u"a b"_s, QString(), u"tab\tline\n\\n"_s, u"é"_s, QString()};
    runReal(tools, odd);
    runReal(tools, inspect);
    QCOMPARE(tools.callsOf(u"docker"_s), (QList<QStringList>{odd, inspect}));
    QCOMPARE(tools.commands(), (QStringList{u"?"_s, u"inspect"_s}));
    tools.forgetCalls();
    QVERIFY(tools.calls().isEmpty());
}

void TestStandInTools::noChangeIsLostBetweenProcesses() {
    const StandInTools tools;
    tools.change([](DockerState& state) { state.overrides = {{.command = "info", .exitCode = 7, .times = 20}}; });
    std::vector<QCoro::Task<CommandResult>> runs;
    runs.reserve(40);
    for (int i = 0; i < 40; ++i) {
        runs.push_back(DockerCLI::run(tools.path(u"docker"_s), words("info"), patience, {}, {}));
    }
    int scripted = 0;
    for (auto& one : runs) {
        scripted += await(std::move(one)).status == 7 ? 1 : 0;
    }
    QCOMPARE(scripted, 20);
    QCOMPARE(tools.calls().size(), 40);
}

void TestStandInTools::pullHoldsNobodyUpAndCanBeCancelled_data() {
    QTest::addColumn<bool>("byCompose");
    QTest::addColumn<bool>("isOld");
    QTest::addColumn<int>("status");
    QTest::newRow("compose pull") << true << false << 130;
    QTest::newRow("compose pull of client 20") << true << true << 130;
    QTest::newRow("docker pull") << false << false << 143;
}

void TestStandInTools::pullHoldsNobodyUpAndCanBeCancelled() {
    QFETCH(const bool, byCompose);
    QFETCH(const bool, isOld);
    QFETCH(const int, status);
    const StandInTools tools;
    tools.change([&](DockerState& state) {
        state.client = isOld ? Client::v20 : Client::v28;
        state.pace = 8; // two minutes
    });
    const auto handle = std::make_shared<ProcessHandle>();
    const auto isUnderWay = std::make_shared<std::atomic<bool>>(false);
    const QStringList arguments =
        byCompose ? compose(composeFile(tools), "pull") : words("pull louislam/uptime-kuma:2");
    auto pull =
        DockerCLI::run(tools.path(u"docker"_s), arguments, 1h, handle, [isUnderWay](QString) { *isUnderWay = true; });
    QVERIFY(waitUntil([&] { return isUnderWay->load(); }));
    QCOMPARE(runReal(tools, inspect).status, 1);
    handle->cancel();
    const CommandResult result = await(std::move(pull));
    QVERIFY(result.cancelled);
    QCOMPARE(result.status, status);
    QCOMPARE(result.output.endsWith(u"canceled\n"), byCompose);
    QVERIFY(tools.state().images.empty());
}

void TestStandInTools::serverLivesWithItsContainer() {
    const StandInTools tools;
    const int port = freePort();
    const QString file = composeFile(tools, port);
    tools.change([](DockerState& state) { state.server = ORVANEL_STANDIN_KUMA; });
    QCOMPARE(runReal(tools, compose(file, "up -d")).status, 0);
    QVERIFY(waitUntil([&] { return isListening(port); }));
    QVERIFY(waitUntil([&] { return runReal(tools, words("logs --tail 300 orvanel")).output.contains(u"Listening"); }));

    // The server ends by itself, and its restart policy starts it again at the next look.
    const int first = tools.state().container->server.pid;
    QCOMPARE(::kill(first, SIGKILL), 0);
    QVERIFY(waitUntil([&] { return !isListening(port); }));
    QCOMPARE(runReal(tools, inspect).output, u"running\n"_s);
    QVERIFY(tools.state().container->server.pid != first);
    QCOMPARE(tools.state().container->restarts, 1);
    QVERIFY(waitUntil([&] { return isListening(port); }));

    QCOMPARE(runReal(tools, compose(file, "stop")).status, 0);
    QVERIFY(!isListening(port));
    QCOMPARE(runReal(tools, inspect).output, u"exited\n"_s);

    // Another program has the port now.
    QTcpServer holder;
    QVERIFY(holder.listen(QHostAddress::LocalHost, static_cast<quint16>(port)));
    const CommandResult failed = runReal(tools, compose(file, "up -d"));
    QCOMPARE(failed.status, 1);
    QVERIFY(failed.output.endsWith(u"bind: address already in use\n"));
}

void TestStandInTools::theRootHelperBringsDocker() {
    const StandInTools tools(QStringList{});
    tools.put(u"pkexec"_s, u"usr/bin"_s);
    tools.change([](DockerState& state) { state.daemon = Daemon::down; });
    QVERIFY(!DockerCLI::findOutsideSearchFolders(u"docker"_s));
    const QString pkexec = tools.path(u"pkexec"_s, u"usr/bin"_s);
    const CommandResult installed =
        await(DockerCLI::runToItsEnd(pkexec, words("--disable-internal-agent /helper install"), patience, {}, {}));
    QVERIFY2(installed.isSuccess(), qPrintable(installed.output));
    QVERIFY(installed.output.endsWith(u"ann may use Docker now.\n"_s));
    const auto docker = DockerCLI::findOutsideSearchFolders(u"docker"_s);
    QVERIFY(docker);
    QVERIFY(await(DockerCLI::run(*docker, words("info"), patience, {}, {})).isSuccess());

    tools.change([](DockerState& state) { state.daemon = Daemon::denied; });
    QVERIFY(!await(DockerCLI::run(*docker, words("info"), patience, {}, {})).isSuccess());
    QVERIFY(await(DockerCLI::runToItsEnd(pkexec, words("--disable-internal-agent /helper join"), patience, {}, {}))
                .isSuccess());
    QVERIFY(await(DockerCLI::run(*docker, words("info"), patience, {}, {})).isSuccess());
    QCOMPARE(tools.commands(), (QStringList{u"pkexec install"_s, u"info"_s, u"info"_s, u"pkexec join"_s, u"info"_s}));
}

void TestStandInTools::brewAndColimaBringARuntime() {
    const StandInTools tools({u"brew"_s});
    tools.change([](DockerState& state) {
        state.daemon = Daemon::down;
        state.colimaDelay = 2;
    });
    QVERIFY(!DockerCLI::findTool(u"colima"_s));
    const auto brew = DockerCLI::findTool(u"brew"_s);
    QVERIFY(brew.has_value());
    QVERIFY(await(DockerCLI::run(*brew, words("install colima docker"), patience, {}, {})).isSuccess());
    const auto docker = DockerCLI::find(QString());
    const auto colima = DockerCLI::findTool(u"colima"_s);
    QVERIFY(docker && colima);
    QCOMPARE(runReal(tools, words("info")).status, 1);
    QVERIFY(await(DockerCLI::run(*colima, words("start"), patience, {}, {})).isSuccess());
    QCOMPARE(runReal(tools, words("ps")).status, 1);
    QCOMPARE(runReal(tools, words("ps")).status, 1);
    QCOMPARE(runReal(tools, words("ps")).status, 0);
    QCOMPARE(tools.commands().mid(0, 3), (QStringList{u"brew install"_s, u"info"_s, u"colima start"_s}));
}

ORVANEL_TEST(TestStandInTools)
#include "TestStandInTools.moc"
