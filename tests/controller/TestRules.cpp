#include "controller/CappedLog.h"
#include "controller/ComposeFile.h"
#include "controller/Health.h"
#include "controller/LogFeed.h"
#include "controller/MonitorTransitions.h"
#include "controller/StatusLine.h"
#include "support/Await.h"

#include <thread>

using namespace orvanel;
using namespace orvanel::test;

Q_DECLARE_METATYPE(orvanel::DockerState)
Q_DECLARE_METATYPE(orvanel::KumaState)
Q_DECLARE_METATYPE(orvanel::Health)

namespace {

using Status = std::optional<std::int64_t>;

MonitorRow row(std::int64_t id, Status status, const QString& name = QStringLiteral("Web")) {
    return {.id = id, .name = name, .group = {}, .status = status, .ping = {}, .uptime24 = {}};
}

QList<MonitorRow> rowsOf(const QList<Status>& statuses) {
    QList<MonitorRow> rows;
    for (const Status& status : statuses) {
        rows.append(row(rows.size() + 1, status));
    }
    return rows;
}

const auto down = QStringLiteral("Uptime Kuma reports this monitor as down.");
const auto back = QStringLiteral("This monitor is up again.");

} // namespace

/// The rules that need nothing but plain values.
class TestRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void composeTextIsExact() {
        const QString expected =
            QStringLiteral(R"(# Written by Orvanel. Image tag and port come from the app's settings.
services:
  uptime-kuma:
    image: louislam/uptime-kuma:2
    container_name: orvanel
    restart: unless-stopped
    ports:
      - "127.0.0.1:3001:3001"
    volumes:
      - ./data:/app/data
)");
        QCOMPARE(composeText(QStringLiteral("2"), 3001), expected);
        QCOMPARE(composeText(QStringLiteral("2"), 3001).count(u'\n'), 10);
        QVERIFY(!composeText(QStringLiteral("2"), 3001).contains(u'\t'));
    }

    void composeTextTakesTagAndPortAsTheyAre_data() {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("image");
        QTest::addColumn<QString>("mapping");
        QTest::newRow("another version") << "2.5.3" << 65535 << "    image: louislam/uptime-kuma:2.5.3"
                                         << "      - \"127.0.0.1:65535:3001\"";
        QTest::newRow("blanks stay") << " 2 " << 80 << "    image: louislam/uptime-kuma: 2 "
                                     << "      - \"127.0.0.1:80:3001\"";
        QTest::newRow("empty") << "" << 3001 << "    image: louislam/uptime-kuma:"
                               << "      - \"127.0.0.1:3001:3001\"";
        QTest::newRow("placeholders are text") << "%1%2" << 3001 << "    image: louislam/uptime-kuma:%1%2"
                                               << "      - \"127.0.0.1:3001:3001\"";
        QTest::newRow("no grouping of digits") << "2" << 12345 << "    image: louislam/uptime-kuma:2"
                                               << "      - \"127.0.0.1:12345:3001\"";
    }

    void composeTextTakesTagAndPortAsTheyAre() {
        QFETCH(const QString, tag);
        QFETCH(const int, port);
        const QStringList lines = composeText(tag, port).split(u'\n');
        QTEST(lines.value(3), "image");
        QTEST(lines.value(7), "mapping");
    }

    void healthNeedsARunningServer_data() {
        QTest::addColumn<DockerState>("dockerState");
        QTest::addColumn<KumaState>("kuma");
        QTest::addColumn<QList<Status>>("statuses");
        QTest::addColumn<Health>("health");
        using D = DockerState;
        using K = KumaState;
        using H = Health;
        const QList<Status> none;
        QTest::newRow("unknown") << D::unknown << K::running << QList<Status>{0} << H::inactive;
        QTest::newRow("missing") << D::missing << K::running << QList<Status>{0} << H::inactive;
        QTest::newRow("not running") << D::notRunning << K::running << QList<Status>{1} << H::inactive;
        QTest::newRow("stopped") << D::ready << K::stopped << QList<Status>{0} << H::inactive;
        QTest::newRow("starting") << D::ready << K::starting << QList<Status>{0} << H::inactive;
        QTest::newRow("error") << D::ready << K::error << QList<Status>{0} << H::inactive;
        QTest::newRow("no monitors") << D::ready << K::running << none << H::allUp;
        QTest::newRow("one down") << D::ready << K::running << QList<Status>{1, 0, 1} << H::someDown;
        QTest::newRow("all up") << D::ready << K::running << QList<Status>{1, 1} << H::allUp;
        QTest::newRow("no status") << D::ready << K::running << QList<Status>{std::nullopt} << H::allUp;
        QTest::newRow("other codes") << D::ready << K::running << QList<Status>{2, 3, 4, -1, 99} << H::allUp;
    }

    void healthNeedsARunningServer() {
        QFETCH(const DockerState, dockerState);
        QFETCH(const KumaState, kuma);
        QFETCH(const QList<Status>, statuses);
        QFETCH(const Health, health);
        QVERIFY(healthOf(dockerState, kuma, rowsOf(statuses)) == health);
    }

    void statusLine_data() {
        QTest::addColumn<DockerState>("dockerState");
        QTest::addColumn<KumaState>("kuma");
        QTest::addColumn<QList<Status>>("statuses");
        QTest::addColumn<QString>("line");
        using D = DockerState;
        using K = KumaState;
        const QList<Status> none;
        QTest::newRow("unknown") << D::unknown << K::running << QList<Status>{1} << QStringLiteral("Checking Docker…");
        QTest::newRow("missing") << D::missing << K::running << QList<Status>{1}
                                 << QStringLiteral("Docker is not installed");
        QTest::newRow("not running") << D::notRunning << K::error << none << QStringLiteral("Docker is not running");
        QTest::newRow("stopped") << D::ready << K::stopped << QList<Status>{1}
                                 << QStringLiteral("Uptime Kuma is stopped");
        QTest::newRow("starting") << D::ready << K::starting << none << QStringLiteral("Uptime Kuma is starting…");
        QTest::newRow("error") << D::ready << K::error << none << QStringLiteral("Uptime Kuma has a problem");
        QTest::newRow("no monitors") << D::ready << K::running << none << QStringLiteral("Uptime Kuma is running");
        QTest::newRow("three up") << D::ready << K::running << QList<Status>{1, 1, 1}
                                  << QStringLiteral("All 3 monitors up");
        QTest::newRow("one up") << D::ready << K::running << QList<Status>{1} << QStringLiteral("All 1 monitors up");
        QTest::newRow("one down") << D::ready << K::running << QList<Status>{1, 0, 1} << QStringLiteral("1 down, 2 up");
        QTest::newRow("all down") << D::ready << K::running << QList<Status>{0, 0} << QStringLiteral("2 down, 0 up");
        QTest::newRow("pending only") << D::ready << K::running << QList<Status>{2}
                                      << QStringLiteral("All 0 monitors up");
        QTest::newRow("codes that count in neither")
            << D::ready << K::running << QList<Status>{0, 1, 2, 3, std::nullopt, 7} << QStringLiteral("1 down, 1 up");
        QTest::newRow("plain decimals") << D::ready << K::running << QList<Status>(1234, 1)
                                        << QStringLiteral("All 1234 monitors up");
    }

    void statusLine() {
        QFETCH(const DockerState, dockerState);
        QFETCH(const KumaState, kuma);
        QFETCH(const QList<Status>, statuses);
        QTEST(statusLineOf(std::nullopt, dockerState, kuma, rowsOf(statuses)), "line");
        // Whatever the rest says, an operation under way comes first, and so does one without words.
        QCOMPARE(statusLineOf(QStringLiteral("Stopping…"), dockerState, kuma, rowsOf(statuses)),
                 QStringLiteral("Stopping…"));
        QCOMPARE(statusLineOf(QString(), dockerState, kuma, rowsOf(statuses)), QString());
    }

    void cappedLogKeepsItsEnd_data() {
        QTest::addColumn<qsizetype>("before");
        QTest::addColumn<qsizetype>("added");
        QTest::addColumn<qsizetype>("after");
        QTest::newRow("empty") << qsizetype(0) << qsizetype(0) << qsizetype(0);
        QTest::newRow("short") << qsizetype(10) << qsizetype(5) << qsizetype(15);
        QTest::newRow("the most there may be") << qsizetype(29999) << qsizetype(1) << qsizetype(30000);
        QTest::newRow("one more") << qsizetype(30000) << qsizetype(1) << qsizetype(20000);
        QTest::newRow("nothing added") << qsizetype(30000) << qsizetype(0) << qsizetype(30000);
        QTest::newRow("a flood at once") << qsizetype(100) << qsizetype(1000000) << qsizetype(20000);
    }

    void cappedLogKeepsItsEnd() {
        QFETCH(const qsizetype, before);
        QFETCH(const qsizetype, added);
        QFETCH(const qsizetype, after);
        const QString old(before, u'a');
        QString chunk(added, u'b');
        if (!chunk.isEmpty()) {
            chunk.back() = u'!';
        }
        const QString log = appendCapped(old, chunk);
        QCOMPARE(log.size(), after);
        QVERIFY((old + chunk).endsWith(log));
    }

    void cappedLogNeverCutsACharacterInTwo() {
        const QString face = QStringLiteral("😀");
        QCOMPARE(face.size(), qsizetype(2));
        // The cut falls inside a pair: between the halves of the pairs with the odd start, but not with the even one.
        const QString odd = appendCapped(QStringLiteral("a") + face.repeated(15000), QStringLiteral("z"));
        QCOMPARE(odd.size(), qsizetype(19999));
        QVERIFY(odd.startsWith(face));
        QVERIFY(odd.endsWith(u'z'));
        const QString even = appendCapped(face.repeated(15000), face);
        QCOMPARE(even, face.repeated(10000));
    }

    void statusesAreThoseOfTheLastRow() {
        const QList<MonitorRow> rows{row(1, 1), row(2, std::nullopt), row(3, 0), row(3, 1), row(4, 99),
                                     row(5, 0), row(5, std::nullopt)};
        QCOMPARE(statusesOf(rows), (MonitorStatuses{{1, 1}, {3, 1}, {4, 99}, {5, 0}}));
        QVERIFY(statusesOf({}).isEmpty());
    }

    void newsAreDirectStepsOnly() {
        const QList<Status> codes{std::nullopt, 0, 1, 2, 3, 4, -1};
        for (const Status before : codes) {
            for (const Status after : codes) {
                QList<MonitorNews> expected;
                if (before == 1 && after == 0) {
                    expected.append({QStringLiteral("Web is down"), down});
                }
                if (before == 0 && after == 1) {
                    expected.append({QStringLiteral("Web is back up"), back});
                }
                QCOMPARE(monitorNews(statusesOf({row(5, before)}), {row(5, after)}), expected);
            }
        }
    }

    void newsOfAMonitorSeenForTheFirstTimeAreNone() {
        QVERIFY(monitorNews({{1, 1}}, {row(2, 0), row(3, 1)}).isEmpty());
        QVERIFY(monitorNews({}, {row(2, 0)}).isEmpty());
    }

    void newsComeInTheOrderOfTheRows() {
        const MonitorStatuses before{{1, 1}, {2, 0}, {3, 1}};
        const QList<MonitorRow> rows{row(3, 0, QStringLiteral("Mail")), row(1, 1, QStringLiteral("Web")),
                                     row(2, 1, QStringLiteral("100%1 <b>"))};
        QCOMPARE(monitorNews(before, rows), (QList<MonitorNews>{{QStringLiteral("Mail is down"), down},
                                                                {QStringLiteral("100%1 <b> is back up"), back}}));
    }

    void newsOfAMonitorListedTwiceCompareEachRowWithTheOldValue() {
        const QList<MonitorRow> rows{row(1, 0, QStringLiteral("A")), row(1, 1, QStringLiteral("B")),
                                     row(1, 0, QStringLiteral("C"))};
        QCOMPARE(monitorNews({{1, 1}}, rows),
                 (QList<MonitorNews>{{QStringLiteral("A is down"), down}, {QStringLiteral("C is down"), down}}));
    }

    void idsMayBeLarge() {
        constexpr std::int64_t large = std::int64_t(1) << 40;
        QCOMPARE(monitorNews({{large, 1}, {0, 0}}, {row(large, 0)}).size(), 1);
    }

    void feedKeepsTheOrder() {
        QString log;
        const DockerCLI::OutputCallback feed = logFeed([&](const QString& text) { log += text; });
        QString expected;
        std::thread child([&] {
            for (int i = 0; i < 1000; ++i) {
                const QString chunk = QString::number(i) + u'\n';
                expected += chunk;
                feed(chunk);
            }
        });
        child.join();
        QVERIFY(log.isEmpty()); // nothing on the child's thread
        drainEvents();
        QCOMPARE(log, expected);
        feed(QStringLiteral("more"));
        drainEvents();
        QVERIFY(log.endsWith(QStringLiteral("999\nmore")));
    }

    void feedHoldsAFloodInBounds() {
        int calls = 0;
        qsizetype longest = 0;
        QString log;
        const DockerCLI::OutputCallback feed = logFeed([&](const QString& text) {
            calls += 1;
            longest = std::max(longest, text.size());
            log = appendCapped(log, text);
        });
        std::thread child([&] {
            const QString line(99, u'x');
            for (int i = 0; i < 100000; ++i) {
                feed(line + u'\n');
            }
            feed(QStringLiteral("the end"));
        });
        child.join();
        drainEvents();
        // All of it came while this thread did not look: one call brings what counts.
        QCOMPARE(calls, 1);
        QVERIFY(longest <= 2 * cappedLogLimit);
        QVERIFY(log.endsWith(QStringLiteral("x\nthe end")));
    }

    void feedDeliversBesideAWorkingChild() {
        QStringList lines;
        QString rest;
        const DockerCLI::OutputCallback feed = logFeed([&](const QString& text) {
            rest += text;
            lines = rest.split(u'\n', Qt::SkipEmptyParts);
        });
        std::thread child([&] {
            for (int i = 0; i < 2000; ++i) {
                feed(QStringLiteral("%1\n").arg(i));
            }
        });
        const bool arrived = waitUntil([&] { return lines.size() == 2000; });
        child.join();
        QVERIFY(arrived);
        for (int i = 0; i < 2000; ++i) {
            QCOMPARE(lines.value(i), QString::number(i));
        }
    }
};

QTEST_GUILESS_MAIN(TestRules)
#include "TestRules.moc"
