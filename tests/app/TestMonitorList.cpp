#include "ListedMonitors.h"
#include "app/views/MonitorList.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace orvanel;
using namespace orvanel::test;

namespace {

/// The visible label that begins so, or nothing.
QString labelText(const QWidget& window, const QString& beginning) {
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->isVisible() && label->text().startsWith(beginning)) {
            return label->text();
        }
    }
    return {};
}

} // namespace

class TestMonitorList : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void monitorsAreListed() {
        MonitorRow web = monitor(1, 1, u"<i>Web</i> & more"_s);
        web.group = u"Public"_s;
        web.ping = 123;
        ListedMonitors view({web, monitor(2, 0, u"Shop"_s), monitor(3, std::nullopt, u"New"_s)});
        view.open();
        QVERIFY(shows(&view.window, u"My services"_s));
        QCOMPARE(view.list()->accessibleName(), u"My services"_s);
        const QStringList expected{u"<i>Web</i> & more, Public, Up, 123 ms"_s, u"Shop, Down"_s, u"New, No data"_s};
        QCOMPARE(view.spoken(), expected);
        QCOMPARE(QAccessible::queryAccessibleInterface(view.list())->child(0)->role(), QAccessible::ListItem);
        QCOMPARE(view.statusLine(), u"1 down, 1 up"_s);
        QCOMPARE(view.healthDot()->meaning(), Meaning::bad);
    }

    void responseTimes() {
        MonitorRow row = monitor(1, 1);
        QCOMPARE(pingText(row.ping), u"–"_s);
        row.ping = 0;
        QCOMPARE(pingText(row.ping), u"0 ms"_s);
        row.ping = 12345;
        QCOMPARE(pingText(row.ping), u"12345 ms"_s);
    }

    void statusWordsAndColors() {
        const auto check = [](std::optional<std::int64_t> code, const char* word, Meaning meaning) {
            const MonitorStatus status = monitorStatus(code);
            QCOMPARE(status.word, QString::fromLatin1(word));
            QCOMPARE(status.meaning, meaning);
        };
        check(0, "Down", Meaning::bad);
        check(1, "Up", Meaning::good);
        check(2, "Pending", Meaning::pending);
        check(3, "Maintenance", Meaning::maintenance);
        check(7, "No data", Meaning::inactive);
        check(-1, "No data", Meaning::inactive);
        check(std::nullopt, "No data", Meaning::inactive);
    }

    void anEmptyListSaysSo() {
        ShownWindow view;
        view.world.controller().setSlug(u"home"_s);
        view.world.page.status = statusPage({}, {});
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QVERIFY(visible<MonitorRows>(&view.window) == nullptr);
        QVERIFY(shows(&view.window, u"Monitors"_s));
        QVERIFY(shows(&view.window, u"The status page has no monitors yet, or the first reading is still "
                                    "loading. Add monitors to the status page in the dashboard."_s));
        QVERIFY(shows(&view.window, u"Status pages are cached by Uptime Kuma for up to a minute, so "
                                    "changes can show up with a delay."_s));
    }

    void timeOfTheLastReading() {
        ListedMonitors view(rows(1));
        view.open();
        static const QRegularExpression time(u"^Updated \\d\\d:\\d\\d:\\d\\d$"_s);
        const QString updated = labelText(view.window, u"Updated"_s);
        QVERIFY2(time.match(updated).hasMatch(), qPrintable(updated));
    }

    void theTimeIsWrittenAsTheUserWritesIt_data() {
        QTest::addColumn<QString>("pattern");
        const auto add = [](const char* locale, const QString& pattern) { QTest::newRow(locale) << pattern; };
        add("en_US", u"\\d{1,2}:\\d\\d:\\d\\d\\s[AP]M"_s);
        add("de_DE", u"\\d\\d:\\d\\d:\\d\\d"_s);
        add("fr_CA", u"\\d\\d\\sh\\s\\d\\d\\smin\\s\\d\\d\\ss"_s);
        add("ca_ES", u"\\d{1,2}:\\d\\d:\\d\\d"_s);
        add("be_BY", u"\\d\\d:\\d\\d:\\d\\d"_s);
        // Newer Qt writes these two a little differently.
        add("sq_AL", u"\\d{1,2}:\\d\\d:\\d\\d\\s(?i:e\\s(pas|para)dites)"_s);
        add("zh_TW", u"[上下]午\\s?\\d{1,2}:\\d\\d:\\d\\d"_s);
        add("zh_CN", u"\\d\\d:\\d\\d:\\d\\d"_s);
        add("zh_HK", u"[上下]午\\d{1,2}:\\d\\d:\\d\\d"_s);
    }
    void theTimeIsWrittenAsTheUserWritesIt() {
        QFETCH(const QString, pattern);
        const QLocale before;
        QLocale::setDefault(QLocale(QString::fromLatin1(QTest::currentDataTag())));
        ListedMonitors view(rows(1));
        view.open();
        const QString updated = labelText(view.window, u"Updated"_s);
        QLocale::setDefault(before);
        const QRegularExpression expected(u"^Updated %1$"_s.arg(pattern),
                                          QRegularExpression::UseUnicodePropertiesOption);
        QVERIFY2(expected.match(updated).hasMatch(), qPrintable(updated));
    }

    void withoutAReadingThereIsNoTime() {
        ShownWindow view;
        view.world.controller().setSlug(u"home"_s);
        view.world.page.holdsReads = true;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QVERIFY(visible<MonitorList>(&view.window) != nullptr);
        QCOMPARE(labelText(view.window, u"Updated"_s), QString());
    }

    void onlyWhatDiffersIsTold() {
        MonitorModel model;
        QList<MonitorRow> list = rows(10);
        model.setMonitors(list);
        const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        list[3].status = 0;
        list[5].ping = 7;
        model.setMonitors(list);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes[0][0].toModelIndex().row(), 3);
        QCOMPARE(changes[0][1].toModelIndex().row(), 5);
    }

    void textFromOutsideIsInert() {
        const QString longName(10000, u'W');
        const auto marked = u"<b>x</b>&amp;_y_"_s;
        ListedMonitors view({monitor(1, 1, marked), monitor(2, 1, u"a\nb"_s),
                             monitor(3, 1, QString(QChar(0x202E)) + u"abc"_s), monitor(4, 1, longName)},
                            longName);
        view.open();
        drainEvents();
        const QStringList spoken = view.spoken();
        QCOMPARE(spoken[0], marked + u", Up"_s);
        QCOMPARE(spoken[3], longName + u", Up"_s);
        const QRect first = view.list()->visualRect(view.model().index(0));
        for (int i = 1; i < 4; ++i) {
            QCOMPARE(view.list()->visualRect(view.model().index(i)).size(), first.size());
        }
        QVERIFY(view.list()->width() < view.window.width());
        const QString tip = view.model().index(0).data(Qt::ToolTipRole).toString();
        QVERIFY(tip.contains(u"&lt;b&gt;x&lt;/b&gt;&amp;amp;_y_"_s));
    }

    void rowsFollowTheFont() {
        const QFont before = QApplication::font();
        ListedMonitors view(rows(3));
        view.open();
        const int height = view.list()->height();
        QFont larger = before;
        larger.setPointSizeF(before.pointSizeF() * 2);
        QApplication::setFont(larger);
        drainEvents();
        QVERIFY(view.list()->height() > height * 3 / 2);
        QApplication::setFont(before);
        drainEvents();
        QCOMPARE(view.list()->height(), height);
    }
};

ORVANEL_TEST(TestMonitorList)
#include "TestMonitorList.moc"
