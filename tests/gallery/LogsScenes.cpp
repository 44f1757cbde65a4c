#include "Scenes.h"
#include "app/AppWindow.h"

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QString ordinaryLog() {
    QString log;
    for (int i = 0; i < 300; ++i) {
        log += i % 7 == 4 ? u"2026-11-21T11:04:%1Z [MONITOR] WARN: Monitor #7 'Online shop': Failing: "
                            "Request failed with status code 503 | Interval: 60 seconds | Type: http\n"_s
                          : u"2026-11-21T11:04:%1Z [MONITOR] INFO: Heartbeat of monitor #7\n"_s;
        log = log.arg(i % 60, 2, 10, QChar(u'0'));
    }
    return log;
}

QString strangeLog() {
    return u"[36m2026-11-21 \x1b[31mred\x1b[0m and \x1b]0;title\x07plain\r\n"
           "<b>bold</b> &amp; _under_\n"
           "\u202Eright to left\u202C and back, שלום, 世界 🌍\n"_s +
           QString(3000, u'x') + u"\n\tend\n"_s;
}

Scene scene(const char* name, const QString& log) {
    const auto make = [log](GalleryWorld& world) -> std::unique_ptr<QWidget> {
        if (!world.isPolledAsRunning()) {
            qFatal("the container should run");
        }
        world.docker().log = log.toStdString();
        auto window = std::make_unique<LogsWindow>(world.controller(), world.dialogs, world.clock);
        // Showing the window starts the reading.
        window->show();
        world.settle();
        return window;
    };
    return {name, make, {}};
}

} // namespace

std::vector<Scene> logsScenes() {
    return {
        scene("logs-empty", {}),
        scene("logs", ordinaryLog()),
        scene("logs-strange-texts", strangeLog()),
    };
}

} // namespace orvanel::test
