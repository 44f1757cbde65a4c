#include "ShownWindow.h"
#include "app/views/MonitorList.h"
#include "app/views/MonitorModel.h"
#include "app/views/MonitorRows.h"
#include "app/views/MonitorStatus.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QApplication>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

QList<MonitorRow> rows(int count) {
    QList<MonitorRow> list;
    for (int i = 0; i < count; ++i) {
        list << monitor(i, 1, u"Service %1"_s.arg(i));
    }
    return list;
}

/// The window with that status page, read once.
struct Listed : Shown {
    explicit Listed(const QList<MonitorRow>& monitors, const QString& title = u"My services"_s) {
        world.controller().setSlug(u"home"_s);
        world.page.status = statusPage(monitors, title);
        if (!world.isPolledAsRunning()) {
            qFatal("the container should run");
        }
        world.settle();
    }

    MonitorRows* list() { return window.findChild<MonitorRows*>(); }
    MonitorModel& model() { return *static_cast<MonitorModel*>(list()->model()); }
    void nextReading(const QList<MonitorRow>& monitors) {
        world.page.status = statusPage(monitors);
        world.advance(30s);
    }
    QStringList spoken() {
        QStringList texts;
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(list());
        for (int i = 0; i < face->childCount(); ++i) {
            texts << face->child(i)->text(QAccessible::Name);
        }
        return texts;
    }
};

/// The visible label that begins so, or nothing.
QString labelText(const QWidget& window, const QString& beginning) {
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (label->isVisible() && label->text().startsWith(beginning)) {
            return label->text();
        }
    }
    return {};
}

class PaintCounter final : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

/// Counts the rows that are painted.
class PaintedRows final : public QStyledItemDelegate {
public:
    explicit PaintedRows(MonitorRows& list)
        : m_list(list)
        , m_own(list.itemDelegate()) {
        list.setItemDelegate(this);
    }
    ~PaintedRows() override { m_list.setItemDelegate(m_own); }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        count += 1;
        m_own->paint(painter, option, index);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return m_own->sizeHint(option, index);
    }

    mutable int count = 0;

private:
    MonitorRows& m_list;
    QAbstractItemDelegate* const m_own;
};

} // namespace

