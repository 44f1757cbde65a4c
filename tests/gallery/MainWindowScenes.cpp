#include "Find.h"
#include "Scenes.h"
#include "app/AppWindow.h"
#include "app/views/GuideView.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {
namespace {

const auto brew = u"brew"_s;
const auto colima = u"colima"_s;

std::unique_ptr<QWidget> mainWindow(GalleryWorld& world) {
    return std::make_unique<MainWindow>(world.context());
}

std::unique_ptr<QWidget> withoutDocker(GalleryWorld& world, const QStringList& tools) {
    world.installedDocker = std::nullopt;
    for (const QString& tool : tools) {
        world.installedTools.insert(tool, u"/opt/bin/"_s + tool);
    }
    world.poll();
    return mainWindow(world);
}

std::unique_ptr<QWidget> withoutRuntime(GalleryWorld& world, standin::Daemon daemon, const QStringList& tools) {
    world.docker().daemon = daemon;
    for (const QString& tool : tools) {
        world.installedTools.insert(tool, u"/opt/bin/"_s + tool);
    }
    world.poll();
    return mainWindow(world);
}

void addPackageManager(GalleryWorld& world) {
    world.rootHelper = aptHelper();
}

std::unique_ptr<QWidget> withPackageManager(GalleryWorld& world, const QStringList& tools) {
    addPackageManager(world);
    return withoutDocker(world, tools);
}

std::unique_ptr<QWidget> installingDocker(GalleryWorld& world) {
    auto window = withPackageManager(world, {});
    world.docker().pace = 1;
    world.controller().installDocker();
    world.advanceUntil([&] { return world.controller().state().setupLog.count(u'\n') > 4; });
    return window;
}

std::unique_ptr<QWidget> serviceStopped(GalleryWorld& world) {
    world.units.states = {{u"docker.service"_s, UnitState{u"loaded"_s, u"inactive"_s}}};
    return withoutRuntime(world, standin::Daemon::down, {});
}

std::unique_ptr<QWidget> refusedButHelped(GalleryWorld& world) {
    addPackageManager(world);
    return withoutRuntime(world, standin::Daemon::denied, {});
}

std::unique_ptr<QWidget> hostIgnored(GalleryWorld& world) {
    world.dockerHost = u"unix:///run/user/1000/podman/podman.sock"_s;
    return refusedButHelped(world);
}

void makeNarrow(QWidget& window) {
    window.setMinimumSize(0, 0);
    window.resize(360, window.height());
}

std::unique_ptr<QWidget> settingUp(GalleryWorld& world) {
    auto window = withoutDocker(world, {brew});
    world.docker().pace = 1;
    world.controller().installAndStartRuntime();
    world.advanceUntil([&] { return world.controller().state().setupLog.count(u'\n') > 2; });
    return window;
}

std::unique_ptr<QWidget> downloading(GalleryWorld& world) {
    world.poll();
    world.docker().pace = 1;
    world.controller().start();
    world.advanceUntil([&] { return world.controller().state().pullLog.count(u'\n') > 12; });
    return mainWindow(world);
}

std::unique_ptr<QWidget> busy(GalleryWorld& world) {
    world.poll();
    world.hang("info");
    world.controller().start();
    world.settle();
    return mainWindow(world);
}

std::unique_ptr<QWidget> stopped(GalleryWorld& world) {
    world.poll();
    return mainWindow(world);
}

std::unique_ptr<QWidget> portTaken(GalleryWorld& world) {
    world.listeningPorts = {3001};
    world.poll();
    world.controller().start();
    world.settle();
    return mainWindow(world);
}

std::unique_ptr<QWidget> failed(GalleryWorld& world) {
    world.poll();
    standin::addImage(world.docker());
    world.answer("compose up", 1,
                 u"[+] Running 0/1\n ⠋ Container orvanel  Creating  0.1s \nError response from daemon: "
                 "failed to set up container networking: driver failed programming external "
                 "connectivity on endpoint orvanel: iptables failed: No chain/target/match by that "
                 "name.\n"_s);
    world.controller().start();
    world.settle();
    return mainWindow(world);
}

void openDetails(QWidget& window) {
    if (QAbstractButton* const details = button(&window, u"Show details"_s)) {
        details->click();
    }
}

std::unique_ptr<QWidget> guide(GalleryWorld&) {
    return std::make_unique<GuideView>(nullptr);
}

std::function<void(QWidget&)> turnPages(int pages) {
    return [pages](QWidget& window) {
        for (int page = 0; page < pages; ++page) {
            button(&window, u"Next"_s)->click();
        }
    };
}

} // namespace

std::vector<Scene> mainWindowScenes() {
    using standin::Daemon;
    return {
        {"guide-1", guide, {}},
        {"guide-2", guide, turnPages(1)},
        {"guide-3", guide, turnPages(2)},
        {"checking-docker", mainWindow, {}},
        {"docker-missing", [](GalleryWorld& world) { return withoutDocker(world, {brew}); }, {}},
        {"docker-missing-no-homebrew", [](GalleryWorld& world) { return withoutDocker(world, {}); }, {}},
        {"docker-missing-package-manager", [](GalleryWorld& world) { return withPackageManager(world, {}); }, {}},
        {"docker-missing-both-ways", [](GalleryWorld& world) { return withPackageManager(world, {brew}); }, {}},
        {"docker-install", installingDocker, {}},
        {"runtime-setup", settingUp, {}},
        {"docker-not-running-colima",
         [](GalleryWorld& world) {
             return withoutRuntime(world, Daemon::down, {brew, colima});
         },
         {}},
        {"docker-not-running-homebrew",
         [](GalleryWorld& world) { return withoutRuntime(world, Daemon::down, {brew}); },
         {}},
        {"docker-not-running", [](GalleryWorld& world) { return withoutRuntime(world, Daemon::down, {}); }, {}},
        {"docker-service-stopped", serviceStopped, {}},
        {"docker-refuses-join", refusedButHelped, {}},
        {"docker-host-ignored", hostIgnored, {}},
        {"docker-host-ignored-narrow", hostIgnored, makeNarrow},
        {"docker-refuses", [](GalleryWorld& world) { return withoutRuntime(world, Daemon::denied, {}); }, openDetails},
        {"stopped", stopped, {}},
        {"downloading", downloading, {}},
        {"busy", busy, {}},
        {"port-taken", portTaken, {}},
        {"failed", failed, {}},
        {"failed-details", failed, openDetails},
    };
}

} // namespace orvanel::test
