#include "Contrast.h"
#include "app/StatusIcon.h"
#include "app/widgets/StateColors.h"
#include "support/TestClass.h"

#include <QTest>

using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr Health healths[] = {Health::inactive, Health::allUp, Health::someDown};

QColor centre(const QImage& image) {
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

/// How many pixels of the middle row are more opaque than transparent.
int opaqueAcross(const QImage& image) {
    int count = 0;
    for (int x = 0; x < image.width(); ++x) {
        count += image.pixelColor(x, image.height() / 2).alpha() > 127 ? 1 : 0;
    }
    return count;
}

/// The width of the empty margin: the smallest distance from an edge to anything drawn.
int margin(const QImage& image) {
    const int last = image.width() - 1;
    for (int distance = 0; distance < image.width() / 2; ++distance) {
        for (int along = 0; along <= last; ++along) {
            const QPoint sides[] = {
                {along, distance}, {along, last - distance}, {distance, along}, {last - distance, along}};
            for (const QPoint side : sides) {
                if (image.pixelColor(side).alpha() > 0) {
                    return distance;
                }
            }
        }
    }
    return image.width() / 2;
}

} // namespace

class TestStatusIcon : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void colorTellsTheHealth() {
        QCOMPARE(centre(StatusIcon::image(Health::inactive)), statusDotColor(Meaning::inactive));
        QCOMPARE(centre(StatusIcon::image(Health::allUp)), statusDotColor(Meaning::good));
        QCOMPARE(centre(StatusIcon::image(Health::someDown)), statusDotColor(Meaning::bad));
    }

    void colorsAreWhatTheyAreCalled() {
        QVERIFY(statusDotColor(Meaning::inactive).hslSaturation() < 20);
        QVERIFY(qAbs(statusDotColor(Meaning::good).hslHue() - 120) < 40);
        const int red = statusDotColor(Meaning::bad).hslHue();
        QVERIFY(red < 20 || red > 340);
    }

    void dotIsTenPointsAcrossInSixteen() {
        for (const Health health : healths) {
            const QImage image = StatusIcon::image(health);
            QCOMPARE(image.size(), QSize(16, 16));
            QCOMPARE(opaqueAcross(image), 10);
            QCOMPARE(margin(image), 3);
        }
    }

    void everySizeIsDrawnForItself_data() {
        QTest::addColumn<int>("size");
        for (const int size : {16, 22, 24, 32, 48, 64}) {
            QTest::addRow("%d", size) << size;
        }
    }
    void everySizeIsDrawnForItself() {
        QFETCH(const int, size);
        for (const Health health : healths) {
            const QImage expected = StatusIcon::image(health, size);
            QCOMPARE(expected.size(), QSize(size, size));
            QVERIFY(qAbs(opaqueAcross(expected) - size * 10.0 / 16) <= 1);
            QVERIFY(qAbs(margin(expected) - size * 3.0 / 16) <= 1);
            const QImage inIcon = StatusIcon::icon(health).pixmap(QSize(size, size), 1).toImage();
            QCOMPARE(inIcon.convertToFormat(expected.format()), expected);
        }
    }

    void iconHasAllPanelSizes() {
        QList<QSize> sizes = StatusIcon::icon(Health::allUp).availableSizes();
        std::sort(sizes.begin(), sizes.end(), [](QSize a, QSize b) { return a.width() < b.width(); });
        const QList<QSize> expected{{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
        QCOMPARE(sizes, expected);
        // The image is no mask, which a panel would paint in one colour.
        QVERIFY(!StatusIcon::icon(Health::allUp).isMask());
    }

    void readableOnDarkAndLightPanels() {
        for (const Meaning meaning : {Meaning::inactive, Meaning::good, Meaning::bad}) {
            QVERIFY(contrast(statusDotColor(meaning), QColor(0x1e1f22)) >= 3);
            QVERIFY(contrast(statusRingColor(meaning), QColor(0xf5f5f7)) >= 3);
        }
    }
};

ORVANEL_TEST(TestStatusIcon)
#include "TestStatusIcon.moc"
