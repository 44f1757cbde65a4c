#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

/// A socket that is closed with this object.
class Socket {
public:
    explicit Socket(int descriptor = -1)
        : m_descriptor(descriptor) {}
    ~Socket() { close(); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int get() const { return m_descriptor; }
    void reset(int descriptor) {
        close();
        m_descriptor = descriptor;
    }
    void close() {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor;
};

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

/// Makes a listening socket in the way Docker's port proxy does.
int listenOn(int port) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = loopback(port);
    if (::bind(descriptor, generic(address), sizeof address) != 0 || ::listen(descriptor, 8) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

int portOf(int descriptor) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

/// The container's published port, with a browser that looks at the page; both use real sockets.
class PublishedPort {
public:
    PublishedPort() {
        m_listener.reset(listenOn(0));
        m_port = portOf(m_listener.get());
    }

    int port() const { return m_port; }
    bool isListening() const { return m_listener.get() >= 0; }

    bool connectBrowser() {
        m_browser.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_in address = loopback(m_port);
        if (::connect(m_browser.get(), generic(address), sizeof address) != 0) {
            return false;
        }
        m_connection.reset(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        return m_connection.get() >= 0;
    }

    /// Ends the server, which closes its connections before the browser does.
    void stop() {
        m_listener.close();
        m_connection.close();
        if (browserCloses) {
            char byte = 0;
            [[maybe_unused]] const auto end = ::read(m_browser.get(), &byte, 1);
            m_browser.close();
        }
    }

    bool start() {
        m_listener.reset(listenOn(m_port));
        return isListening();
    }

    bool browserCloses = true;

private:
    Socket m_listener;
    Socket m_connection;
    Socket m_browser;
    int m_port = 0;
};

/// The stand-in docker with the published port: the port opens and closes as the container starts and stops.
QCoro::Task<CommandResult> runWithPort(RunCommand run, ControllerFixture* world, PublishedPort* published,
                                       std::function<void()> afterStop, QString path, QStringList arguments,
                                       std::chrono::duration<double> limit, std::shared_ptr<ProcessHandle> handle,
                                       DockerCLI::OutputCallback onOutput) {
    CommandResult result = co_await run(path, arguments, limit, handle, onOutput);
    const bool isRunning = world->docker().container && world->docker().container->state == "running";
    if (isRunning && !published->isListening() && !published->start()) {
        result = {.status = 1, .output = u"listen: address already in use"_s};
    } else if (!isRunning && published->isListening()) {
        published->stop();
        afterStop();
    }
    co_return result;
}

void publish(ControllerFixture& world, PublishedPort& published, std::function<void()> afterStop) {
    world.adjust = [](ControllerEnvironment&, HostFunctions& host) {
        host.isPortFree = &DockerCLI::isPortFree;
        host.isPortFreeForListening = &DockerCLI::isPortFreeForListening;
    };
    world.runner = [run = world.runner, &world, &published,
                    afterStop](QString path, QStringList arguments, std::chrono::duration<double> limit,
                               std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
        return runWithPort(run, &world, &published, afterStop, path, arguments, limit, handle, onOutput);
    };
    world.controller().setPort(published.port());
    if (world.controller().prepareFiles()) {
        qFatal("no compose file");
    }
    standin::addContainer(world.docker(), "running", published.port());
    world.docker().container->data = world.controller().dataDir().toStdString();
    world.controller().recheck();
    if (!world.everythingEnds()) {
        qFatal("the first look did not end");
    }
}

} // namespace

/// The port tests on real sockets. A server that is stopped while a browser is connected leaves its port in a closing
/// state, in which a plain bind fails for a minute.
class TestPortReuse : public QObject {
    Q_OBJECT

    static void addBrowsers() {
        QTest::addColumn<bool>("browserCloses");
        QTest::newRow("the browser closes too") << true;
        QTest::newRow("the browser keeps its end open") << false;
    }

private Q_SLOTS:
    void restart_data() { addBrowsers(); }

    void restart() {
        QFETCH(const bool, browserCloses);
        PublishedPort published;
        published.browserCloses = browserCloses;
        ControllerFixture world;
        bool wasClosing = false;
        publish(world, published, [&] {
            wasClosing =
                !DockerCLI::isPortFree(published.port()) && DockerCLI::isPortFreeForListening(published.port());
        });
        QVERIFY(published.connectBrowser());
        KumaController& kuma = world.controller();
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(wasClosing); // or this test shows nothing
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).message));
        QVERIFY(published.isListening());
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void stopThenStart_data() { addBrowsers(); }

    void stopThenStart() {
        QFETCH(const bool, browserCloses);
        PublishedPort published;
        published.browserCloses = browserCloses;
        ControllerFixture world;
        bool hasStopped = false;
        publish(world, published, [&] { hasStopped = true; });
        QVERIFY(published.connectBrowser());
        KumaController& kuma = world.controller();
        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(hasStopped && !published.isListening());
        QVERIFY(!DockerCLI::isPortFree(published.port()));
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).message));
        QVERIFY(published.isListening());
    }

    void anotherProgramThatTakesThePortMeanwhileIsNoticed_data() { addBrowsers(); }

    void anotherProgramThatTakesThePortMeanwhileIsNoticed() {
        QFETCH(const bool, browserCloses);
        PublishedPort published;
        published.browserCloses = browserCloses;
        ControllerFixture world;
        Socket other;
        publish(world, published, [&] { other.reset(listenOn(published.port())); });
        QVERIFY(published.connectBrowser());
        KumaController& kuma = world.controller();
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(other.get() >= 0);
        const auto sentence = u"Port %1 is already in use by another program."_s.arg(published.port());
        QVERIFY(kuma.state().error.has_value());
        QCOMPARE(kuma.state().error->message, sentence);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        const std::optional<int> suggested = kuma.state().suggestedPort;
        QVERIFY(suggested && *suggested >= 3002 && *suggested <= 3010);
        QVERIFY(DockerCLI::isPortFree(*suggested));
        // The next start succeeds if the user takes the suggestion or the other program ends.
        other.close();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error && !kuma.state().suggestedPort);
    }

    void anotherProgramOnAllAddressesIsNoticed() {
        const Socket other(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in anywhere{};
        anywhere.sin_family = AF_INET;
        QCOMPARE(::bind(other.get(), generic(anywhere), sizeof anywhere), 0);
        QCOMPARE(::listen(other.get(), 1), 0);
        ControllerFixture world;
        world.adjust = [](ControllerEnvironment&, HostFunctions& host) {
            host.isPortFree = &DockerCLI::isPortFree;
            host.isPortFreeForListening = &DockerCLI::isPortFreeForListening;
        };
        KumaController& kuma = world.controller();
        kuma.setPort(portOf(other.get()));
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error.has_value());
        QVERIFY(kuma.state().error->message.endsWith(u"is already in use by another program."_s));
        QVERIFY(kuma.state().suggestedPort.has_value());
    }
};

ORVANEL_TEST(TestPortReuse)
#include "TestPortReuse.moc"
