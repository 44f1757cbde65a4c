// Draws every scene, light and dark, into PNG files: `gallery FOLDER [SCENE…]`. QT_SCALE_FACTOR=2 makes them finer.

#include "Palettes.h"
#include "Scenes.h"
#include "support/Await.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace orvanel::test;

namespace {

bool draw(const Scene& scene, const QString& file) {
    GalleryWorld world;
    const std::unique_ptr<QWidget> window = scene.make(world);
    window->show();
    drainEvents();
    if (scene.act) {
        scene.act(*window);
        drainEvents();
    }
    return window->grab().save(file);
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.isEmpty() || !QDir().mkpath(arguments.first())) {
        std::fputs("gallery: a folder for the pictures is missing\n", stderr);
        return 2;
    }
    const QStringList wanted = arguments.mid(1);
    int drawn = 0;
    for (const Scene& scene : allScenes()) {
        const QString name = QString::fromLatin1(scene.name);
        if (!wanted.isEmpty() && !wanted.contains(name)) {
            continue;
        }
        for (const bool dark : {false, true}) {
            QApplication::setPalette(dark ? darkPalette() : lightPalette());
            const QString file = u"%1/%2-%3.png"_s.arg(arguments.first(), name, dark ? u"dark" : u"light");
            if (!draw(scene, file)) {
                std::fprintf(stderr, "gallery: %s could not be written\n", qPrintable(file));
                return 1;
            }
            drawn += 1;
        }
    }
    std::printf("%d pictures in %s\n", drawn, qPrintable(QDir(arguments.first()).absolutePath()));
    return drawn > 0 ? 0 : 1;
}
