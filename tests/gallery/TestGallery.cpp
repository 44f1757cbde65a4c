#include "Contrast.h"
#include "Palettes.h"
#include "Scenes.h"
#include "app/widgets/TextLabel.h"
#include "support/Await.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QTest>

using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr double leastContrast = 4.5;

QString describe(const QWidget* widget) {
    const auto* label = qobject_cast<const QLabel*>(widget);
    const auto* button = qobject_cast<const QAbstractButton*>(widget);
    const QString text = label != nullptr ? label->text() : button != nullptr ? button->text() : QString();
    return QStringLiteral("%1 \"%2\"").arg(QString::fromLatin1(widget->metaObject()->className()), text.left(60));
}

/// Of everything that can be focused and has nothing to say to a screen reader.
QStringList namelessControls(const QWidget& window) {
    QStringList found;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus) {
            continue;
        }
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(widget);
        if (face == nullptr || face->text(QAccessible::Name).isEmpty()) {
            found << describe(widget);
        }
    }
    return found;
}

/// Labels and buttons without room for their text. Words that no line could hold are cut on purpose.
QStringList clippedTexts(const QWidget& window) {
    QStringList found;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (!label->isVisible() || label->text().isEmpty() || label->text().size() > 1000) {
            continue;
        }
        const int height = label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
        const bool isNarrow = !label->wordWrap() && label->width() < label->sizeHint().width();
        if (label->height() < height || isNarrow) {
            found << describe(label);
        }
    }
    for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
        const int textWidth = button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width();
        if (button->isVisible() && button->width() < textWidth) {
            found << describe(button);
        }
    }
    return found;
}

/// What the widget would cover, without it: the colour in its top left corner.
QColor surroundings(QWidget& window, const QImage& picture, const QWidget* widget) {
    const QPoint corner = widget->mapTo(&window, QPoint(0, 0)) * picture.devicePixelRatio();
    return picture.rect().contains(corner) ? picture.pixelColor(corner) : QColor();
}

QStringList paleTexts(QWidget& window) {
    QStringList found;
    const QImage picture = window.grab().toImage();
    for (const TextLabel* label : window.findChildren<TextLabel*>()) {
        const QColor background = surroundings(window, picture, label);
        if (!label->isVisible() || label->text().isEmpty() || !background.isValid()) {
            continue;
        }
        const double ratio = contrast(label->palette().color(QPalette::Active, QPalette::WindowText), background);
        if (ratio < leastContrast) {
            found << QStringLiteral("%1: %2").arg(describe(label)).arg(ratio);
        }
    }
    return found;
}

/// Shows a scene and looks at it.
QStringList faultsOf(const Scene& scene) {
    GalleryWorld world;
    const std::unique_ptr<QWidget> window = scene.make(world);
    window->show();
    drainEvents();
    if (scene.act) {
        scene.act(*window);
        drainEvents();
    }
    return namelessControls(*window) + clippedTexts(*window) + paleTexts(*window);
}

} // namespace

/// Every window in every state, in both palettes.
class TestGallery : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everySceneIsFlawless_data() {
        QTest::addColumn<int>("scene");
        QTest::addColumn<bool>("dark");
        const std::vector<Scene> scenes = allScenes();
        QVERIFY(scenes.size() > 20);
        for (std::size_t i = 0; i < scenes.size(); ++i) {
            const auto row = static_cast<int>(i);
            QTest::addRow("%s, light", scenes[i].name) << row << false;
            QTest::addRow("%s, dark", scenes[i].name) << row << true;
        }
    }
    void everySceneIsFlawless() {
        QFETCH(const int, scene);
        QFETCH(const bool, dark);
        QApplication::setPalette(dark ? darkPalette() : lightPalette());
        const QStringList faults = faultsOf(allScenes().at(static_cast<std::size_t>(scene)));
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
    }
};

QTEST_MAIN(TestGallery)
#include "TestGallery.moc"
