#pragma once

#include "ControllerFixture.h"
#include "Find.h"
#include "app/AppWindow.h"
#include "app/widgets/Drawings.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// The main window in a world where a test plays Docker.
struct ShownWindow {
    ShownWindow()
        : window(ViewContext{world.controller(), world.desktop, world.clock,
                             [this](const QString& id) { opened << id; }}) {
        world.controller().setHasSeenGuide(true);
        // The tools of the real machine do not count.
        qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(world.home.path(u"tools"_s)));
    }
    ~ShownWindow() { qunsetenv("ORVANEL_TOOL_ROOT"); }

    ControllerFixture world;
    /// Ids of the windows that were asked for.
    QStringList opened;
    MainWindow window;

    void open() {
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }
    void install(const QString& tool) { world.installedTools.insert(tool, u"/opt/bin/"_s + tool); }
    void openWithoutRuntime(standin::Daemon daemon) {
        world.docker().daemon = daemon;
        open();
        poll();
    }
    void poll() {
        world.controller().begin();
        world.settle();
    }
    void click(const QString& text) {
        QAbstractButton* const found = button(&window, text);
        QVERIFY(found != nullptr);
        QTest::mouseClick(found, Qt::LeftButton);
        world.settle();
    }
    QString statusLine() { return window.findChild<QLabel*>()->text(); }
    Dot* healthDot() { return window.findChild<Dot*>(); }
};

} // namespace orvanel::test
