#include "controller/DockerKind.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

const auto notice = u"Emulate Docker CLI using podman. Create /etc/containers/nodocker to quiet msg.\n"_s;

} // namespace

class TestDockerKind : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void info_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("isPodman");
        const auto podman = u"host:\n  arch: amd64\n  buildahVersion: 1.28.2\nstore:\n  graphDriverName: overlay\n"_s;
        QTest::newRow("podman") << podman << true;
        QTest::newRow("podman after its notice") << notice + podman << true;
        QTest::newRow("Docker") << u"Client:\n Version:    28.2.2\nServer:\n Containers: 0\n"_s << false;
        QTest::newRow("Docker's tool, podman's service")
            << u"Client:\n Version:    28.2.2\n Context:    podman\n\nServer:\n Server Version: 4.3.1\n Runtimes: crun\n"_s
            << false;
    }

    void info() {
        QFETCH(const QString, output);
        QFETCH(const bool, isPodman);
        QCOMPARE(kindByInfo(output) == DockerKind::podman, isPodman);
    }

    void composeVersion_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("isPodman");
        QTest::addColumn<bool>("isDockers");
        const auto row = [](const char* name, const QString& output, bool isPodman, bool isDockers) {
            QTest::newRow(name) << output << isPodman << isDockers;
        };
        row("Docker's", u"Docker Compose version v2.32.4\n"_s, false, true);
        row("Debian's", u"Docker Compose version 2.26.1-4\n"_s, false, true);
        row("Docker without",
            u"docker: unknown command: docker compose\n\nRun 'docker --help' for more information\n"_s, false, false);
        row("podman 4.3", notice + u"Error: unrecognized command `podman compose`\nTry 'podman --help'\n"_s, true,
            false);
        row("podman-compose 1.0.3",
            u"['podman', '--version', '']\nusing podman version: 4.3.1\npodman-composer version  1.0.3\npodman "
            "--version \npodman version 4.3.1\nexit code: 0\n"_s,
            true, false);
        row("Docker's, called by podman",
            u">>>> Executing external compose provider \"/usr/libexec/docker/cli-plugins/docker-compose\". Please see "
            "podman-compose(1) for how to disable this message. <<<<\n\nDocker Compose version v2.32.4\n"_s,
            true, true);
    }

    void composeVersion() {
        QFETCH(const QString, output);
        QFETCH(const bool, isPodman);
        QFETCH(const bool, isDockers);
        QCOMPARE(kindByComposeVersion(output) == DockerKind::podman, isPodman);
        QCOMPARE(isDockerCompose(output), isDockers);
    }

    void podmansNotice() {
        QCOMPARE(withoutPodmansNotice(notice + u"running\n"_s), u"running\n"_s);
        QCOMPARE(withoutPodmansNotice(notice), QString());
        QCOMPARE(withoutPodmansNotice(notice.trimmed()), QString());
        QCOMPARE(withoutPodmansNotice(u"running\n"_s), u"running\n"_s);
        QCOMPARE(withoutPodmansNotice(QString()), QString());
        // A server may log whatever it likes.
        const QString log = u"a line\n"_s + notice;
        QCOMPARE(withoutPodmansNotice(log), log);
    }
};

ORVANEL_TEST(TestDockerKind)
#include "TestDockerKind.moc"
