#include "Palettes.h"
#include "app/views/MonitorDelegate.h"
#include "app/views/MonitorModel.h"
#include "app/views/MonitorRows.h"
#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QTest>
#include <QToolTip>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr int rowWidth = 500;
constexpr int pingWidth = 80;

MonitorRow row(std::optional<std::int64_t> status, std::optional<std::int64_t> ping = {},
               const QString& name = u"Web"_s, const QString& group = {}) {
    return {.id = 1, .name = name, .group = group, .status = status, .ping = ping, .uptime24 = {}};
}

/// One row, as the list paints it; as high as it is by itself unless a height is given.
QImage pictureOf(const MonitorRow& monitor, const QPalette& palette, int height = 0) {
    MonitorModel model;
    model.setMonitors({monitor});
    const MonitorDelegate delegate;
    QImage picture(rowWidth, height > 0 ? height : delegate.rowHeight(monitor), QImage::Format_RGB32);
    picture.fill(palette.color(QPalette::Window));
    QPainter painter(&picture);
    QStyleOptionViewItem option;
    option.rect = picture.rect();
    option.palette = palette;
    delegate.paint(&painter, option, model.index(0));
    return picture;
}

/// Whether the area shows that text and nothing else.
QImage textAlone(const QRect& place, int height, const QString& text, TextStyle style, const QColor& color,
                 const QPalette& palette, Qt::Alignment end = Qt::AlignRight) {
    QImage picture(rowWidth, height, QImage::Format_RGB32);
    picture.fill(palette.color(QPalette::Window));
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(fontOf(style));
    painter.setPen(color);
    painter.drawText(place, static_cast<int>(end | Qt::AlignVCenter), text);
    painter.end();
    return picture.copy(place);
}

/// Whether the image has only one colour.
bool isEmpty(const QImage& picture) {
    QImage empty(picture.size(), picture.format());
    empty.fill(picture.pixelColor(0, 0));
    return picture == empty;
}