class TestMonitorList : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void monitorsAreListed() {
        MonitorRow web = monitor(1, 1, u"<i>Web</i> & more"_s);
        web.group = u"Public"_s;
        web.ping = 123;
        Listed view({web, monitor(2, 0, u"Shop"_s), monitor(3, std::nullopt, u"New"_s)});
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
        QCOMPARE(pingText(row), u"–"_s);
        row.ping = 0;
        QCOMPARE(pingText(row), u"0 ms"_s);
        row.ping = 12345;
        QCOMPARE(pingText(row), u"12345 ms"_s);
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
        Shown view;
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
        Listed view(rows(1));
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
        Listed view(rows(1));
        view.open();
        const QString updated = labelText(view.window, u"Updated"_s);
        QLocale::setDefault(before);
        const QRegularExpression expected(u"^Updated %1$"_s.arg(pattern),
                                          QRegularExpression::UseUnicodePropertiesOption);
        QVERIFY2(expected.match(updated).hasMatch(), qPrintable(updated));
    }

    void withoutAReadingThereIsNoTime() {
        Shown view;
        view.world.controller().setSlug(u"home"_s);
        view.world.page.holdsReads = true;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QVERIFY(visible<MonitorList>(&view.window) != nullptr);
        QCOMPARE(labelText(view.window, u"Updated"_s), QString());
    }

    void theSameReadingChangesNothing() {
        Listed view(rows(50));
        view.open();
        drainEvents();
        const QSignalSpy changes(&view.model(), &QAbstractItemModel::dataChanged);
        const QSignalSpy resets(&view.model(), &QAbstractItemModel::modelReset);
        const PaintCounter paints(view.list()->viewport());
        view.nextReading(rows(50));
        QCOMPARE(changes.size(), 0);
        QCOMPARE(resets.size(), 0);
        QCOMPARE(paints.count, 0);
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

    void selectionAndPlaceStayWithTheirMonitors() {
        Listed view(rows(200));
        view.open();
        view.list()->setFocus();
        view.list()->setCurrentIndex(view.model().index(150));
        const QScrollBar* const bar = view.window.findChild<QScrollArea*>()->verticalScrollBar();
        const int place = bar->value();
        QVERIFY(place > 0);

        QList<MonitorRow> changed = rows(200);
        changed[150].status = 0;
        view.nextReading(changed);
        QCOMPARE(view.list()->currentIndex().row(), 150);
        QCOMPARE(bar->value(), place);

        // One above it goes.
        changed.removeAt(10);
        view.nextReading(changed);
        QCOMPARE(view.list()->currentIndex().row(), 149);
        QVERIFY(view.list()->selectionModel()->isSelected(view.list()->currentIndex()));
        QVERIFY(view.list()->hasFocus());
        QCOMPARE(bar->value(), place - view.list()->sizeHintForRow(0));
    }

    void whatIsReadStaysWhereItIs_data() {
        QTest::addColumn<int>("place");
        QTest::newRow("in the middle") << 1501;
        QTest::newRow("at the end") << 100'000;
    }
    void whatIsReadStaysWhereItIs() {
        QFETCH(const int, place);
        QList<MonitorRow> list = rows(200);
        Listed view(list);
        view.open();
        drainEvents();
        const auto* const area = view.window.findChild<QScrollArea*>();
        area->verticalScrollBar()->setValue(place);
        // The upper row that is seen whole, and where.
        const auto hidden = [&] { return -view.list()->mapTo(area->viewport(), QPoint()).y(); };
        const int rowHeight = view.list()->sizeHintForRow(0);
        const int row = hidden() / rowHeight + 1;
        QVERIFY(row > 10);
        const int top = row * rowHeight - hidden();

        // Some come above it, and more go.
        for (int i = 0; i < 7; ++i) {
            list.prepend(monitor(1000 + i, 1));
        }
        view.nextReading(list);
        drainEvents();
        QCOMPARE((row + 7) * rowHeight - hidden(), top);
        // The one before it goes too, which was cut.
        list.remove(row + 6);
        list.remove(0, 2);
        view.nextReading(list);
        drainEvents();
        QCOMPARE((row + 4) * rowHeight - hidden(), top);
    }

    void aListSeenFromItsBeginningStaysThere() {
        QList<MonitorRow> list = rows(200);
        Listed view(list);
        view.open();
        drainEvents();
        list.prepend(monitor(1000, 1));
        view.nextReading(list);
        drainEvents();
        QCOMPARE(view.window.findChild<QScrollArea*>()->verticalScrollBar()->value(), 0);
    }

    void aListThatIsNotShownScrollsNothing() {
        auto* content = new QWidget;
        auto* list = new MonitorRows;
        auto* below = new QWidget;
        below->setFixedHeight(3000);
        auto* column = new QVBoxLayout(content);
        column->addWidget(list);
        column->addWidget(below);
        QScrollArea area;
        area.setWidgetResizable(true);
        area.setWidget(content);
        area.resize(400, 300);
        list->setMonitors(rows(100));
        area.show();
        drainEvents();
        list->hide();
        drainEvents();
        area.verticalScrollBar()->setValue(1000);
        list->setMonitors(QList<MonitorRow>{monitor(1000, 1)} + rows(100));
        QCOMPARE(area.verticalScrollBar()->value(), 1000);
    }

    void arrowsBringRowsIntoView() {
        Listed view(rows(200));
        view.open();
        view.list()->setFocus();
        QTest::keyClick(view.list(), Qt::Key_End);
        QCOMPARE(view.list()->currentIndex().row(), 199);
        const QRect last = view.list()->visualRect(view.list()->currentIndex());
        QVERIFY(view.list()->viewport()->visibleRegion().boundingRect().contains(last));
    }

    /// Rows that moved under the held button would be selected one after another.
    void nothingMovesUnderAHeldButton() {
        Listed view(rows(200));
        view.open();
        drainEvents();
        const auto* const area = view.window.findChild<QScrollArea*>();
        QScrollBar* const bar = area->verticalScrollBar();
        const int rowHeight = view.list()->sizeHintForRow(0);
        const auto listTop = [&] { return view.list()->mapTo(area->viewport(), QPoint()).y(); };
        // Only the upper half of the lowest row is seen.
        bar->setValue(bar->value() + listTop() + 100 * rowHeight + rowHeight / 2 - area->viewport()->height());
        const int place = bar->value();
        QCOMPARE(area->viewport()->height() - listTop(), 100 * rowHeight + rowHeight / 2);

        QWindow* const window = view.window.windowHandle();
        const QPoint start = area->viewport()->mapTo(&view.window, QPoint(100, area->viewport()->height() - 3));
        QTest::mousePress(window, Qt::LeftButton, {}, start);
        for (int i = 1; i <= 3; ++i) {
            QTest::mouseMove(window, start + QPoint(i, 0));
            QCOMPARE(view.list()->currentIndex().row(), 100);
            QCOMPARE(bar->value(), place);
        }
        QTest::mouseRelease(window, Qt::LeftButton, {}, start);
        QCOMPARE(view.list()->currentIndex().row(), 100);
        QVERIFY(view.list()->selectionModel()->isSelected(view.list()->currentIndex()));
    }

    void ofThousandsOnlyThoseInViewArePainted() {
        QList<MonitorRow> list = rows(5000);
        Listed view(list);
        view.open();
        drainEvents();
        QVERIFY(view.list()->height() > 5000 * 10);
        PaintedRows painted(*view.list());
        drainEvents();
        painted.count = 0;
        view.list()->viewport()->update();
        drainEvents();
        const int seen = view.list()->viewport()->visibleRegion().boundingRect().height();
        const int rowHeight = view.list()->sizeHintForRow(0);
        QVERIFY(seen > 0 && seen <= view.window.height());
        QVERIFY(painted.count >= seen / rowHeight);
        QVERIFY2(painted.count <= seen / rowHeight + 2, qPrintable(QString::number(painted.count)));

        painted.count = 0;
        view.nextReading(list);
        QCOMPARE(painted.count, 0);
        list[1].status = 0;
        list[4000].status = 0;
        view.nextReading(list);
        QVERIFY(painted.count > 0 && painted.count <= seen / rowHeight + 2);
    }

    void aPageIsWhatTheWindowShows() {
        Listed view(rows(200));
        view.open();
        view.list()->setFocus();
        view.list()->setCurrentIndex(view.model().index(0));
        const int shown = view.window.height() / view.list()->sizeHintForRow(0);
        QTest::keyClick(view.list(), Qt::Key_PageDown);
        const int first = view.list()->currentIndex().row();
        QVERIFY2(first > 1 && first < shown, qPrintable(QString::number(first)));
        QTest::keyClick(view.list(), Qt::Key_PageDown);
        QCOMPARE(view.list()->currentIndex().row(), 2 * first);
        const QRect there = view.list()->visualRect(view.list()->currentIndex());
        QVERIFY(view.list()->viewport()->visibleRegion().boundingRect().contains(there));
        QTest::keyClick(view.list(), Qt::Key_PageUp);
        QCOMPARE(view.list()->currentIndex().row(), first);
        QTest::keyClick(view.list(), Qt::Key_PageUp);
        QTest::keyClick(view.list(), Qt::Key_PageUp);
        QCOMPARE(view.list()->currentIndex().row(), 0);
    }

    void textFromOutsideIsInert() {
        const QString longName(10000, u'W');
        const auto marked = u"<b>x</b>&amp;_y_"_s;
        Listed view({monitor(1, 1, marked), monitor(2, 1, u"a\nb"_s), monitor(3, 1, QString(QChar(0x202E)) + u"abc"_s),
                     monitor(4, 1, longName)},
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
        Listed view(rows(3));
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
