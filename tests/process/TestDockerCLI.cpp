#include "process/DockerCLI.h"
#include "process/DockerComplaint.h"
#include "process/FileDescriptor.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDir>

#include <limits>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QString passwordHome() {
    return QFile::decodeName(::getpwuid(::getuid())->pw_dir);
}

/// An IPv4 socket, bound to a port that the system chose.
class BoundSocket {
public:
    enum class Reuse { no, yes };

    explicit BoundSocket(in_addr_t address, Reuse reuse = Reuse::yes)
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int on = reuse == Reuse::yes ? 1 : 0;
        ::setsockopt(m_socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(address);
        socklen_t size = sizeof name;
        auto* const generic = reinterpret_cast<sockaddr*>(&name);
        if (::bind(m_socket.get(), generic, size) != 0 || ::getsockname(m_socket.get(), generic, &size) != 0) {
            qFatal("no free port");
        }
        m_port = ntohs(name.sin_port);
    }

    int port() const { return m_port; }
    bool listen() const { return ::listen(m_socket.get(), 8) == 0; }
    FileDescriptor accept() const { return FileDescriptor(::accept(m_socket.get(), nullptr, nullptr)); }

private:
    FileDescriptor m_socket;
    int m_port = 0;
};

FileDescriptor connectTo(int port) {
    FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
        client.reset();
    }
    return client;
}

} // namespace

class TestDockerCLI : public QObject {
    Q_OBJECT

    std::optional<TestHome> m_home;

