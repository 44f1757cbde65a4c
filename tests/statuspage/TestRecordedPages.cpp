#include "standin/kuma/KumaServer.h"
#include "statuspage/StatusPageAnswer.h"
#include "statuspage/StatusPageClient.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QDateTime>
#include <QFile>
#include <QTimeZone>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QByteArray recorded(const QString& name) {
    QFile file(QString::fromUtf8(ORVANEL_FIXTURES "/%1.json").arg(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Status and response time, as the row has them of its latest heartbeat.
QString lastBeat(std::optional<std::int64_t> status, std::optional<std::int64_t> ping) {
    return status ? u"%1 %2"_s.arg(*status).arg(ping.value_or(-1)) : QString();
}

QString lastBeat(const MonitorRow& row) {
    return row.beats.isEmpty() ? QString() : lastBeat(row.beats.fromNewest(0).status(), row.beats.fromNewest(0).ping());
}

void compare(const char* name, const StatusPageData& expected) {
    const QString slug = QString::fromLatin1(name);
    const KumaServer server;
    server.page(slug, recorded(u"status-page-"_s + slug));
    server.heartbeat(slug, recorded(u"heartbeat-"_s + slug));
    FakeClock clock;
    StatusPageClient client(clock);
    const StatusPageResult result = await(client.fetch(server.port(), slug));
    QVERIFY(std::holds_alternative<StatusPageData>(result));
    const auto& data = std::get<StatusPageData>(result);
    QCOMPARE(data.title, expected.title);
    QCOMPARE(data.monitors.size(), expected.monitors.size());
    for (qsizetype i = 0; i < expected.monitors.size(); ++i) {
        const MonitorRow& row = data.monitors.at(i);
        const MonitorRow& wanted = expected.monitors.at(i);
        QCOMPARE(row.id, wanted.id);
        QCOMPARE(row.name, wanted.name);
        QCOMPARE(row.group, wanted.group);
        QCOMPARE(row.status, wanted.status);
        QCOMPARE(row.ping, wanted.ping);
        QCOMPARE(row.uptime24, wanted.uptime24);
        QCOMPARE(lastBeat(row), lastBeat(row.status, row.ping));
    }
}

} // namespace

/// Answers that were recorded from a real server, and are now sent by the stand-in.
class TestRecordedPages : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void recordedPageWithEveryKindOfMonitor() {
        const QString core = u"Core"_s;
        const QString edge = u"Edge <i>&\" \U0001F6F0"_s;
        const QString other = u"Other"_s;
        const QString odd = u"Odd <b>&\" name \U0001F680 \u202Eevil"_s;
        const QString self = u"Self (http)"_s;
        const StatusPageData expected{
            u"Home"_s,
            {
                {1, self, core, 1, 12, 1.0},
                {2, u"Closed port (http)"_s, core, 0, std::nullopt, 0.0},
                {3, u"Self (port)"_s, core, 1, 1, 1.0},
                {4, u"Retrying"_s, edge, 2, std::nullopt, 0.0},
                {5, u"In maintenance"_s, edge, 3, std::nullopt, 1.0},
                {6, u"Paused"_s, edge, 1, 8, 1.0},
                {7, odd, other, 1, 12, 1.0},
                {8, u"Never checked (created paused)"_s, other, std::nullopt, std::nullopt, 0.0},
                {9, u"Ping localhost"_s, other, 1, 0, 1.0},
                {1, self, other, 1, 12, 1.0},
            },
        };
        compare("home", expected);
    }

    void recordedPageWithTagsAndIncidents() {
        const QString group = u"G"_s;
        const StatusPageData expected{
            u"Full"_s,
            {
                {10, u"Grp"_s, group, 2, 1, 0.0},
                {11, u"Push"_s, group, 0, std::nullopt, 0.6666666666666666},
                {12, u"Manual"_s, group, 2, 1, 0.0},
                {13, u"Upside"_s, group, 1, std::nullopt, 1.0},
                {14, u"Keyword"_s, group, 0, 6, 0.0},
                {16, u"Flip"_s, group, 1, 14, 0.5555555555555556},
            },
        };
        compare("full", expected);
    }

    void recordedHeartbeats() {
        const auto page = QJsonDocument::fromJson(recorded(u"status-page-full"_s));
        const auto beats = QJsonDocument::fromJson(recorded(u"heartbeat-full"_s));
        const StatusPageResult result = readStatusPage(page, beats, u"full"_s);
        QList<int> counts;
        for (const MonitorRow& row : std::get<StatusPageData>(result).monitors) {
            counts << row.beats.size();
        }
        QCOMPARE(counts, QList<int>({3, 3, 3, 7, 7, 18}));
        // The first of the page, as heartbeat-full.json has it.
        const MonitorRow first = std::get<StatusPageData>(result).monitors.first();
        QStringList told;
        for (const Heartbeat& beat : first.beats) {
            told << QDateTime::fromSecsSinceEpoch(beat.time()->time_since_epoch().count(), QTimeZone::utc())
                            .toString(u"yyyy-MM-dd HH:mm:ss ") +
                        lastBeat(beat.status(), beat.ping());
        }
        QCOMPARE(told.mid(1), QStringList({u"2026-11-21 03:52:43 2 0"_s, u"2026-11-21 03:53:43 2 1"_s}));
    }

    void recordedPageWithoutGroups() { compare("empty", {u"Empty"_s, {}}); }
};

ORVANEL_TEST(TestRecordedPages)
#include "TestRecordedPages.moc"
