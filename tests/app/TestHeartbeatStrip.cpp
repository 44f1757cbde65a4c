#include "ControllerFixture.h"
#include "Palettes.h"
#include "app/views/HeartbeatStrip.h"
#include "app/views/HeartbeatText.h"
#include "app/views/MonitorDelegate.h"
#include "app/views/MonitorModel.h"
#include "app/views/MonitorRows.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QTest>
#include <QToolTip>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr int stripWidth = 80;
constexpr int stripHeight = 30;

/// The bars of these heartbeats on a screen of that scale, from left to right.
struct Bars {
    Bars(const QString& letters, double scale = 1, Qt::LayoutDirection direction = Qt::LeftToRight,
         const QPalette& palette = lightPalette(), QPointF origin = {})
        : picture(QSize(stripWidth, stripHeight) * scale, QImage::Format_RGB32) {
        picture.setDevicePixelRatio(scale);
        background = palette.color(QPalette::Window);
        picture.fill(background);
        const Heartbeats beats = heartbeats(letters);
        const HeartbeatStrip strip(QRect(0, 0, stripWidth - 10, stripHeight - 4), beats.size(), direction);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(origin);
        strip.paint(&painter, beats, palette, std::nullopt);
        painter.end();
        find();
    }

    struct Bar {
        QRect place;
        QColor color;
    };

    QImage picture;
    QColor background;
    QList<Bar> bars;
    /// Pixels that are neither background nor of one colour with the bar around them.
    int blurred = 0;

private:
    bool isEmptyColumn(int x) const {
        for (int y = 0; y < picture.height(); ++y) {
            if (picture.pixelColor(x, y) != background) {
                return false;
            }
        }
        return true;
    }

    void find() {
        for (int x = 0; x < picture.width(); ++x) {
            if (isEmptyColumn(x)) {
                continue;
            }
            const int left = x;
            while (x < picture.width() && !isEmptyColumn(x)) {
                ++x;
            }
            addBar(left, x - left);
        }
    }

    void addBar(int left, int width) {
        int top = 0;
        while (picture.pixelColor(left, top) == background) {
            ++top;
        }
        const QColor color = picture.pixelColor(left, top);
        int height = 0;
        while (top + height < picture.height() && picture.pixelColor(left, top + height) == color) {
            ++height;
        }
        const QRect place(left, top, width, height);
        bars << Bar{place, color};
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = left; x < left + width; ++x) {
                const QColor expected = place.contains(x, y) ? color : background;
                blurred += picture.pixelColor(x, y) != expected ? 1 : 0;
            }
        }
    }
};

QList<int> heights(const Bars& bars) {
    QList<int> all;
    for (const Bars::Bar& bar : bars.bars) {
        all << bar.place.height();
    }
    return all;
}

MonitorRow rowWith(const QString& letters) {
    MonitorRow row = monitor(1, 1);
    row.beats = heartbeats(letters);
    return row;
}

/// How many bars a row of that width shows; the list is its own window.
int barsAt(int width, const MonitorRow& row) {
    MonitorRows list;
    list.resize(width, 100);
    list.setMonitors({row});
    QStyleOptionViewItem option;
    option.widget = &list;
    option.rect = QRect(0, 0, width, 30);
    return static_cast<const MonitorDelegate*>(list.itemDelegate())->strip(option, row).bars();
}

QString longHistory(int count) {
    return QString(count, u'u');
}

} // namespace

