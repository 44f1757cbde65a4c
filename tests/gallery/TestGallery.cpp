#include "Contrast.h"
#include "Faults.h"
#include "Palettes.h"
#include "Scenes.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr double largeFont = 1.75;

void useFont(double scale) {
    static const QFont usual = QApplication::font();
    QFont font = usual;
    font.setPointSizeF(usual.pointSizeF() * scale);
    QApplication::setFont(font);
}

/// Shows a scene and returns its faults.
QStringList faultsOf(const Scene& scene) {
    GalleryWorld world;
    const std::unique_ptr<QWidget> window = scene.make(world);
    window->show();
    drainEvents();
    if (scene.act) {
        scene.act(*window);
        drainEvents();
    }
    return namelessControls(*window) + clippedTexts(*window) + overlaps(*window) + paleTexts(*window);
}

/// A window without faults, for tests that add one.
struct Sample {
    Sample() {
        auto* column = new QVBoxLayout(&window);
        column->addWidget(label);
        column->addWidget(button);
        window.resize(300, 200);
        window.show();
        drainEvents();
    }
    QStringList faults() {
        return namelessControls(window) + clippedTexts(window) + overlaps(window) + paleTexts(window);
    }

    QWidget window;
    QLabel* label = new QLabel(u"a label"_s);
    QPushButton* button = new QPushButton(u"a button"_s);
};

} // namespace

/// Checks every window in every state, in both palettes, with the usual font and a large one, at the scale that
/// QT_SCALE_FACTOR sets.
class TestGallery : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        useFont(1);
        const double wanted = qEnvironmentVariable("QT_SCALE_FACTOR", u"1"_s).toDouble();
        QCOMPARE(qApp->devicePixelRatio(), wanted);
    }
    void init() {
        QApplication::setPalette(lightPalette());
        useFont(1);
    }

    void everySceneIsFlawless_data() {
        QTest::addColumn<int>("scene");
        QTest::addColumn<bool>("dark");
        QTest::addColumn<double>("font");
        const std::vector<Scene> scenes = allScenes();
        QVERIFY(scenes.size() > 20);
        for (std::size_t i = 0; i < scenes.size(); ++i) {
            const auto row = static_cast<int>(i);
            QTest::addRow("%s, light", scenes[i].name) << row << false << 1.0;
            QTest::addRow("%s, dark", scenes[i].name) << row << true << 1.0;
            QTest::addRow("%s, large", scenes[i].name) << row << false << largeFont;
        }
    }
    void everySceneIsFlawless() {
        QFETCH(const int, scene);
        QFETCH(const bool, dark);
        QFETCH(const double, font);
        QApplication::setPalette(dark ? darkPalette() : lightPalette());
        useFont(font);
        const QStringList faults = faultsOf(allScenes().at(static_cast<std::size_t>(scene)));
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
    }

    void faultsAreFound() {
        Sample sample;
        QCOMPARE(sample.faults(), QStringList());

        sample.button->setText({});
        QCOMPARE(namelessControls(sample.window).size(), 1);
        sample.button->setText(u"a button"_s);

        sample.label->setText(QString(100, u'W'));
        QCOMPARE(clippedTexts(sample.window).size(), 1);
        sample.label->setText(u"a label"_s);

        sample.button->move(sample.label->pos());
        QCOMPARE(overlaps(sample.window).size(), 1);
        sample.button->move(1000, 0);
        QCOMPARE(clippedTexts(sample.window).size(), 1);
        sample.button->move(10, 100);

        QPalette pale = sample.button->palette();
        pale.setColor(QPalette::ButtonText, pale.color(QPalette::Button).darker(130));
        sample.button->setPalette(pale);
        QCOMPARE(paleTexts(sample.window).size(), 1);
    }
};

ORVANEL_TEST(TestGallery)
#include "TestGallery.moc"