    QString addTool(const QString& relative) { return m_home->write(relative, "tool", true); }

private Q_SLOTS:
    void init() {
        m_home.emplace();
        qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(m_home->path()));
    }

    void cleanup() {
        qunsetenv("ORVANEL_TOOL_ROOT");
        m_home.reset();
    }

    void searchFoldersInOrder() {
        const QStringList folders{u"/usr/local/bin"_s, u"/opt/homebrew/bin"_s,
                                  u"/Applications/Docker.app/Contents/Resources/bin"_s};
        QStringList moved = folders;
        for (QString& folder : moved) {
            folder.prepend(m_home->path());
        }
        QCOMPARE(DockerCLI::searchFolders(), moved);
        qunsetenv("ORVANEL_TOOL_ROOT");
        QCOMPARE(DockerCLI::searchFolders(), folders);
    }

    void environmentIsBuiltAfresh() {
        qunsetenv("ORVANEL_TOOL_ROOT");
        qputenv("USER", "somebody");
        qputenv("TMPDIR", "");
        qunsetenv("LANG");
        QMap<QString, QString> expected{
            {u"PATH"_s, u"/usr/local/bin:/opt/homebrew/bin:/Applications/Docker.app/Contents/Resources/bin"
                        ":/usr/bin:/bin:/usr/sbin:/sbin"_s},
            {u"HOME"_s, passwordHome()},
            {u"USER"_s, u"somebody"_s},
            {u"TMPDIR"_s, QString()},
            {u"DOCKER_CLI_HINTS"_s, u"false"_s},
        };
        QCOMPARE(DockerCLI::environment(), expected);
        qputenv("LANG", "de_DE.UTF-8");
        qunsetenv("USER");
        qunsetenv("TMPDIR");
        expected[u"LANG"_s] = u"de_DE.UTF-8"_s;
        expected.remove(u"USER"_s);
        expected.remove(u"TMPDIR"_s);
        QCOMPARE(DockerCLI::environment(), expected);
    }

    void pathStartsWithTheSearchFolders() {
        const QString path = DockerCLI::environment().value(u"PATH"_s);
        QCOMPARE(path, DockerCLI::searchFolders().join(u':') + u":/usr/bin:/bin:/usr/sbin:/sbin"_s);
    }

    void homeIsTheInheritedOneOnlyWithoutAnEntry() {
        QVERIFY(m_home->path() != passwordHome());
        QCOMPARE(DockerCLI::environment().value(u"HOME"_s), passwordHome());
        constexpr uid_t nobodysId = 4'000'000'123;
        if (::getpwuid(nobodysId) != nullptr || ::getuid() != 0) {
            QSKIP("only root can become a user without an entry in the password database");
        }
        QString home;
        QString last;
        // This system call changes the user of this one thread only, unlike the C library's function.
        std::thread([&] {
            if (::syscall(SYS_setresuid, nobodysId, nobodysId, nobodysId) == 0) {
                home = DockerCLI::environment().value(u"HOME"_s);
                qunsetenv("HOME");
                last = DockerCLI::environment().value(u"HOME"_s);
            }
        }).join();
        QCOMPARE(home, m_home->path());
        QCOMPARE(last, u"/"_s);
    }

    void overrideWithBlanksAroundIt() {
        const QString tool = addTool(u"my tools/docker 28"_s);
        addTool(u"usr/local/bin/docker"_s);
        QCOMPARE(DockerCLI::find(u" \t"_s + tool + u" \r\n"_s), tool);
    }

    void overrideThatNamesNoExecutableFileIsIgnored_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("missing") << u"missing"_s;
        QTest::newRow("folder") << u"usr"_s;
        QTest::newRow("not executable") << u"plain"_s;
    }

    void overrideThatNamesNoExecutableFileIsIgnored() {
        QFETCH(const QString, name);
        m_home->write(u"plain"_s, "text");
        const QString override = name.isEmpty() ? u" \n"_s : m_home->path(name);
        QCOMPARE(DockerCLI::find(override), std::nullopt);
        const QString tool = addTool(u"opt/homebrew/bin/docker"_s);
        QCOMPARE(DockerCLI::find(override), tool);
    }

    void firstSearchFolderWins() {
        const QString third = addTool(u"Applications/Docker.app/Contents/Resources/bin/docker"_s);
        QCOMPARE(DockerCLI::find({}), third);
        const QString second = addTool(u"opt/homebrew/bin/docker"_s);
        QCOMPARE(DockerCLI::find({}), second);
        const QString first = addTool(u"usr/local/bin/docker"_s);
        QCOMPARE(DockerCLI::find({}), first);
    }

    void whatIsNotExecutableIsPassedOver() {
        m_home->write(u"usr/local/bin/docker"_s, "text");
        QVERIFY(QDir().mkpath(m_home->path(u"opt/homebrew/bin/docker"_s)));
        QCOMPARE(DockerCLI::find({}), std::nullopt);
        const QString tool = addTool(u"Applications/Docker.app/Contents/Resources/bin/docker"_s);
        QCOMPARE(DockerCLI::find({}), tool);
    }

    void inheritedPathIsNotSearched() {
        const QString tool = addTool(u"elsewhere/docker"_s);
        const QByteArray before = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(QFileInfo(tool).path()));
        QCOMPARE(DockerCLI::find({}), std::nullopt);
        QCOMPARE(DockerCLI::findTool(u"docker"_s), std::nullopt);
        qputenv("PATH", before);
    }

    void otherToolsAreFoundByName() {
        const QString brew = addTool(u"opt/homebrew/bin/brew"_s);
        QCOMPARE(DockerCLI::findTool(u"brew"_s), brew);
        QCOMPARE(DockerCLI::findTool(u"colima"_s), std::nullopt);
        QCOMPARE(DockerCLI::findTool(u" brew"_s), std::nullopt);
    }

    void toolsOutsideTheSearchFolders_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("docker") << u"docker"_s;
        QTest::newRow("brew") << u"brew"_s;
        QTest::newRow("colima") << u"colima"_s;
    }

    /// The tools are made from the last folder to the first, so that each new one must be preferred.
    void toolsOutsideTheSearchFolders() {
        QFETCH(const QString, name);
        addTool(u"usr/local/bin/"_s + name);
        addTool(u"usr/bin/other"_s);
        QCOMPARE(DockerCLI::findOutsideSearchFolders(name), std::nullopt);
        const QString home = passwordHome().mid(1);
        const QStringList folders{home + u"/.linuxbrew/bin/"_s, u"home/linuxbrew/.linuxbrew/bin/"_s,
                                  home + u"/.docker/bin/"_s, u"snap/bin/"_s, u"usr/bin/"_s};
        for (const QString& folder : folders) {
            const QString tool = addTool(folder + name);
            QCOMPARE(DockerCLI::findOutsideSearchFolders(name), tool);
        }
    }

    void findAndFindToolDoNotLookElsewhere() {
        addTool(u"usr/bin/docker"_s);
        QCOMPARE(DockerCLI::find({}), std::nullopt);
        QCOMPARE(DockerCLI::findTool(u"docker"_s), std::nullopt);
    }

    void pathBeginsWithAForeignToolsFolder_data() {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("front");
        QTest::newRow("foreign") << u"/snap/bin/docker"_s << u"/snap/bin:"_s;
        QTest::newRow("blanks in it") << u"/opt/my tools//docker"_s << u"/opt/my tools:"_s;
        QTest::newRow("search folder") << u"/opt/homebrew/bin/docker"_s << QString();
        QTest::newRow("system's folder") << u"/usr/bin/docker"_s << QString();
        QTest::newRow("written oddly") << u"/usr//bin/../bin/docker"_s << QString();
        QTest::newRow("part of a folder's name") << u"/usr/docker"_s << u"/usr:"_s;
        QTest::newRow("colon") << u"/opt/a:b/docker"_s << QString();
        QTest::newRow("no folder") << u"docker"_s << QString();
    }

    void pathBeginsWithAForeignToolsFolder() {
        QFETCH(const QString, program);
        QFETCH(const QString, front);
        qunsetenv("ORVANEL_TOOL_ROOT");
        auto expected = DockerCLI::environment();
        expected[u"PATH"_s].prepend(front);
        QCOMPARE(DockerCLI::environmentFor(program), expected);
    }

    void freePortStaysFree() {
        const int port = BoundSocket(INADDR_LOOPBACK).port();
        for (int round = 0; round < 3; ++round) {
            QVERIFY(DockerCLI::isPortFree(port));
            QVERIFY(DockerCLI::isPortFreeForListening(port));
        }
    }

    void portOfAListenerIsTaken_data() {
        QTest::addColumn<in_addr_t>("address");
        QTest::newRow("on the loopback address") << in_addr_t{INADDR_LOOPBACK};
        QTest::newRow("on all addresses") << in_addr_t{INADDR_ANY};
    }

    void portOfAListenerIsTaken() {
        QFETCH(const in_addr_t, address);
        const BoundSocket server(address);
        QVERIFY(server.listen());
        QVERIFY(!DockerCLI::isPortFree(server.port()));
        QVERIFY(!DockerCLI::isPortFreeForListening(server.port()));
    }

    void portThatIsOnlyBoundIsTaken() {
        const BoundSocket holder(INADDR_LOOPBACK, BoundSocket::Reuse::no);
        QVERIFY(!DockerCLI::isPortFree(holder.port()));
        QVERIFY(!DockerCLI::isPortFreeForListening(holder.port()));
    }

    void portThatIsOnlyClosingIsFreeForListening() {
        int port = 0;
        {
            const BoundSocket server(INADDR_LOOPBACK);
            port = server.port();
            QVERIFY(server.listen());
            FileDescriptor client = connectTo(port);
            QVERIFY(client.isOpen());
            FileDescriptor connection = server.accept();
            QVERIFY(connection.isOpen());
            connection.reset(); // first, so that the closing state is the server's
            client.reset();
        }
        QVERIFY(waitUntil([&] { return DockerCLI::isPortFreeForListening(port); }));
        QVERIFY(!DockerCLI::isPortFree(port));
    }

    void numbersThatAreNoPort() {
        for (const int port : {-1, 0, 65536, 65536 + 8080, std::numeric_limits<int>::min()}) {
            QVERIFY(!DockerCLI::isPortFree(port));
            QVERIFY(!DockerCLI::isPortFreeForListening(port));
        }
    }

    void complaints_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("timedOut");
        QTest::addColumn<DockerComplaint>("complaint");
        using enum DockerComplaint;
        const auto add = [](const char* output, DockerComplaint complaint) {
            QTest::newRow(output) << QString::fromLatin1(output) << false << complaint;
        };
        QTest::newRow("late") << u"port is already allocated"_s << true << noAnswer;
        QTest::newRow("late and silent") << QString() << true << noAnswer;
        add("Error: Bind for 127.0.0.1:3001 failed: port is already allocated.", portTaken);
        add("listen tcp4: Address already in use", portTaken);
        add("Ports are not available: exposing port", portTaken);
        add("address already in use, no space left on device, dial tcp", portTaken);
        add("write /x: no space left on device", diskFull);
        add("dial tcp: No Space Left on device", diskFull);
        add("lookup registry: no such host", noInternet);
        add("Dial TCP 1.2.3.4:443", noInternet);
        add("net/http: TLS handshake timeout", noInternet);
        add("read: i/o timeout", noInternet);
        add("connect: network is unreachable", noInternet);
        add("Temporary failure in name resolution", noInternet);
        add("failed to resolve reference", noInternet);
        add("failed to do request: Head", noInternet);
        add("dial tcp: cannot connect to the docker daemon", noInternet);
        add("cAnNoT connect to the DOCKER daemon at unix:///var/run/docker.sock", notRunning);
        add("", other);
        add("no such container", other);
    }

    void complaints() {
        QFETCH(const QString, output);
        QFETCH(const bool, timedOut);
        const CommandResult result{.status = 1, .output = output, .timedOut = timedOut};
        QTEST(complaintOf(result), "complaint");
        QCOMPARE(DockerCLI::friendlyMessage(output, timedOut), sentenceOf(complaintOf(result)));
    }

    void sentences() {
        using enum DockerComplaint;
        QCOMPARE(sentenceOf(noAnswer), u"Docker did not answer in time."_s);
        QCOMPARE(sentenceOf(portTaken), u"The port is already in use by another program."_s);
        QCOMPARE(sentenceOf(diskFull), u"Your disk is full. Free some space and try again."_s);
        QCOMPARE(sentenceOf(noInternet),
                 u"Docker could not reach the internet to download the image. Check your connection."_s);
        QCOMPARE(sentenceOf(notRunning), u"Docker is not running."_s);
        QCOMPARE(sentenceOf(other), u"Docker reported an error."_s);
    }
};

ORVANEL_TEST(TestDockerCLI)
#include "TestDockerCLI.moc"
