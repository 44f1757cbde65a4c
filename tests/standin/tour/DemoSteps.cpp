#include "Tour.h"

namespace orvanel::standin {
namespace {

using namespace std::chrono_literals;

/// The program asks its status page every 30 s at most, and looks every 3 s.
constexpr auto untilNextReading = 75s;

/// What keeps the status item from saying `toolTip` in `color`.
QString itemDiffers(const Stage& stage, const QString& toolTip, const QString& color) {
    if (stage.toolTip() != toolTip) {
        return QStringLiteral("the icon should say \"%1\", but says \"%2\"").arg(toolTip, stage.toolTip());
    }
    if (stage.iconColor() != color) {
        return QStringLiteral("the icon should be %1, but is \"%2\"").arg(color, stage.iconColor());
    }
    return {};
}

std::function<QString(Stage&)> itemSays(const QString& toolTip, const QString& color) {
    return [=](Stage& stage) { return itemDiffers(stage, toolTip, color); };
}

QString notificationMissing(Stage& stage, const QString& summary) {
    for (const Notification& notification : stage.notifications().shown()) {
        if (notification.summary == summary) {
            return {};
        }
    }
    return QStringLiteral("there should be a notification \"%1\"").arg(summary);
}

QString firstOf(const QString& one, const QString& other) {
    return one.isEmpty() ? other : one;
}

void dismissNotifications(Stage& stage) {
    for (const Notification& notification : stage.notifications().shown()) {
        stage.notifications().dismiss(notification.id);
    }
}

std::function<void(Stage&)> openMenuAt(const QString& entry) {
    return [=](Stage& stage) {
        stage.openMenu();
        if (const auto found = stage.menuEntry(entry)) {
            stage.screen().pointAt(found->id);
        }
    };
}

/// The menu shows `entry`, which can be chosen.
std::function<QString(Stage&)> menuOffers(const QString& entry) {
    return [=](Stage& stage) {
        const auto found = stage.menuEntry(entry);
        return found && found->enabled ? QString() : QStringLiteral("the menu should offer \"%1\"").arg(entry);
    };
}

std::function<void(Stage&)> choose(const QString& entry) {
    return [=](Stage& stage) { stage.choose(entry); };
}

QString wordsMissing(Stage& stage, const QString& words) {
    return stage.reader().reads(words) ? QString() : QStringLiteral("a window should say \"%1\"").arg(words);
}

QString buttonMissing(Stage& stage, const QString& name) {
    return stage.hasButton(name) ? QString() : QStringLiteral("a window should offer the button \"%1\"").arg(name);
}

QString windowMissing(Stage& stage, const QString& title) {
    return stage.screen().windows().find(title) ? QString()
                                                : QStringLiteral("there should be a window \"%1\"").arg(title);
}

std::function<void(Stage&)> press(const QString& button) {
    return [=](Stage& stage) { stage.pressButton(button); };
}

std::function<QString(Stage&)> windowSays(const QString& title, const QString& words) {
    return [=](Stage& stage) { return firstOf(windowMissing(stage, title), wordsMissing(stage, words)); };
}

std::function<void(Stage&)> closeWindow(const QString& title) {
    return [=](Stage& stage) {
        auto& windows = stage.screen().windows();
        if (const WindowFrame* window = windows.find(title)) {
            windows.close(*window);
        }
    };
}

std::function<QString(Stage&)> windowIsClosed(const QString& title) {
    return [=](Stage& stage) {
        return stage.screen().windows().find(title) ? QStringLiteral("the window \"%1\" should be closed").arg(title)
                                                    : QString();
    };
}

std::vector<Step> firstOpening() {
    const auto guide = QStringLiteral("Welcome to Orvanel");
    const auto next = QStringLiteral("Next");
    const auto mainWindow = QStringLiteral("Orvanel");
    const auto startButton = QStringLiteral("Start Uptime Kuma");
    return {
        {.what = QStringLiteral("\"Open window\" opens the main window, the first time with the guide"),
         .act = choose(QStringLiteral("Open window")),
         .missing = windowSays(guide, QStringLiteral("A control panel for Uptime Kuma")),
         .picture = QStringLiteral("guide")},
        {.what = QStringLiteral("\"Next\" tells of Docker"),
         .act = press(next),
         .missing = windowSays(guide, QStringLiteral("It needs a Docker runtime")),
         .picture = QStringLiteral("guide-docker")},
        {.what = QStringLiteral("\"Next\" tells of the data"),
         .act = press(next),
         .missing = windowSays(guide, QStringLiteral("Everything stays on this Mac")),
         .picture = QStringLiteral("guide-data")},
        {.what = QStringLiteral("\"Get started\" leaves the main window, which offers to start"),
         .act = press(QStringLiteral("Get started")),
         .missing =
             [=](Stage& stage) {
                 return firstOf(windowIsClosed(guide)(stage),
                                firstOf(windowMissing(stage, mainWindow), buttonMissing(stage, startButton)));
             },
         .picture = QStringLiteral("window")},
    };
}

std::vector<Step> startingUp() {
    const auto start = QStringLiteral("Start");
    return {
        {.what = QStringLiteral("The program starts; its icon is gray: Uptime Kuma is stopped"),
         .act = [](Stage& stage) { stage.startProgram(); },
         .missing = itemSays(QStringLiteral("Uptime Kuma is stopped"), QStringLiteral("gray")),
         .picture = QStringLiteral("stopped")},
        {.what = QStringLiteral("The menu of the icon offers to start it"),
         .act = openMenuAt(start),
         .missing = menuOffers(start),
         .picture = QStringLiteral("menu")},
    };
}

std::vector<Step> firstStart() {
    return {
        {.what = QStringLiteral("\"Start Uptime Kuma\" downloads the image, and its log grows"),
         .act = press(QStringLiteral("Start Uptime Kuma")),
         .missing =
             [](Stage& stage) {
                 return firstOf(
                     itemDiffers(stage, QStringLiteral("Downloading the Uptime Kuma image"), QStringLiteral("gray")),
                     wordsMissing(stage, QStringLiteral("Pull complete")));
             },
         .picture = QStringLiteral("download")},
        {.what = QStringLiteral("The container runs, and its page is awaited"),
         .missing =
             [](Stage& stage) {
                 return firstOf(
                     itemDiffers(stage, QStringLiteral("Uptime Kuma is starting…"), QStringLiteral("gray")),
                     wordsMissing(stage, QStringLiteral("The dashboard button unlocks when the page answers.")));
             },
         .picture = QStringLiteral("starting")},
        {.what = QStringLiteral("The page answers: all monitors are up, and the icon is green"),
         .missing =
             [](Stage& stage) {
                 return firstOf(itemDiffers(stage, QStringLiteral("All 5 monitors up"), QStringLiteral("green")),
                                wordsMissing(stage, QStringLiteral("Photo library")));
             },
         .picture = QStringLiteral("all-up")},
    };
}

std::vector<Step> otherWindows() {
    const auto logs = QStringLiteral("Uptime Kuma Logs");
    const auto settings = QStringLiteral("Settings");
    return {
        {.what = QStringLiteral("\"Logs\" shows what Uptime Kuma says"),
         .act = press(QStringLiteral("Logs")),
         .missing = windowSays(logs, QStringLiteral("Listening on")),
         .picture = QStringLiteral("logs")},
        {.what = QStringLiteral("Its window closes"), .act = closeWindow(logs), .missing = windowIsClosed(logs)},
        {.what = QStringLiteral("\"Settings\" opens the settings"),
         .act = press(settings),
         .missing = windowSays(settings, QStringLiteral("Newest release: not checked yet")),
         .picture = QStringLiteral("settings")},
        {.what = QStringLiteral("\"Check for updates\" finds a newer version, and it can be installed"),
         .act = press(QStringLiteral("Check for updates")),
         .missing =
             [](Stage& stage) {
                 return firstOf(wordsMissing(stage, QStringLiteral("Newest release: 2.1.0")),
                                buttonMissing(stage, QStringLiteral("Update")));
             },
         .picture = QStringLiteral("update")},
        {.what = QStringLiteral("Its window closes"),
         .act = closeWindow(settings),
         .missing = windowIsClosed(settings)},
    };
}

std::vector<Step> monitorsChange() {
    return {
        {.what = QStringLiteral("The online shop goes down: a notification, and the icon is red"),
         .act = [](Stage& stage) { stage.setMonitors(QStringLiteral("one-down")); },
         .missing =
             [](Stage& stage) {
                 return firstOf(itemDiffers(stage, QStringLiteral("1 down, 4 up"), QStringLiteral("red")),
                                firstOf(notificationMissing(stage, QStringLiteral("Online shop is down")),
                                        wordsMissing(stage, QStringLiteral("Down"))));
             },
         .picture = QStringLiteral("one-down"),
         .limit = untilNextReading},
        {.what = QStringLiteral("The online shop comes back: another notification, and the icon is green again"),
         .act =
             [](Stage& stage) {
                 dismissNotifications(stage);
                 stage.setMonitors(QStringLiteral("all-up"));
             },
         .missing =
             [](Stage& stage) {
                 return firstOf(itemDiffers(stage, QStringLiteral("All 5 monitors up"), QStringLiteral("green")),
                                notificationMissing(stage, QStringLiteral("Online shop is back up")));
             },
         .picture = QStringLiteral("back-up"),
         .limit = untilNextReading},
    };
}

std::vector<Step> endingIt() {
    const auto stop = QStringLiteral("Stop");
    const auto quit = QStringLiteral("Quit");
    return {
        {.what = QStringLiteral("The menu offers the dashboard, and to stop"),
         .act =
             [=](Stage& stage) {
                 dismissNotifications(stage);
                 openMenuAt(stop)(stage);
             },
         .missing =
             [=](Stage& stage) {
                 return firstOf(menuOffers(stop)(stage), menuOffers(QStringLiteral("Open dashboard"))(stage));
             },
         .picture = QStringLiteral("menu-running")},
        {.what = QStringLiteral("\"Stop\" stops it, and the icon is gray again"),
         .act = choose(stop),
         .missing = itemSays(QStringLiteral("Uptime Kuma is stopped"), QStringLiteral("gray")),
         .picture = QStringLiteral("stopped-again"),
         .limit = 60s},
        {.what = QStringLiteral("Closing the window leaves the icon"),
         .act = closeWindow(QStringLiteral("Orvanel")),
         .missing =
             [](Stage& stage) {
                 return firstOf(stage.screen().windows().frames().empty()
                                    ? QString()
                                    : QStringLiteral("the window should be closed"),
                                itemDiffers(stage, QStringLiteral("Uptime Kuma is stopped"), QStringLiteral("gray")));
             }},
        {.what = QStringLiteral("\"Quit\" ends the program"),
         .act = choose(quit),
         .missing =
             [](Stage& stage) {
                 if (!stage.endedWell()) {
                     return firstOf(stage.end(), QStringLiteral("the program should have ended"));
                 }
                 return stage.statusArea().item() ? QStringLiteral("its icon should be gone") : QString();
             },
         .picture = QStringLiteral("end"),
         .programEnds = true},
    };
}

} // namespace

std::vector<Step> demoSteps() {
    std::vector<Step> steps = startingUp();
    for (const auto& part : {firstOpening(), firstStart(), otherWindows(), monitorsChange(), endingIt()}) {
        steps.insert(steps.end(), part.begin(), part.end());
    }
    return steps;
}

} // namespace orvanel::standin
