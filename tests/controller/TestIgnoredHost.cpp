#include "controller/IgnoredHost.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

const auto down =
    u"Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?\n"_s;
const auto denied = u"permission denied while trying to connect to the Docker daemon socket at "
                    "unix:///var/run/docker.sock: Get \"http://%2Fvar%2Frun%2Fdocker.sock/v1.24/info\": dial unix "
                    "/var/run/docker.sock: connect: permission denied\n"_s;
const auto newerDown = u"failed to connect to the docker API at unix:///var/run/docker.sock; check if the path is "
                       "correct and if the daemon is running: dial unix /var/run/docker.sock: connect: no such file "
                       "or directory\n"_s;
const auto otherContext = u"Cannot connect to the Docker daemon at tcp://10.0.0.5:2375. Is the docker daemon "
                          "running?\n"_s;

QString commandFor(const QString& host) {
    return u"docker context create orvanel --docker %1 && docker context use orvanel"_s.arg(host);
}

} // namespace

class TestIgnoredHost : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void command_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("complaint");
        QTest::addColumn<std::optional<QString>>("expected");
        const auto socket = u"unix:///run/user/1000/docker.sock"_s;
        const auto row = [](const char* name, const QString& host, const QString& complaint,
                            const std::optional<QString>& expected) {
            QTest::newRow(name) << host << complaint << expected;
        };
        const QString plain = commandFor(u"host="_s + socket);
        row("no daemon", socket, down, plain);
        row("no daemon, in newer words", socket, newerDown, plain);
        row("refused", socket, denied, plain);
        row("ssh", u"ssh://anna@server:22"_s, down, commandFor(u"host=ssh://anna@server:22"_s));
        row("what a shell would read", u"tcp://a b;'c'$HOME"_s, down,
            commandFor(u"'host=tcp://a b;'\\''c'\\''$HOME'"_s));
        row("no variable", {}, down, {});
        row("the default place", u"unix:///var/run/docker.sock"_s, down, {});
        row("the default place by its other name", u"unix:///run/docker.sock"_s, down, {});
        row("another context is in use", socket, otherContext, {});
        row("nothing said yet", socket, {}, {});
    }

    void command() {
        QFETCH(const QString, host);
        QFETCH(const QString, complaint);
        QTEST(contextCommand(host, complaint), "expected");
    }
};

ORVANEL_TEST(TestIgnoredHost)
#include "TestIgnoredHost.moc"
