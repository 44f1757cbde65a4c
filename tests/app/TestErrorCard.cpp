#include "ShownWindow.h"
#include "app/views/DashboardView.h"
#include "app/views/ErrorCard.h"
#include "app/views/MonitorRows.h"
#include "app/views/StateCards.h"
#include "app/widgets/TextBox.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto start = u"Start Uptime Kuma"_s;
const auto showDetails = u"Show details"_s;

void fail(ShownWindow& view, const QString& why) {
    view.world.loginItem.failure = why;
    view.world.controller().setLaunchAtLogin(true);
    view.world.settle();
}

/// Many more monitors than the window has room for.
void openWithLongList(ShownWindow& view) {
    view.world.controller().setSlug(u"home"_s);
    QList<MonitorRow> monitors;
    for (int id = 1; id <= 300; ++id) {
        monitors << monitor(id, 1);
    }
    view.world.page.status = statusPage(monitors);
    QVERIFY(view.world.isPolledAsRunning());
    view.open();
    drainEvents();
}

/// Whether the card is visible from its first line to its last, both at once and after the layout.
bool isErrorInView(const ShownWindow& view) {
    const auto* const area = view.window.findChild<QScrollArea*>();
    const auto isInView = [&] {
        const auto* const card = visible<ErrorCard>(&view.window);
        return card != nullptr &&
               area->viewport()->rect().contains(QRect(card->mapTo(area->viewport(), QPoint(0, 0)), card->size()));
    };
    const bool isAtOnce = isInView();
    drainEvents();
    return isAtOnce && isInView();
}

/// Where each widget of the window was, each time that it was painted.
class PaintedPlaces final : public QObject {
public:
    explicit PaintedPlaces(QWidget& window)
        : m_window(window) {
        qApp->installEventFilter(this);
    }

    QHash<QWidget*, QList<QRect>> places;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && m_window.isAncestorOf(widget)) {
            places[widget] << placeOf(widget);
        }
        return false;
    }

public:
    QRect placeOf(const QWidget* widget) const { return {widget->mapTo(&m_window, QPoint(0, 0)), widget->size()}; }

private:
    QWidget& m_window;
};

} // namespace

