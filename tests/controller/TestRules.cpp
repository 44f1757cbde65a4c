#include "controller/CappedLog.h"
#include "controller/ComposeFile.h"
#include "controller/MonitorTransitions.h"
#include "controller/StatusSummary.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <thread>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

Q_DECLARE_METATYPE(orvanel::DockerState)
Q_DECLARE_METATYPE(orvanel::KumaState)
Q_DECLARE_METATYPE(orvanel::Health)

namespace {

using Status = std::optional<std::int64_t>;

MonitorRow row(std::int64_t id, Status status, const QString& name = u"Web"_s) {
    return {.id = id, .name = name, .group = {}, .status = status, .ping = {}, .uptime24 = {}};
}

QList<MonitorRow> rowsOf(const QList<Status>& statuses) {
    QList<MonitorRow> rows;
    for (const Status& status : statuses) {
        rows.append(row(rows.size() + 1, status));
    }
    return rows;
}

const auto down = u"Uptime Kuma reports this monitor as down."_s;
const auto back = u"This monitor is up again."_s;

} // namespace

/// The rules that need only plain values.
class TestRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void composeTextIsExact() {
        const QString expected = uR"(# Written by Orvanel. Image tag and port come from the app's settings.
services:
  uptime-kuma:
    image: louislam/uptime-kuma:2
    container_name: orvanel
    restart: unless-stopped
    ports:
      - "127.0.0.1:3001:3001"
    volumes:
      - ./data:/app/data
)"_s;
        QCOMPARE(composeText(u"2"_s, 3001), expected);
        QCOMPARE(composeText(u"2"_s, 3001).count(u'\n'), 10);
        QVERIFY(!composeText(u"2"_s, 3001).contains(u'\t'));
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
        QTest::newRow("unknown") << D::unknown << K::running << QList<Status>{1} << u"Checking Docker…"_s;
        QTest::newRow("missing") << D::missing << K::running << QList<Status>{1} << u"Docker is not installed"_s;
        QTest::newRow("not running") << D::notRunning << K::error << none << u"Docker is not running"_s;
        QTest::newRow("stopped") << D::ready << K::stopped << QList<Status>{1} << u"Uptime Kuma is stopped"_s;
        QTest::newRow("starting") << D::ready << K::starting << none << u"Uptime Kuma is starting…"_s;
        QTest::newRow("error") << D::ready << K::error << none << u"Uptime Kuma has a problem"_s;
        QTest::newRow("no monitors") << D::ready << K::running << none << u"Uptime Kuma is running"_s;
        QTest::newRow("three up") << D::ready << K::running << QList<Status>{1, 1, 1} << u"All 3 monitors up"_s;
        QTest::newRow("one up") << D::ready << K::running << QList<Status>{1} << u"All 1 monitors up"_s;
        QTest::newRow("one down") << D::ready << K::running << QList<Status>{1, 0, 1} << u"1 down, 2 up"_s;
        QTest::newRow("all down") << D::ready << K::running << QList<Status>{0, 0} << u"2 down, 0 up"_s;
        QTest::newRow("pending only") << D::ready << K::running << QList<Status>{2} << u"All 0 monitors up"_s;
        QTest::newRow("codes that count in neither")
            << D::ready << K::running << QList<Status>{0, 1, 2, 3, std::nullopt, 7} << u"1 down, 1 up"_s;
        QTest::newRow("plain decimals") << D::ready << K::running << QList<Status>(1234, 1)
                                        << u"All 1234 monitors up"_s;
    }

    void statusLine() {
        QFETCH(const DockerState, dockerState);
        QFETCH(const KumaState, kuma);
        QFETCH(const QList<Status>, statuses);
        ControllerState state{.dockerState = dockerState, .kuma = kuma, .monitors = rowsOf(statuses)};
        QTEST(statusLineOf(state), "line");
        // An operation that has just ended always comes first, and before it one under way, even one without words.
        state.settling = u"Starting Uptime Kuma…"_s;
        QCOMPARE(statusLineOf(state), u"Starting Uptime Kuma…"_s);
        state.busy = u"Stopping…"_s;
        QCOMPARE(statusLineOf(state), u"Stopping…"_s);
        state.busy = QString();
        QCOMPARE(statusLineOf(state), QString());
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
        const QString face = u"😀"_s;
        QCOMPARE(face.size(), qsizetype(2));
        // The cut falls inside a pair: between the halves of the pairs with the odd start, but not with the even one.
        const QString odd = appendCapped(u"a"_s + face.repeated(15000), u"z"_s);
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
                    expected.append({u"Web is down"_s, down});
                }
                if (before == 0 && after == 1) {
                    expected.append({u"Web is back up"_s, back});
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
        const QList<MonitorRow> rows{row(3, 0, u"Mail"_s), row(1, 1, u"Web"_s), row(2, 1, u"100%1 <b>"_s)};
        QCOMPARE(monitorNews(before, rows),
                 (QList<MonitorNews>{{u"Mail is down"_s, down}, {u"100%1 <b> is back up"_s, back}}));
    }

    void newsOfAMonitorListedTwiceCompareEachRowWithTheOldValue() {
        const QList<MonitorRow> rows{row(1, 0, u"A"_s), row(1, 1, u"B"_s), row(1, 0, u"C"_s)};
        QCOMPARE(monitorNews({{1, 1}}, rows), (QList<MonitorNews>{{u"A is down"_s, down}, {u"C is down"_s, down}}));
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
        feed(u"more"_s);
        drainEvents();
        QVERIFY(log.endsWith(u"999\nmore"_s));
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
            feed(u"the end"_s);
        });
        child.join();
        drainEvents();
        // All of it came while this thread did not look, so one call brings what counts.
        QCOMPARE(calls, 1);
        QVERIFY(longest <= 2 * cappedLogLimit);
        QVERIFY(log.endsWith(u"x\nthe end"_s));
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
                feed(u"%1\n"_s.arg(i));
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

ORVANEL_TEST(TestRules)
#include "TestRules.moc"
