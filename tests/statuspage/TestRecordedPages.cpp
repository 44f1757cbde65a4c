#include "standin/kuma/KumaServer.h"
#include "statuspage/StatusPageClient.h"
#include "support/Await.h"
#include "support/FakeClock.h"

#include <QFile>

using namespace orvanel;
using namespace orvanel::test;

namespace {

QByteArray recorded(const QString& name) {
    QFile file(QStringLiteral(ORVANEL_FIXTURES "/%1.json").arg(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void compare(const char* name, const StatusPageData& expected) {
    const QString slug = QString::fromLatin1(name);
    const KumaServer server;
    server.page(slug, recorded(QStringLiteral("status-page-") + slug));
    server.heartbeat(slug, recorded(QStringLiteral("heartbeat-") + slug));
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
    }
}

} // namespace

/// What a real server answered, read over the wire from the stand-in.
class TestRecordedPages : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void recordedPageWithEveryKindOfMonitor() {
        const QString core = QStringLiteral("Core");
        const QString edge = QStringLiteral("Edge <i>&\" \U0001F6F0");
        const QString other = QStringLiteral("Other");
        const QString odd = QStringLiteral("Odd <b>&\" name \U0001F680 \u202Eevil");
        const QString self = QStringLiteral("Self (http)");
        const StatusPageData expected{
            QStringLiteral("Home"),
            {
                {1, self, core, 1, 12, 1.0},
                {2, QStringLiteral("Closed port (http)"), core, 0, std::nullopt, 0.0},
                {3, QStringLiteral("Self (port)"), core, 1, 1, 1.0},
                {4, QStringLiteral("Retrying"), edge, 2, std::nullopt, 0.0},
                {5, QStringLiteral("In maintenance"), edge, 3, std::nullopt, 1.0},
                {6, QStringLiteral("Paused"), edge, 1, 8, 1.0},
                {7, odd, other, 1, 12, 1.0},
                {8, QStringLiteral("Never checked (created paused)"), other, std::nullopt, std::nullopt, 0.0},
                {9, QStringLiteral("Ping localhost"), other, 1, 0, 1.0},
                {1, self, other, 1, 12, 1.0},
            },
        };
        compare("home", expected);
    }

    void recordedPageWithTagsAndIncidents() {
        const QString group = QStringLiteral("G");
        const StatusPageData expected{
            QStringLiteral("Full"),
            {
                {10, QStringLiteral("Grp"), group, 2, 1, 0.0},
                {11, QStringLiteral("Push"), group, 0, std::nullopt, 0.6666666666666666},
                {12, QStringLiteral("Manual"), group, 2, 1, 0.0},
                {13, QStringLiteral("Upside"), group, 1, std::nullopt, 1.0},
                {14, QStringLiteral("Keyword"), group, 0, 6, 0.0},
                {16, QStringLiteral("Flip"), group, 1, 14, 0.5555555555555556},
            },
        };
        compare("full", expected);
    }

    void recordedPageWithoutGroups() { compare("empty", {QStringLiteral("Empty"), {}}); }
};

QTEST_GUILESS_MAIN(TestRecordedPages)
#include "TestRecordedPages.moc"
