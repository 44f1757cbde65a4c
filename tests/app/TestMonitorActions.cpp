#include "ListedMonitors.h"
#include "app/views/HeartbeatText.h"
#include "app/views/MonitorDelegate.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QSignalSpy>
#include <QToolTip>

using namespace orvanel;
using namespace orvanel::test;

namespace {

MonitorRow withHistory(std::int64_t id, const QString& letters, const QString& name = u"Web"_s) {
    MonitorRow row = monitor(id, 1, name);
    row.beats = heartbeats(letters);
    return row;
}

/// Three monitors, of which the first has the focus.
struct FocusedList : ListedMonitors {
    explicit FocusedList(const QString& letters = QString(49, u'u') + u'd')
        : ListedMonitors({withHistory(4, letters), withHistory(7, letters, u"Shop"_s), monitor(9, 1, u"New"_s)}) {
        open();
        list()->setFocus();
        list()->setCurrentIndex(model().index(0));
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(list(), key, modifiers); }
    std::optional<int> chosen(int row = 0) { return model().chosenBeat(model().index(row)); }
    QPoint middleOf(int row) { return list()->visualRect(model().index(row)).center(); }
    QStringList opened() {
        QStringList addresses;
        for (const QUrl& address : world.desktop.opened) {
            addresses << address.toString();
        }
        return addresses;
    }
    QMenu* menu() { return visible<QMenu>(list()); }
    void openMenu(QContextMenuEvent::Reason reason, const QPoint& place) {
        QWidget* const target = reason == QContextMenuEvent::Mouse ? list()->viewport() : list();
        QContextMenuEvent event(reason, place, list()->viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(target, &event);
    }
};

} // namespace

/// What people do with a row of the monitor list.
class TestMonitorActions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aDoubleClickOpensTheMonitor() {
        FocusedList view;
        QTest::mouseDClick(view.list()->viewport(), Qt::LeftButton, {}, view.middleOf(1));
        QCOMPARE(view.opened(), QStringList(u"http://127.0.0.1:3001/dashboard/7"_s));
        QTest::mouseClick(view.list()->viewport(), Qt::LeftButton, {}, view.middleOf(0));
        QTest::mouseDClick(view.list()->viewport(), Qt::RightButton, {}, view.middleOf(0));
        QCOMPARE(view.opened().size(), 1);
    }

    void returnOpensTheMonitorAndNotTheDashboard() {
        FocusedList view;
        view.press(Qt::Key_Down);
        view.press(Qt::Key_Return);
        QCOMPARE(view.opened(), QStringList(u"http://127.0.0.1:3001/dashboard/7"_s));
        view.press(Qt::Key_Up);
        view.press(Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(view.opened().mid(1), QStringList(u"http://127.0.0.1:3001/dashboard/4"_s));
        // Held down, it does nothing more.
        QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, {}, true);
        QCoreApplication::sendEvent(view.list(), &held);
        QCOMPARE(view.opened().size(), 2);
    }

    void theMenuOfARowOpensTheMonitor_data() {
        QTest::addColumn<QContextMenuEvent::Reason>("reason");
        QTest::addColumn<QString>("address");
        QTest::newRow("mouse") << QContextMenuEvent::Mouse << u"http://127.0.0.1:3001/dashboard/9"_s;
        QTest::newRow("menu key") << QContextMenuEvent::Keyboard << u"http://127.0.0.1:3001/dashboard/4"_s;
    }
    void theMenuOfARowOpensTheMonitor() {
        QFETCH(const QContextMenuEvent::Reason, reason);
        QFETCH(const QString, address);
        FocusedList view;
        view.openMenu(reason, view.middleOf(2));
        QVERIFY(view.menu() != nullptr);
        QCOMPARE(view.menu()->actions().size(), 1);
        QCOMPARE(view.menu()->actions().first()->text(), u"Open in dashboard"_s);
        QVERIFY(view.menu()->actions().first()->isEnabled());
        QTest::keyClick(view.menu(), Qt::Key_Down);
        QTest::keyClick(view.menu(), Qt::Key_Return);
        QCOMPARE(view.opened(), QStringList(address));
        drainEvents();
        QVERIFY(view.list()->findChild<QMenu*>() == nullptr);
    }

