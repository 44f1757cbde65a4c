#include "Contrast.h"
#include "Palettes.h"
#include "app/AppWindow.h"
#include "app/widgets/PushButton.h"
#include "app/widgets/StateColors.h"
#include "app/widgets/TextLabel.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr Meaning meanings[] = {Meaning::inactive, Meaning::good, Meaning::bad, Meaning::pending, Meaning::maintenance};

/// The background of text on a card.
QColor cardColor(const QPalette& palette) {
    const QColor window = palette.color(QPalette::Window);
    const auto mix = [](float channel) { return channel * 0.88F + 0.5F * 0.12F; };
    return QColor::fromRgbF(mix(window.redF()), mix(window.greenF()), mix(window.blueF()));
}

} // namespace

class TestStateColors : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void darkIsLightTextOnDarkWindows() {
        QVERIFY(!isDark(lightPalette()));
        QVERIFY(isDark(darkPalette()));
    }

    void everyColorStandsOut_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << lightPalette();
        QTest::newRow("dark") << darkPalette();
    }
    void everyColorStandsOut() {
        QFETCH(const QPalette, palette);
        const QColor window = palette.color(QPalette::Window);
        for (const Meaning meaning : meanings) {
            QVERIFY(contrast(dotColor(meaning, palette), window) >= 3);
            QVERIFY(contrast(textColor(meaning, palette), window) >= 4.5);
            QVERIFY(contrast(textColor(meaning, palette), cardColor(palette)) >= 4.5);
        }
        QVERIFY(contrast(secondaryTextColor(palette), window) >= 4.5);
        QVERIFY(contrast(secondaryTextColor(palette), cardColor(palette)) >= 4.5);
        QVERIFY(contrast(switchOffColor(palette), cardColor(palette)) >= 3);
        QVERIFY(contrast(switchOffColor(palette), Qt::white) >= 3);
    }

    void defaultButtonsCanBeReadInTheColorsOfDesktops_data() {
        QTest::addColumn<QColor>("highlight");
        QTest::newRow("blue") << QColor(0x3584e4);
        QTest::newRow("light blue") << QColor(0x3daee9);
        QTest::newRow("dull blue") << QColor(0x308cc6);
        QTest::newRow("dark blue") << QColor(0x000080);
        QTest::newRow("orange") << QColor(0xe95420);
        QTest::newRow("green") << QColor(0x35a854);
    }
    void defaultButtonsCanBeReadInTheColorsOfDesktops() {
        QFETCH(const QColor, highlight);
        const QPalette before = QApplication::palette();
        for (QPalette palette : {lightPalette(), darkPalette()}) {
            palette.setColor(QPalette::Highlight, highlight);
            QApplication::setPalette(palette);
            PushButton button(QString(), PushButton::Kind::byDefault);
            button.resize(100, 30);
            const QImage picture = button.grab(button.rect().adjusted(5, 5, -5, -5)).toImage();
            double least = 21;
            for (int y = 0; y < picture.height(); ++y) {
                least = std::min(least, contrast(Qt::white, picture.pixelColor(picture.width() / 2, y)));
            }
            QVERIFY2(least >= 4.5, qPrintable(QString::number(least)));
        }
        QApplication::setPalette(before);
    }

    /// This also holds for palettes that differ in nothing else.
    void defaultButtonsFollowTheTextColorOfTheHighlight() {
        const QPalette before = QApplication::palette();
        QPalette palette = lightPalette();
        palette.setColor(QPalette::Highlight, QColor(0xffd54f));
        palette.setColor(QPalette::HighlightedText, Qt::black);
        QApplication::setPalette(palette);
        const PushButton button(u"Start"_s, PushButton::Kind::byDefault);
        const auto text = [&button] { return button.palette().color(QPalette::Active, QPalette::ButtonText); };
        QCOMPARE(text(), QColor(Qt::black));
        palette.setColor(QPalette::HighlightedText, QColor(0x202020));
        QApplication::setPalette(palette);
        drainEvents();
        QCOMPARE(text(), QColor(0x202020));
        QApplication::setPalette(before);
    }

    void everyHealthHasItsColorAndItsWord() {
        QCOMPARE(meaningOf(Health::inactive), Meaning::inactive);
        QCOMPARE(meaningOf(Health::allUp), Meaning::good);
        QCOMPARE(meaningOf(Health::someDown), Meaning::bad);
        const QStringList words{spokenHealth(Health::inactive), spokenHealth(Health::allUp),
                                spokenHealth(Health::someDown)};
        QCOMPARE(QSet<QString>(words.begin(), words.end()).size(), 3);
        QVERIFY(!words.contains(QString()));
    }

    void labelsFollowThePalette() {
        QApplication::setPalette(lightPalette());
        drainEvents();
        QWidget window;
        TextLabel secondary(TextStyle::body, u"less"_s, &window);
        secondary.setSecondary();
        TextLabel bad(TextStyle::headline, u"bad"_s, &window);
        bad.setMeaning(Meaning::bad);
        QCOMPARE(bad.palette().color(QPalette::WindowText), textColor(Meaning::bad, lightPalette()));
        QApplication::setPalette(darkPalette());
        drainEvents();
        QCOMPARE(bad.palette().color(QPalette::WindowText), textColor(Meaning::bad, darkPalette()));
        QCOMPARE(secondary.palette().color(QPalette::WindowText), secondaryTextColor(darkPalette()));
        QApplication::setPalette(lightPalette());
        drainEvents();
        QCOMPARE(secondary.palette().color(QPalette::WindowText), secondaryTextColor(lightPalette()));
    }

    void labelsFollowTheFont() {
        const QFont before = QApplication::font();
        AppWindow window(u"Window"_s, AppWindow::EscapeKey::nothing);
        const TextLabel title(TextStyle::title3, u"title"_s, &window);
        QFont larger = before;
        larger.setPointSizeF(before.pointSizeF() * 2);
        QApplication::setFont(larger);
        drainEvents();
        QCOMPARE(title.font().pointSizeF(), fontOf(TextStyle::title3).pointSizeF());
        QVERIFY(title.font().pointSizeF() > larger.pointSizeF());
        QApplication::setFont(before);
        drainEvents();
        QCOMPARE(title.font().pointSizeF(), fontOf(TextStyle::title3).pointSizeF());
    }

    void fontsGivenInPixelsWorkToo() {
        const QFont before = QApplication::font();
        QFont pixels = before;
        pixels.setPixelSize(20);
        QApplication::setFont(pixels);
        QCOMPARE(fontOf(TextStyle::body).pixelSize(), 20);
        QCOMPARE(fontOf(TextStyle::title3).pixelSize(), 24);
        QApplication::setFont(before);
    }

    void labelsShowTextAsItStands() {
        const TextLabel label(TextStyle::body, u"<b>A & B</b>"_s);
        QCOMPARE(label.textFormat(), Qt::PlainText);
    }
};

ORVANEL_TEST(TestStateColors)
#include "TestStateColors.moc"