/// The small bars of the last heartbeats: where they stand, how they look, and what they say.
class TestHeartbeatStrip : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void barsHaveTheColoursOfTheDots() {
        for (const QPalette& palette : {lightPalette(), darkPalette()}) {
            const Bars strip(u"udpm"_s, 1, Qt::LeftToRight, palette);
            QCOMPARE(strip.bars.size(), 4);
            const Meaning expected[] = {Meaning::good, Meaning::bad, Meaning::pending, Meaning::maintenance};
            for (int i = 0; i < 4; ++i) {
                QCOMPARE(strip.bars[i].color, dotColor(expected[i], palette));
            }
        }
    }

    /// Red and green are one colour to many people.
    void heightsTellThemApartToo() {
        const QList<int> all = heights(Bars(u"umpd"_s));
        QCOMPARE(all.size(), 4);
        for (int i = 1; i < all.size(); ++i) {
            QVERIFY2(all[i] >= all[i - 1] + 4, qPrintable(u"%1 after %2"_s.arg(all[i]).arg(all[i - 1])));
        }
        // What is well is quiet.
        QVERIFY(all.first() <= 4);
    }

    void barsAreSharpAtEveryScale_data() {
        QTest::addColumn<double>("scale");
        QTest::addColumn<QPointF>("origin");
        for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
            for (const double offset : {0.0, 1.0, 7.0}) {
                QTest::addRow("%.2f, %.0f points off", scale, offset) << scale << QPointF(offset, offset / 2);
            }
        }
    }
    void barsAreSharpAtEveryScale() {
        QFETCH(const double, scale);
        QFETCH(const QPointF, origin);
        const Bars strip(u"udpmuudu"_s, scale, Qt::LeftToRight, lightPalette(), origin);
        QCOMPARE(strip.bars.size(), 8);
        QCOMPARE(strip.blurred, 0);
        const int width = strip.bars[0].place.width();
        const int pitch = strip.bars[1].place.left() - strip.bars[0].place.left();
        QCOMPARE(width, qRound(2 * scale));
        QVERIFY(pitch > width);
        for (int i = 0; i < strip.bars.size(); ++i) {
            QCOMPARE(strip.bars[i].place.width(), width);
            QCOMPARE(strip.bars[i].place.left(), strip.bars[0].place.left() + i * pitch);
            // All stand on one line by their middles.
            QCOMPARE(strip.bars[i].place.top() * 2 + strip.bars[i].place.height(),
                     strip.bars[0].place.top() * 2 + strip.bars[0].place.height());
        }
    }

    void theNewestStandsAtTheEndOfTheLine() {
        const Bars fromTheLeft(u"uuud"_s);
        QCOMPARE(fromTheLeft.bars.last().color, dotColor(Meaning::bad, lightPalette()));
        const Bars fromTheRight(u"uuud"_s, 1, Qt::RightToLeft);
        QCOMPARE(fromTheRight.bars.first().color, dotColor(Meaning::bad, lightPalette()));
        QCOMPARE(heights(fromTheRight).last(), heights(fromTheLeft).first());
    }

    void eachBarCanBePointedAt() {
        const QRect area(10, 20, 100, 30);
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            const HeartbeatStrip strip(area, 20, direction);
            for (int bar = 0; bar < 20; ++bar) {
                const QRect place = strip.rectOf(bar);
                QVERIFY(strip.rect().contains(place));
                for (const QPoint& corner : {place.topLeft(), place.bottomRight()}) {
                    QCOMPARE(strip.barAt(corner), std::optional<int>(bar));
                }
            }
            QCOMPARE(strip.barAt(strip.rect().topLeft() - QPoint(1, 0)), std::optional<int>());
            QCOMPARE(strip.barAt(strip.rect().bottomRight() + QPoint(1, 0)), std::optional<int>());
        }
        const HeartbeatStrip none;
        QCOMPARE(none.bars(), 0);
        QCOMPARE(none.barAt({0, 0}), std::optional<int>());
    }

    void thereAreAsManyAsFit() {
        const MonitorRow row = rowWith(longHistory(50));
        QCOMPARE(barsAt(2000, row), 50);
        QCOMPARE(barsAt(2000, rowWith(longHistory(7))), 7);
        QCOMPARE(barsAt(2000, rowWith({})), 0);
        int before = 50;
        for (int width = 640; width >= 420; width -= 20) {
            const int bars = barsAt(width, row);
            QVERIFY2(bars > 0 && bars <= before, qPrintable(u"%1 at %2"_s.arg(bars).arg(width)));
            before = bars;
        }
        QVERIFY(before < 50);
    }

    void inANarrowWindowTheStripGoesFirst() {
        const MonitorRow row = rowWith(longHistory(50));
        QVERIFY(barsAt(420, row) > 0);
        QCOMPARE(barsAt(419, row), 0);
        QCOMPARE(barsAt(100, row), 0);
        QCOMPARE(barsAt(1, row), 0);
    }

    /// Neither the words nor the names move with the heartbeats.
    void stripsEndInOneLine() {
        MonitorRows list;
        list.resize(640, 100);
        QList<int> ends;
        for (const int status : {0, 1, 2, 3, 7}) {
            for (const int count : {1, 20, 50}) {
                MonitorRow row = rowWith(longHistory(count));
                row.status = status;
                QStyleOptionViewItem option;
                option.widget = &list;
                option.rect = QRect(0, 0, 640, 30);
                ends << static_cast<const MonitorDelegate*>(list.itemDelegate())->strip(option, row).rect().right();
            }
        }
        QCOMPARE(QSet<int>(ends.begin(), ends.end()).size(), 1);
    }

    void pointingTellsTimeWordAndResponseTime() {
        const auto time = std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + std::chrono::hours(12);
        const QDateTime local = QDateTime::fromSecsSinceEpoch(time.time_since_epoch() / std::chrono::seconds(1));
        const QString clock = QLocale().toString(local.time(), u"HH:mm:ss"_s);
        QCOMPARE(heartbeatText(Heartbeat(time, 1, 12), local.date()), clock + u", Up, 12 ms"_s);
        QCOMPARE(heartbeatText(Heartbeat(time, 0, {}), local.date()), clock + u", Down"_s);
        const QString day = QLocale().toString(local.date(), QLocale::ShortFormat);
        QCOMPARE(heartbeatText(Heartbeat(time, 3, 0), local.date().addDays(1)),
                 u"%1 %2, Maintenance, 0 ms"_s.arg(day, clock));
        QCOMPARE(heartbeatText(Heartbeat({}, 2, 4567), local.date()), u"Pending, 4567 ms"_s);
    }

    void tooltipsSayWhatABarSays() {
        const MonitorRow row = rowWith(longHistory(49) + u'd');
        MonitorRows list;
        list.resize(640, 100);
        list.setMonitors({row});
        list.show();
        QVERIFY(QTest::qWaitForWindowExposed(&list));
        QStyleOptionViewItem option;
        option.widget = &list;
        option.rect = list.visualRect(list.model()->index(0, 0));
        const auto* delegate = static_cast<const MonitorDelegate*>(list.itemDelegate());
        const HeartbeatStrip strip = delegate->strip(option, row);
        QCOMPARE(strip.bars(), 50);
        for (const int bar : {0, 1, 49}) {
            QToolTip::showText({}, {});
            const QPoint place = strip.rectOf(bar).center();
            QHelpEvent help(QEvent::ToolTip, place, list.viewport()->mapToGlobal(place));
            QCoreApplication::sendEvent(list.viewport(), &help);
            QVERIFY(QToolTip::isVisible());
            const QString text = heartbeatText(row.beats.fromNewest(bar), QDate::currentDate());
            QVERIFY2(QToolTip::text().contains(text), qPrintable(QToolTip::text()));
            QVERIFY(text.contains(bar == 0 ? u"Down"_s : u"Up"_s));
        }
        QToolTip::hideText();
    }

    void summariesForScreenReaders_data() {
        QTest::addColumn<QString>("letters");
        QTest::addColumn<QString>("summary");
        QTest::newRow("none") << QString() << QString();
        QTest::newRow("one") << u"d"_s << u"last heartbeat: down"_s;
        QTest::newRow("all up") << longHistory(50) << u"last 50 heartbeats: 50 up"_s;
        QTest::newRow("some down") << longHistory(48) + u"dd"_s << u"last 50 heartbeats: 48 up, 2 down"_s;
        QTest::newRow("everything") << u"mpdu"_s << u"last 4 heartbeats: 1 up, 1 down, 1 pending, 1 maintenance"_s;
    }
    void summariesForScreenReaders() {
        QFETCH(const QString, letters);
        QFETCH(const QString, summary);
        QCOMPARE(heartbeatSummary(heartbeats(letters)), summary);
    }
};

ORVANEL_TEST(TestHeartbeatStrip)
#include "TestHeartbeatStrip.moc"