    /// As the button "Open dashboard".
    void whileThePageDoesNotAnswerNothingIsOpened() {
        FocusedList view;
        view.world.page.answers = false;
        view.world.advance(3s);
        QCOMPARE(view.world.controller().state().kuma, KumaState::starting);
        QVERIFY(view.list()->isVisible());
        view.press(Qt::Key_Return);
        QTest::mouseDClick(view.list()->viewport(), Qt::LeftButton, {}, view.middleOf(1));
        view.openMenu(QContextMenuEvent::Keyboard, {});
        QVERIFY(!view.menu()->actions().first()->isEnabled());
        QCOMPARE(view.opened(), QStringList());
    }

    void theAddressFollowsThePortAndAnyId() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QCOMPARE(kuma.monitorURL(12).toString(), u"http://127.0.0.1:3001/dashboard/12"_s);
        QVERIFY(kuma.setPort(45678));
        for (const std::int64_t id : {std::int64_t(0), std::int64_t(-5), std::numeric_limits<std::int64_t>::max()}) {
            const QUrl address = kuma.monitorURL(id);
            QCOMPARE(address.toString(), u"http://127.0.0.1:45678/dashboard/%1"_s.arg(id));
            QVERIFY(address.isValid());
        }
    }

    void leftAndRightGoThroughTheHeartbeats() {
        FocusedList view;
        QCOMPARE(view.chosen(), std::optional<int>());
        const std::pair<Qt::Key, int> steps[] = {{Qt::Key_Left, 0},  {Qt::Key_Left, 1},  {Qt::Key_Left, 2},
                                                 {Qt::Key_Right, 1}, {Qt::Key_Right, 0}, {Qt::Key_Right, 0}};
        for (const auto& [key, expected] : steps) {
            view.press(key);
            QCOMPARE(view.chosen(), std::optional<int>(expected));
            const Heartbeat& beat = view.model().monitor(view.model().index(0)).beats.fromNewest(expected);
            QVERIFY(QToolTip::isVisible());
            QVERIFY(QToolTip::text().contains(heartbeatText(beat, QDate::currentDate())));
            // The row stays the current one.
            QCOMPARE(view.list()->currentIndex().row(), 0);
        }
        view.press(Qt::Key_Escape);
        QCOMPARE(view.chosen(), std::optional<int>());
        QVERIFY(view.window.isVisible());
    }

    void rightEntersTheStripFromItsOtherEnd() {
        FocusedList view(u"uud"_s);
        view.press(Qt::Key_Right);
        QCOMPARE(view.chosen(), std::optional<int>(2));
        view.press(Qt::Key_Left);
        QCOMPARE(view.chosen(), std::optional<int>(2));
        view.press(Qt::Key_Right);
        QCOMPARE(view.chosen(), std::optional<int>(1));
    }

    void arrowsAreMirroredForThoseWhoReadFromTheRight() {
        FocusedList view;
        view.window.setLayoutDirection(Qt::RightToLeft);
        view.press(Qt::Key_Right);
        QCOMPARE(view.chosen(), std::optional<int>(0));
        view.press(Qt::Key_Right);
        QCOMPARE(view.chosen(), std::optional<int>(1));
        view.press(Qt::Key_Left);
        QCOMPARE(view.chosen(), std::optional<int>(0));
    }

    void anotherRowOrPlaceLeavesTheHeartbeats() {
        FocusedList view;
        view.press(Qt::Key_Left);
        view.press(Qt::Key_Down);
        QCOMPARE(view.chosen(0), std::optional<int>());
        QCOMPARE(view.chosen(1), std::optional<int>());
        view.press(Qt::Key_Left);
        QCOMPARE(view.chosen(1), std::optional<int>(0));
        button(&view.window, u"Stop"_s)->setFocus();
        QCOMPARE(view.chosen(1), std::optional<int>());
    }

    void aRowWithoutHeartbeatsHasNoneToChoose() {
        FocusedList view;
        view.press(Qt::Key_End);
        view.press(Qt::Key_Left);
        view.press(Qt::Key_Right);
        QCOMPARE(view.chosen(2), std::optional<int>());
        QCOMPARE(view.list()->currentIndex().row(), 2);
    }

    void theChosenOneIsMarked() {
        FocusedList view;
        const auto pixels = [&] { return view.list()->grab(view.list()->visualRect(view.model().index(0))).toImage(); };
        const QImage before = pixels();
        view.press(Qt::Key_Left);
        const QImage first = pixels();
        QVERIFY(first != before);
        view.press(Qt::Key_Left);
        QVERIFY(pixels() != first);
        view.press(Qt::Key_Escape);
        QCOMPARE(pixels(), before);
    }

    void screenReadersAreToldASummaryAndTheChosenOne() {
        FocusedList view;
        QCOMPARE(view.spoken().first(), u"Web, Up, last 50 heartbeats: 49 up, 1 down"_s);
        QCOMPARE(view.spoken().last(), u"New, Up"_s);
        view.press(Qt::Key_Down);
        view.press(Qt::Key_Left);
        const Heartbeat newest = view.model().monitor(view.model().index(1)).beats.fromNewest(0);
        QCOMPARE(view.spoken()[1], heartbeatText(newest, QDate::currentDate()) + u", Shop"_s);
        QVERIFY(view.spoken()[1].contains(u"Down"_s));
        view.press(Qt::Key_Escape);
        QCOMPARE(view.spoken()[1], u"Shop, Up, last 50 heartbeats: 49 up, 1 down"_s);
    }

    void theChoiceStaysWithItsHeartbeat() {
        FocusedList view;
        view.press(Qt::Key_Left);
        view.press(Qt::Key_Left);
        const MonitorRow first = view.model().monitor(view.model().index(0));
        const Heartbeat chosen = first.beats.fromNewest(1);
        // One more heartbeat, and a monitor more before it.
        auto block = std::make_shared<Heartbeats::Block>(first.beats.begin() + 1, first.beats.end());
        block->emplace_back(*chosen.time() + 2min, 1, 44);
        MonitorRow next = first;
        next.beats = {block, 0, block->size()};
        view.nextReading({monitor(1000, 1), next});
        QCOMPARE(view.chosen(1), std::optional<int>(2));
        QCOMPARE(view.model().monitor(view.model().index(1)).beats.fromNewest(2), chosen);
        // It has gone.
        next.beats = heartbeats(u"u"_s);
        view.nextReading({monitor(1000, 1), next});
        QCOMPARE(view.chosen(1), std::optional<int>());
    }

    void newHeartbeatsMoveNothing() {
        QList<MonitorRow> rows;
        for (int i = 0; i < 200; ++i) {
            rows << withHistory(i, QString(50, u'u'));
        }
        ListedMonitors view(rows);
        view.open();
        view.list()->setFocus();
        view.list()->setCurrentIndex(view.model().index(150));
        drainEvents();
        const int place = view.list()->mapTo(&view.window, QPoint()).y();
        const QSignalSpy changes(&view.model(), &QAbstractItemModel::dataChanged);
        const QSignalSpy resets(&view.model(), &QAbstractItemModel::modelReset);
        view.nextReading(rows);
        QCOMPARE(changes.size(), 0);
        for (MonitorRow& row : rows) {
            row.beats = heartbeats(QString(49, u'u') + u'd');
        }
        view.nextReading(rows);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(resets.size(), 0);
        QCOMPARE(view.list()->mapTo(&view.window, QPoint()).y(), place);
        QCOMPARE(view.list()->currentIndex().row(), 150);
        QVERIFY(view.list()->selectionModel()->isSelected(view.list()->currentIndex()));
    }

    /// The window shows what the controller has, and frees what it needed itself.
    void theWindowHasNoHeartbeatsOfItsOwn() {
        const auto block = std::make_shared<Heartbeats::Block>(50, Heartbeat({}, 1, {}));
        MonitorRow row = monitor(1, 1);
        row.beats = {block, 0, 50};
        ControllerFixture world;
        world.controller().setHasSeenGuide(true);
        world.controller().setSlug(u"home"_s);
        world.page.status = statusPage({row});
        row.beats = {};
        QVERIFY(world.isPolledAsRunning());
        world.settle();
        world.page.status = statusPage({});
        const long before = block.use_count();
        {
            MainWindow window({world.controller(), world.desktop, world.clock, {}});
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            drainEvents();
            QCOMPARE(window.findChild<MonitorRows*>()->model()->rowCount(), 1);
            QCOMPARE(block.use_count(), before);
        }
        QCOMPARE(block.use_count(), before);
        world.controller().setSlug({});
        QCOMPARE(block.use_count(), 1);
    }
};

ORVANEL_TEST(TestMonitorActions)
#include "TestMonitorActions.moc"
