#include "ListedMonitors.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <QWindow>

using namespace orvanel;
using namespace orvanel::test;

namespace {

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

class TestMonitorScrolling : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSameReadingChangesNothing() {
        ListedMonitors view(rows(50));
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

    void selectionAndPlaceStayWithTheirMonitors() {
        ListedMonitors view(rows(200));
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

        // A row above it disappears.
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
        ListedMonitors view(list);
        view.open();
        drainEvents();
        const auto* const area = view.window.findChild<QScrollArea*>();
        area->verticalScrollBar()->setValue(place);
        // The uppermost row that is fully visible, and its position.
        const auto hidden = [&] { return -view.list()->mapTo(area->viewport(), QPoint()).y(); };
        const int rowHeight = view.list()->sizeHintForRow(0);
        const int row = hidden() / rowHeight + 1;
        QVERIFY(row > 10);
        const int top = row * rowHeight - hidden();

        // Some rows appear above it, and more disappear.
        for (int i = 0; i < 7; ++i) {
            list.prepend(monitor(1000 + i, 1));
        }
        view.nextReading(list);
        drainEvents();
        QCOMPARE((row + 7) * rowHeight - hidden(), top);
        // The partly visible row before it disappears too.
        list.remove(row + 6);
        list.remove(0, 2);
        view.nextReading(list);
        drainEvents();
        QCOMPARE((row + 4) * rowHeight - hidden(), top);
    }

    void rowsOfDifferentHeightsStayWhereTheyAre() {
        QList<MonitorRow> list = rows(200);
        for (int i = 0; i < list.size(); i += 3) {
            list[i].group = u"Group"_s;
        }
        ListedMonitors view(list);
        view.open();
        drainEvents();
        const auto* const area = view.window.findChild<QScrollArea*>();
        area->verticalScrollBar()->setValue(1501);
        const auto placeOf = [&](std::int64_t id) {
            const int y = view.list()->visualRect(view.model().index(view.model().rowOf(id))).y();
            return view.list()->mapTo(area->viewport(), QPoint(0, y)).y();
        };
        const int before = placeOf(100);
        list.prepend(monitor(1000, 1));
        list[1].group.clear();
        list.removeAt(7);
        view.nextReading(list);
        drainEvents();
        QCOMPARE(placeOf(100), before);
    }

    void aListSeenFromItsBeginningStaysThere() {
        QList<MonitorRow> list = rows(200);
        ListedMonitors view(list);
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
        ListedMonitors view(rows(200));
        view.open();
        view.list()->setFocus();
        QTest::keyClick(view.list(), Qt::Key_End);
        QCOMPARE(view.list()->currentIndex().row(), 199);
        const QRect last = view.list()->visualRect(view.list()->currentIndex());
        QVERIFY(view.list()->viewport()->visibleRegion().boundingRect().contains(last));
    }

    /// Rows that moved under the held button would be selected one after another.
    void nothingMovesUnderAHeldButton() {
        ListedMonitors view(rows(200));
        view.open();
        drainEvents();
        const auto* const area = view.window.findChild<QScrollArea*>();
        QScrollBar* const bar = area->verticalScrollBar();
        const int rowHeight = view.list()->sizeHintForRow(0);
        const auto listTop = [&] { return view.list()->mapTo(area->viewport(), QPoint()).y(); };
        // Only the upper half of the lowest row is visible.
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
        ListedMonitors view(list);
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
        ListedMonitors view(rows(200));
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
};

ORVANEL_TEST(TestMonitorScrolling)
#include "TestMonitorScrolling.moc"