/// The error below the card, and the change from one card to another.
class TestErrorCard : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void dismissedErrorIsGone() {
        ShownWindow view;
        view.open();
        fail(view, u"No room."_s);
        auto* const card = visible<ErrorCard>(&view.window);
        QVERIFY(card != nullptr);
        QAbstractButton* const dismiss = button(card, u"Dismiss"_s);
        QVERIFY(dismiss != nullptr);
        dismiss->click();
        view.world.settle();
        QVERIFY(!view.world.controller().state().error);
        QVERIFY(visible<ErrorCard>(&view.window) == nullptr);
    }

    void theSameErrorAgainBeginsCollapsed() {
        ShownWindow view;
        view.open();
        view.poll();
        fail(view, u"why"_s);
        view.click(showDetails);
        QVERIFY(visible<TextBox>(&view.window) != nullptr);
        view.world.delay("info", 5s);
        view.click(start);
        QVERIFY(visible<ErrorCard>(&view.window) == nullptr);
        fail(view, u"why"_s);
        QVERIFY(visible<ErrorCard>(&view.window) != nullptr);
        QVERIFY(visible<TextBox>(&view.window) == nullptr);
        view.click(showDetails);
        QCOMPARE(visible<TextBox>(&view.window)->toPlainText(), u"why"_s);
    }

    void anotherErrorBeginsCollapsed() {
        ShownWindow view;
        view.open();
        fail(view, u"one"_s);
        view.click(showDetails);
        fail(view, u"other"_s);
        QVERIFY(visible<TextBox>(&view.window) == nullptr);
        view.click(showDetails);
        QCOMPARE(visible<TextBox>(&view.window)->toPlainText(), u"other"_s);
    }

    void openDetailsGoOnWithTheNewText() {
        const auto first = u"Cannot connect to the Docker daemon at tcp://one."_s;
        const auto second = u"Cannot connect to the Docker daemon at tcp://two."_s;
        ShownWindow view;
        view.world.answer("inspect", 1, first);
        view.open();
        view.poll();
        view.click(showDetails);
        auto* const box = visible<TextBox>(&view.window);
        QCOMPARE(box->toPlainText(), first);
        box->setFocus();
        view.world.answerAsUsual();
        view.world.answer("inspect", 1, second);
        view.world.advance(6s);
        QCOMPARE(visible<TextBox>(&view.window), box);
        QCOMPARE(box->toPlainText(), second);
        QVERIFY(box->hasFocus());
    }

    void detailsThatCloseLeadTheKeysNowhere() {
        ShownWindow view;
        view.open();
        view.poll();
        fail(view, u"one"_s);
        view.click(showDetails);
        visible<TextBox>(&view.window)->setFocus();
        fail(view, u"other"_s);
        QCOMPARE(view.window.focusWidget(), view.window.findChild<QScrollArea*>());
    }

    void anErrorBelowALongListIsScrolledTo() {
        ShownWindow view;
        openWithLongList(view);
        fail(view, u"why"_s);
        QVERIFY(isErrorInView(view));
    }

    void anErrorThatComesWithTheLongListIsScrolledTo() {
        ShownWindow view;
        openWithLongList(view);
        view.world.answer("compose stop", 1, u"why"_s);
        view.world.answer("stop", 1, u"why"_s);
        view.click(u"Stop"_s);
        QVERIFY(view.world.operationEnds());
        QVERIFY(visible<DashboardView>(&view.window) != nullptr);
        QVERIFY(isErrorInView(view));
    }

    void anErrorFromBeforeTheWindowIsScrolledTo() {
        ShownWindow view;
        fail(view, u"why"_s);
        openWithLongList(view);
        QVERIFY(isErrorInView(view));
    }

    void anotherErrorIsScrolledToAgain() {
        ShownWindow view;
        openWithLongList(view);
        fail(view, u"one"_s);
        QScrollBar* const bar = view.window.findChild<QScrollArea*>()->verticalScrollBar();
        bar->setValue(0);
        // The same error does not scroll again.
        view.world.advance(6s);
        QCOMPARE(bar->value(), 0);
        fail(view, u"other"_s);
        QVERIFY(isErrorInView(view));
    }

    void oneReadingThatFailsLeavesTheListAsItWas_data() {
        QTest::addColumn<bool>("goesElsewhere");
        QTest::newRow("nothing else is done") << false;
        QTest::newRow("a button is focused meanwhile") << true;
    }
    void oneReadingThatFailsLeavesTheListAsItWas() {
        QFETCH(const bool, goesElsewhere);
        ShownWindow view;
        openWithLongList(view);
        const auto good = view.world.page.status;
        auto* const list = visible<MonitorRows>(&view.window);
        list->setFocus();
        list->setCurrentIndex(list->model()->index(100, 0));
        QScrollBar* const bar = view.window.findChild<QScrollArea*>()->verticalScrollBar();
        const int place = bar->value();
        QVERIFY(place > 1000);
        view.world.page.status = StatusPageError{u"Nothing there."_s};
        view.world.advance(30s);
        drainEvents();
        QVERIFY(visible<MonitorRows>(&view.window) == nullptr);
        QAbstractButton* const stop = button(&view.window, u"Stop"_s);
        if (goesElsewhere) {
            stop->setFocus();
        }
        view.world.page.status = good;
        view.world.advance(30s);
        drainEvents();
        QCOMPARE(visible<MonitorRows>(&view.window), list);
        QCOMPARE(bar->value(), place);
        QCOMPARE(view.window.focusWidget(), goesElsewhere ? static_cast<QWidget*>(stop) : list);
    }

    /// No frame shows the new card at a temporary place, or the old card again.
    void cardsChangeInOneStep() {
        ShownWindow view;
        view.world.controller().setSlug(u"home"_s);
        view.world.page.status = statusPage({monitor(1, 1), monitor(2, 0)});
        view.open();
        view.poll();
        fail(view, u"why"_s);
        drainEvents();
        const PaintedPlaces painted(view.window);
        const QWidget* const before = visible<StartCard>(&view.window);
        standin::addContainer(view.world.docker(), "running", 3001);
        view.world.advance(3s);
        drainEvents();
        QWidget* const after = visible<DashboardView>(&view.window);
        QVERIFY(after != nullptr && visible<ErrorCard>(&view.window) != nullptr);
        QVERIFY(!painted.places.contains(const_cast<QWidget*>(before)));
        QVERIFY(!painted.places.isEmpty());
        for (QWidget* widget : view.window.findChildren<QWidget*>()) {
            for (const QRect& place : painted.places.value(widget)) {
                QVERIFY2(!widget->isVisible() || place == painted.placeOf(widget), widget->metaObject()->className());
            }
        }
    }
};

ORVANEL_TEST(TestErrorCard)
#include "TestErrorCard.moc"