/// The names of the first row, as a tooltip shows them, or nothing.
QString toolTipOfFirst(MonitorRows& list) {
    QToolTip::showText({}, {});
    const QPoint place = list.visualRect(list.model()->index(0, 0)).center();
    QHelpEvent help(QEvent::ToolTip, place, list.viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(list.viewport(), &help);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

} // namespace

/// Rows of the monitor list, as they are painted.
class TestMonitorRows : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rowsShowDotWordAndTime_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("word");
        QTest::addColumn<Meaning>("meaning");
        QTest::addColumn<int>("ping");
        QTest::addColumn<QString>("time");
        const auto add = [](int status, const char* word, Meaning meaning, int ping, const QString& time) {
            QTest::addRow("%s, status %d", word, status)
                << status << QString::fromLatin1(word) << meaning << ping << time;
        };
        const auto none = u"–"_s;
        add(0, "Down", Meaning::bad, -1, none);
        add(1, "Up", Meaning::good, 123, u"123 ms"_s);
        add(2, "Pending", Meaning::pending, 0, u"0 ms"_s);
        add(3, "Maintenance", Meaning::maintenance, 4567, u"4567 ms"_s);
        add(7, "No data", Meaning::inactive, -1, none);
        add(-1, "No data", Meaning::inactive, -1, none);
    }
    void rowsShowDotWordAndTime() {
        QFETCH(const int, status);
        QFETCH(const QString, word);
        QFETCH(const Meaning, meaning);
        QFETCH(const int, ping);
        QFETCH(const QString, time);
        for (const QPalette& palette : {lightPalette(), darkPalette()}) {
            const MonitorRow monitor = row(status < 0 ? std::nullopt : std::optional<std::int64_t>(status),
                                           ping < 0 ? std::nullopt : std::optional<std::int64_t>(ping));
            const QImage picture = pictureOf(monitor, palette);
            const int height = picture.height() - 1;
            QCOMPARE(picture.pixelColor(spacing::lines + 5, height / 2), dotColor(meaning, palette));
            // The dot is ten pixels across, and nothing is beside it.
            QCOMPARE(picture.pixelColor(spacing::lines - 1, height / 2), palette.color(QPalette::Window));
            QCOMPARE(picture.pixelColor(spacing::lines + 11, height / 2), palette.color(QPalette::Window));

            const QRect timePlace(rowWidth - spacing::lines - pingWidth, 0, pingWidth, height);
            QCOMPARE(picture.copy(timePlace), textAlone(timePlace, picture.height(), time, TextStyle::monospaced,
                                                        palette.color(QPalette::WindowText), palette));
            const int wordWidth = QFontMetrics(fontOf(TextStyle::body)).horizontalAdvance(word);
            const QRect wordPlace(timePlace.left() - spacing::related - wordWidth, 0, wordWidth, height);
            QCOMPARE(picture.copy(wordPlace), textAlone(wordPlace, picture.height(), word, TextStyle::body,
                                                        secondaryTextColor(palette), palette));
        }
    }

    void rowsAreMirroredForThoseWhoReadFromTheRight() {
        const QPalette palette = QApplication::palette();
        MonitorRows list;
        list.resize(rowWidth, 200);
        list.setLayoutDirection(Qt::RightToLeft);
        list.setFocusPolicy(Qt::NoFocus);
        const QColor dot = dotColor(Meaning::good, palette);
        const QColor text = palette.color(QPalette::WindowText);
        for (const QString& name : {u"Web"_s, u"אתר"_s}) {
            list.setMonitors({row(1, 12, name)});
            list.show();
            QVERIFY(QTest::qWaitForWindowExposed(&list));
            const QImage picture = list.grab().toImage().convertToFormat(QImage::Format_RGB32);
            const int height = picture.height() - 1;
            QCOMPARE(picture.pixelColor(rowWidth - spacing::lines - 5, height / 2), dot);

            const QRect timePlace(spacing::lines, 0, pingWidth, height);
            QVERIFY(picture.copy(timePlace) == textAlone(timePlace, picture.height(), u"12 ms"_s, TextStyle::monospaced,
                                                         text, palette, Qt::AlignLeft));
            // The name begins beside the dot, and ends soon.
            const int nameEnd = rowWidth - spacing::lines - 10 - spacing::related;
            const int nameWidth = QFontMetrics(fontOf(TextStyle::body)).horizontalAdvance(name);
            QVERIFY(
                isEmpty(picture.copy(timePlace.right() + 60, 0, nameEnd - nameWidth - timePlace.right() - 65, height)));
            QVERIFY(!isEmpty(picture.copy(nameEnd - nameWidth, 0, nameWidth, height)));
        }
    }

    void namesOfAllLanguagesBeginAtTheSameEnd() {
        const auto name = u"אתר"_s;
        const QImage picture = pictureOf(row(1, {}, name), lightPalette());
        const int nameWidth = QFontMetrics(fontOf(TextStyle::body)).horizontalAdvance(name);
        const int left = spacing::lines + 10 + spacing::related;
        QVERIFY(!isEmpty(picture.copy(left, 0, nameWidth, picture.height() - 1)));
        QVERIFY(isEmpty(picture.copy(left + nameWidth + 5, 0, 100, picture.height() - 1)));
    }

    void aGroupStandsUnderTheName() {
        const QImage grouped = pictureOf(row(1, {}, u"Web"_s, u"Group"_s), lightPalette());
        const QImage alone = pictureOf(row(1), lightPalette(), grouped.height());
        QVERIFY(alone != grouped);
        // Everything but the names stays where it is.
        const QRect right(rowWidth / 2, 0, rowWidth / 2, alone.height());
        QCOMPARE(alone.copy(right), grouped.copy(right));
    }

    void rowsAreAsHighAsTheirTexts() {
        constexpr int padding = 4;
        constexpr int divider = 1;
        const int name = QFontMetrics(fontOf(TextStyle::body)).lineSpacing();
        const int group = QFontMetrics(fontOf(TextStyle::caption)).lineSpacing();
        MonitorRows list;
        list.resize(rowWidth, 200);
        MonitorRow grouped = row(1, {}, u"Web"_s, u"Group"_s);
        grouped.id = 2;
        list.setMonitors({row(1), grouped});
        QCOMPARE(list.sizeHintForIndex(list.model()->index(0, 0)).height(), name + 2 * padding + divider);
        QCOMPARE(list.sizeHintForIndex(list.model()->index(1, 0)).height(), name + group + 2 * padding + divider);
        QCOMPARE(list.height(), 2 * (name + 2 * padding + divider) + group);
        // A group that comes or goes changes its row.
        list.setMonitors({row(1, {}, u"Web"_s, u"Group"_s), grouped});
        QCOMPARE(list.height(), 2 * (name + group + 2 * padding + divider));
        QCOMPARE(list.visualRect(list.model()->index(1, 0)).top(), name + group + 2 * padding + divider);
    }

    void aResponseTimeIsAsLargeAsTheName() {
        const QFont name = fontOf(TextStyle::body);
        const QFont time = fontOf(TextStyle::monospaced);
        QCOMPARE(time.pointSizeF(), name.pointSizeF());
        QVERIFY(time.family() != name.family());
    }

    void namesThatAreCutAreInTheToolTip() {
        MonitorRows list;
        list.resize(300, 200);
        list.setMonitors({row(1, {}, u"Web"_s, u"Group"_s)});
        list.show();
        QVERIFY(QTest::qWaitForWindowExposed(&list));
        QCOMPARE(toolTipOfFirst(list), QString());

        const auto longName = u"<b>long</b> "_s + QString(200, u'x');
        list.setMonitors({row(1, {}, longName, u"The group"_s)});
        const QString tip = toolTipOfFirst(list);
        QVERIFY(tip.contains(longName.toHtmlEscaped()));
        QVERIFY(tip.contains(u"The group"_s));

        list.setMonitors({row(1, {}, u"Web"_s, QString(200, u'g'))});
        QVERIFY(toolTipOfFirst(list).contains(u"Web\n"_s + QString(200, u'g')));
        QToolTip::hideText();
    }
};

ORVANEL_TEST(TestMonitorRows)
#include "TestMonitorRows.moc"
