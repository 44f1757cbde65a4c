#include "ShownWindow.h"
#include "app/views/DashboardCards.h"
#include "app/views/DashboardView.h"
#include "app/views/MonitorList.h"
#include "app/widgets/TextLabel.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QScrollArea>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// The visible label that a screen reader calls that, or nullptr.
TextLabel* labelCalled(const ShownWindow& view, const QString& name) {
    for (TextLabel* label : view.window.findChildren<TextLabel*>()) {
        if (label->isVisible() && label->accessibleName() == name) {
            return label;
        }
    }
    return nullptr;
}

void openDashboard(ShownWindow& view, const QString& slug, const StatusPageResult& page) {
    view.world.controller().setSlug(slug);
    view.world.page.status = page;
    QVERIFY(view.world.isPolledAsRunning());
    view.world.settle();
    view.open();
    drainEvents();
}

/// Whether the image has more than one colour.
bool isWritten(TextLabel& label, const QRect& area) {
    const QImage picture = label.grab(area).toImage();
    QImage empty(picture.size(), picture.format());
    empty.fill(picture.pixelColor(0, 0));
    return picture != empty;
}

/// Whether the cards fit into the window's width and take at most twice its height.
bool isInBounds(const ShownWindow& view) {
    const auto* area = view.window.findChild<QScrollArea*>();
    return area->widget()->width() == area->viewport()->width() &&
           area->widget()->height() <= 2 * area->viewport()->height();
}

} // namespace

/// Texts that others wrote break no layout.
class TestOutsideTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void titlesStayInOneLine_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("isCut");
        QTest::newRow("short") << u"<b>My</b> &amp; services"_s << false;
        QTest::newRow("lines") << u"one\ntwo\r\n\n\nthree\tfour"_s << false;
        QTest::newRow("one word") << QString(10'000, u'W') << true;
        QTest::newRow("words") << u"many words "_s.repeated(1000).simplified() << true;
        QTest::newRow("many lines") << u"a\n"_s.repeated(5000).simplified() << true;
    }
    void titlesStayInOneLine() {
        QFETCH(const QString, title);
        QFETCH(const bool, isCut);
        ShownWindow view;
        openDashboard(view, u"home"_s, statusPage({monitor(1, 1)}, title));
        const TextLabel* const label = labelCalled(view, title.simplified());
        QVERIFY(label != nullptr);
        QVERIFY(label->height() < 2 * label->fontMetrics().height());
        QVERIFY(label->fontMetrics().horizontalAdvance(label->text()) <= label->width());
        QCOMPARE(label->text().endsWith(u"…"_s), isCut);
        QCOMPARE(!label->toolTip().isEmpty(), isCut);
        QVERIFY(!label->toolTip().contains(u"<b>"_s));
        QVERIFY(isInBounds(view));
    }

    void aTitleTakesTheRoomThatTheWindowGives() {
        const auto title = u"word "_s.repeated(24).simplified();
        ShownWindow view;
        openDashboard(view, u"home"_s, statusPage({monitor(1, 1)}, title));
        const TextLabel* const label = labelCalled(view, title);
        QVERIFY(label->text().endsWith(u"…"_s));
        view.window.resize(3000, 600);
        drainEvents();
        QCOMPARE(label->text(), title);
        QCOMPARE(label->toolTip(), QString());
    }

    void titlesBeginWhereTheWindowsLinesDo_data() {
        QTest::addColumn<QString>("title");
        QTest::newRow("left to right") << u"Services"_s;
        QTest::newRow("right to left") << u"שירותים"_s;
    }
    void titlesBeginWhereTheWindowsLinesDo() {
        QFETCH(const QString, title);
        ShownWindow view;
        openDashboard(view, u"home"_s, statusPage({monitor(1, 1)}, title));
        TextLabel* const label = labelCalled(view, title);
        QVERIFY(label != nullptr);
        const int width = label->fontMetrics().horizontalAdvance(title) + 2;
        QVERIFY(label->width() > 3 * width);
        const QRect left(0, 0, width, label->height());
        const QRect right(label->width() - width, 0, width, label->height());
        QVERIFY(isWritten(*label, left) && !isWritten(*label, right));
        view.window.setLayoutDirection(Qt::RightToLeft);
        drainEvents();
        QVERIFY(!isWritten(*label, left) && isWritten(*label, right));
    }

    void slugsAreBrokenAndCut_data() {
        QTest::addColumn<QString>("slug");
        QTest::newRow("one word") << QString(10'000, u'W');
        QTest::newRow("lines") << u"a\n"_s.repeated(2000);
        QTest::newRow("marks") << QString(300, QChar(0x202e)) + QString(300, QChar(0x0301));
    }
    void slugsAreBrokenAndCut() {
        QFETCH(const QString, slug);
        ShownWindow view;
        openDashboard(view, slug, StatusPageError{QString(3000, u'e')});
        auto* const card = visible<StatusErrorCard>(&view.window);
        QVERIFY(card != nullptr);
        QVERIFY(isInBounds(view));
        for (const TextLabel* label : card->findChildren<TextLabel*>()) {
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
            // Every word finds room in the line.
            const QRect needed =
                label->fontMetrics().boundingRect(QRect(0, 0, label->width(), 10'000), Qt::TextWordWrap, label->text());
            QVERIFY2(needed.width() <= label->width(), qPrintable(QString::number(needed.width())));
        }
    }

    void pathsBreakBetweenNames() {
        TextLabel label(TextStyle::body);
        label.setOutsideText(u"/home/anna/.local/share/Orvanel/Backups/daily-20260505"_s);
        QVERIFY(!label.text().contains(QChar(0x200b)));
        const int width = label.fontMetrics().horizontalAdvance(u"/home/anna/.local/share/"_s);
        const QRect needed = label.fontMetrics().boundingRect(QRect(0, 0, width, 1000), Qt::TextWordWrap, label.text());
        QVERIFY2(needed.width() <= width, qPrintable(QString::number(needed.width())));
        QVERIFY(needed.height() > label.fontMetrics().height());
    }

    void whatIsCutIsSaidAndTold() {
        TextLabel label(TextStyle::body);
        const QString text = QString(1000, u'x') + u" <end>"_s;
        label.setOutsideText(text);
        QCOMPARE(label.accessibleName(), text);
        QVERIFY(label.text().size() < 2 * text.size());
        QVERIFY(label.text().endsWith(u"…"_s));
        QVERIFY(!label.toolTip().isEmpty());
        label.setOutsideText(u"an ordinary <sentence> & no more"_s);
        QCOMPARE(label.text(), u"an ordinary <sentence> & no more"_s);
        QCOMPARE(label.toolTip(), QString());
    }
};

ORVANEL_TEST(TestOutsideTexts)
#include "TestOutsideTexts.moc"
