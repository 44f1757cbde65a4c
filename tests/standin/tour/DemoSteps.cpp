#include "Tour.h"

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

using namespace std::chrono_literals;

/// The program asks its status page every 30 s at most, and looks every 3 s.
constexpr auto untilNextReading = 75s;

/// The program looks every 3 s, so it sees several shares.
const QByteArray convertsItsData = "conversion ms=9000 clearing=1000\n";

/// Says how the status item differs from `toolTip` and `color`; empty if it does not.
QString itemDiffers(const Stage& stage, const QString& toolTip, const QString& color) {
    if (stage.toolTip() != toolTip) {
        return u"the icon should say \"%1\", but says \"%2\""_s.arg(toolTip, stage.toolTip());
    }
    if (stage.iconColor() != color) {
        return u"the icon should be %1, but is \"%2\""_s.arg(color, stage.iconColor());
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
    return u"there should be a notification \"%1\""_s.arg(summary);
}

QString firstOf(const QString& one, const QString& other) {
    return one.isEmpty() ? other : one;
}

void dismissNotifications(Stage& stage) {
    for (const Notification& notification : stage.notifications().shown()) {
        stage.notifications().dismiss(notification.id);
    }
}

/// What a step does, or a sentence about what it misses.
using Act = std::function<QString(Stage&)>;

Act openMenuAt(const QString& entry) {
    return [=](Stage& stage) {
        stage.openMenu();
        if (const auto found = stage.menuEntry(entry)) {
            stage.screen().pointAt(found->id);
        }
        return QString();
    };
}

/// Checks that the menu shows `entry` and that it can be chosen.
std::function<QString(Stage&)> menuOffers(const QString& entry) {
    return [=](Stage& stage) {
        const auto found = stage.menuEntry(entry);
        return found && found->enabled ? QString() : u"the menu should offer \"%1\""_s.arg(entry);
    };
}

Act choose(const QString& entry) {
    return [=](Stage& stage) {
        QString missing = menuOffers(entry)(stage);
        if (missing.isEmpty()) {
            stage.choose(entry);
        }
        return missing;
    };
}

QString wordsMissing(Stage& stage, const QString& words) {
    return stage.reader().reads(words) ? QString() : u"a window should say \"%1\""_s.arg(words);
}

QString buttonMissing(Stage& stage, const QString& name) {
    return stage.button(name) ? QString() : u"a window should offer the button \"%1\""_s.arg(name);
}

QString windowMissing(Stage& stage, const QString& title) {
    return stage.screen().windows().find(title) ? QString() : u"there should be a window \"%1\""_s.arg(title);
}

Act pressOnce(const std::function<std::optional<ScreenElement>(Stage&)>& find, const QString& name) {
    return [=](Stage& stage) {
        const auto found = find(stage);
        if (!found) {
            return u"a window should offer \"%1\""_s.arg(name);
        }
        stage.reader().press(*found);
        return QString();
    };
}

Act press(const QString& button) {
    return pressOnce([=](Stage& stage) { return stage.button(button); }, button);
}

Act flip(const QString& toggle) {
    return pressOnce([=](Stage& stage) { return stage.toggle(toggle); }, toggle);
}

Act answer(const QString& question, const QString& button) {
    return pressOnce([=](Stage& stage) { return stage.button(button, question); }, button);
}

std::function<QString(Stage&)> windowSays(const QString& title, const QString& words) {
    return [=](Stage& stage) { return firstOf(windowMissing(stage, title), wordsMissing(stage, words)); };
}

Act closeWindow(const QString& title) {
    return [=](Stage& stage) {
        auto& windows = stage.screen().windows();
        if (const WindowFrame* window = windows.find(title)) {
            windows.close(*window);
        }
        return QString();
    };
}

std::function<QString(Stage&)> windowIsClosed(const QString& title) {
    return [=](Stage& stage) {
        return stage.screen().windows().find(title) ? u"the window \"%1\" should be closed"_s.arg(title) : QString();
    };
}

/// Checks that the main window lists the monitors with their strips of heartbeats.
QString allUp(Stage& stage) {
    return firstOf(
        itemDiffers(stage, u"All 5 monitors up"_s, u"green"_s),
        firstOf(wordsMissing(stage, u"Photo library"_s), wordsMissing(stage, u"last 50 heartbeats: 50 up"_s)));
}

std::vector<Step> firstOpening() {
    const auto guide = u"Welcome to Orvanel"_s;
    const auto next = u"Next"_s;
    const auto mainWindow = u"Orvanel"_s;
    const auto installButton = u"Install Docker"_s;
    return {
        {.what = u"\"Open window\" opens the main window, the first time with the guide"_s,
         .act = choose(u"Open window"_s),
         .missing = windowSays(guide, u"A control panel for Uptime Kuma"_s),
         .picture = u"guide"_s},
        {.what = u"\"Next\" tells of Docker"_s,
         .act = press(next),
         .missing = windowSays(guide, u"It needs a Docker runtime"_s),
         .picture = u"guide-docker"_s},
        {.what = u"\"Next\" tells of the data"_s,
         .act = press(next),
         .missing = windowSays(guide, u"Everything stays on this Mac"_s),
         .picture = u"guide-data"_s},
        {.what = u"\"Get started\" leaves the main window, which offers to install Docker"_s,
         .act = press(u"Get started"_s),
         .missing =
             [=](Stage& stage) {
                 return firstOf(windowIsClosed(guide)(stage),
                                firstOf(windowMissing(stage, mainWindow), buttonMissing(stage, installButton)));
             },
         .picture = u"docker-missing"_s},
    };
}

std::vector<Step> startingUp() {
    return {
        {.what = u"The program starts; its icon is gray: Docker is not installed"_s,
         .act =
             [](Stage& stage) {
                 stage.startProgram();
                 return QString();
             },
         .missing = itemSays(u"Docker is not installed"_s, u"gray"_s),
         .picture = u"no-docker"_s},
    };
}

std::vector<Step> installingDocker() {
    const auto start = u"Start"_s;
    const auto startButton = u"Start Uptime Kuma"_s;
    return {
        {.what = u"\"Install Docker\" installs it with the package manager, and its log grows"_s,
         .act = press(u"Install Docker"_s),
         .missing = [](Stage& stage) { return wordsMissing(stage, u"containerd docker.io"_s); },
         .picture = u"installing"_s},
        {.what = u"Docker answers, and the window offers to start Uptime Kuma"_s,
         .missing =
             [=](Stage& stage) {
                 return firstOf(itemDiffers(stage, u"Uptime Kuma is stopped"_s, u"gray"_s),
                                buttonMissing(stage, startButton));
             },
         .picture = u"window"_s},
        {.what = u"The menu of the icon offers to start it, too"_s,
         .act = openMenuAt(start),
         .missing = menuOffers(start),
         .picture = u"menu"_s},
    };
}

std::vector<Step> firstStart() {
    return {
        {.what = u"\"Start\" downloads the image, and its log grows"_s,
         .act = choose(u"Start"_s),
         .missing =
             [](Stage& stage) {
                 return firstOf(itemDiffers(stage, u"Downloading the Uptime Kuma image"_s, u"gray"_s),
                                wordsMissing(stage, u"Pull complete"_s));
             },
         .picture = u"download"_s},
        {.what = u"The container runs, and its page is awaited"_s,
         .missing =
             [](Stage& stage) {
                 return firstOf(itemDiffers(stage, u"Uptime Kuma is starting…"_s, u"gray"_s),
                                wordsMissing(stage, u"The dashboard button unlocks when the page answers."_s));
             },
         .picture = u"starting"_s},
        {.what = u"The page answers: all monitors are up, and the icon is green"_s,
         .missing = allUp,
         .picture = u"all-up"_s},
    };
}

std::vector<Step> otherWindows() {
    const auto logs = u"Uptime Kuma Logs"_s;
    const auto settings = u"Settings"_s;
    return {
        {.what = u"\"Logs\" shows what Uptime Kuma says"_s,
         .act = press(u"Logs"_s),
         .missing = windowSays(logs, u"Listening on"_s),
         .picture = u"logs"_s},
        {.what = u"Its window closes"_s, .act = closeWindow(logs), .missing = windowIsClosed(logs)},
        {.what = u"\"Settings\" opens the settings"_s,
         .act = press(settings),
         .missing = windowSays(settings, u"Newest release: not checked yet"_s),
         .picture = u"settings"_s},
        {.what = u"\"Back up every day\" makes the first copy at once, beside the running server"_s,
         .act = flip(u"Back up every day"_s),
         .missing =
             [](Stage& stage) {
                 return firstOf(wordsMissing(stage, u"Last copy: "_s), wordsMissing(stage, u"One copy takes "_s));
             },
         .picture = u"daily-backup"_s},
        {.what = u"\"Check for updates\" finds a newer version, and it can be installed"_s,
         .act = press(u"Check for updates"_s),
         .missing =
             [](Stage& stage) {
                 return firstOf(wordsMissing(stage, u"Newest release: 2.1.0"_s), buttonMissing(stage, u"Update"_s));
             },
         .picture = u"update"_s},
    };
}

std::vector<Step> updating() {
    const auto settings = u"Settings"_s;
    const auto update = u"Update"_s;
    const auto question = u"Update Uptime Kuma to 2.1.0?"_s;
    return {
        {.what = u"\"Update\" asks first"_s,
         .act = press(update),
         .missing = [=](Stage& stage) { return wordsMissing(stage, question); },
         .picture = u"update-question"_s},
        {.what = u"The data is backed up, and the new version is downloaded"_s,
         .act =
             [=](Stage& stage) {
                 stage.setServerScript(convertsItsData);
                 return answer(question, update)(stage);
             },
         .missing = [](Stage& stage) { return wordsMissing(stage, u"Pull complete"_s); }},
        {.what = u"Its window closes"_s, .act = closeWindow(settings), .missing = windowIsClosed(settings)},
        {.what = u"The new version converts the data; the window says how far it is"_s,
         .missing =
             [](Stage& stage) {
                 return firstOf(wordsMissing(stage, u"Uptime Kuma is converting its data for the new version ("_s),
                                wordsMissing(stage, u" %). Do not stop it."_s));
             },
         .picture = u"converting"_s},
        {.what = u"The new version runs: all monitors are up"_s, .missing = allUp, .picture = u"updated"_s},
    };
}

std::vector<Step> goingBack() {
    const auto settings = u"Settings"_s;
    const auto goBack = u"Go back to 2…"_s;
    const auto question = u"Go back to Uptime Kuma 2?"_s;
    return {
        {.what = u"\"Settings\" names the new version"_s,
         .act = press(settings),
         .missing = windowSays(settings, u"Pinned image: louislam/uptime-kuma:2.1.0"_s)},
        {.what = u"\"Go back to 2…\" asks first"_s,
         .act = press(goBack),
         .missing = [=](Stage& stage) { return wordsMissing(stage, question); },
         .picture = u"go-back-question"_s},
        {.what = u"The data from before the update is put back, and the old version is pinned again"_s,
         .act = answer(question, u"Go Back"_s),
         .missing =
             [](Stage& stage) {
                 return stage.reader().reads(u"Pinned image: louislam/uptime-kuma:2.1.0"_s)
                            ? u"the old version should be pinned"_s
                            : wordsMissing(stage, u"Pinned image: louislam/uptime-kuma:2"_s);
             }},
        {.what = u"Its window closes"_s, .act = closeWindow(settings), .missing = windowIsClosed(settings)},
        {.what = u"The old version runs again: all monitors are up"_s, .missing = allUp, .picture = u"gone-back"_s},
    };
}

std::vector<Step> monitorsChange() {
    return {
        {.what = u"The online shop goes down: a notification, and the icon is red"_s,
         .act =
             [](Stage& stage) {
                 stage.setMonitors(u"one-down"_s);
                 return QString();
             },
         .missing =
             [](Stage& stage) {
                 return firstOf(
                     itemDiffers(stage, u"1 down, 4 up"_s, u"red"_s),
                     firstOf(notificationMissing(stage, u"Online shop is down"_s), wordsMissing(stage, u"Down"_s)));
             },
         .picture = u"one-down"_s,
         .limit = untilNextReading},
        {.what = u"The online shop comes back: another notification, and the icon is green again"_s,
         .act =
             [](Stage& stage) {
                 dismissNotifications(stage);
                 stage.setMonitors(u"all-up"_s);
                 return QString();
             },
         .missing =
             [](Stage& stage) {
                 return firstOf(itemDiffers(stage, u"All 5 monitors up"_s, u"green"_s),
                                notificationMissing(stage, u"Online shop is back up"_s));
             },
         .picture = u"back-up"_s,
         .limit = untilNextReading},
    };
}

std::vector<Step> endingIt() {
    const auto stop = u"Stop"_s;
    const auto quit = u"Quit"_s;
    return {
        {.what = u"The menu offers the dashboard, and to stop"_s,
         .act =
             [=](Stage& stage) {
                 dismissNotifications(stage);
                 return openMenuAt(stop)(stage);
             },
         .missing =
             [=](Stage& stage) { return firstOf(menuOffers(stop)(stage), menuOffers(u"Open dashboard"_s)(stage)); },
         .picture = u"menu-running"_s},
        {.what = u"\"Stop\" stops it, and the icon is gray again"_s,
         .act = choose(stop),
         .missing = itemSays(u"Uptime Kuma is stopped"_s, u"gray"_s),
         .picture = u"stopped-again"_s,
         .limit = 60s},
        {.what = u"Closing the window leaves the icon"_s,
         .act = closeWindow(u"Orvanel"_s),
         .missing =
             [](Stage& stage) {
                 return firstOf(stage.screen().windows().frames().empty() ? QString()
                                                                          : u"the window should be closed"_s,
                                itemDiffers(stage, u"Uptime Kuma is stopped"_s, u"gray"_s));
             }},
        {.what = u"\"Quit\" ends the program"_s,
         .act = choose(quit),
         .missing =
             [](Stage& stage) {
                 if (!stage.endedWell()) {
                     return firstOf(stage.end(), u"the program should have ended"_s);
                 }
                 return stage.statusArea().item() ? u"its icon should be gone"_s : QString();
             },
         .picture = u"end"_s,
         .programEnds = true},
    };
}

} // namespace

std::vector<Step> demoSteps() {
    std::vector<Step> steps = startingUp();
    for (const auto& part : {firstOpening(), installingDocker(), firstStart(), otherWindows(), updating(), goingBack(),
                             monitorsChange(), endingIt()}) {
        steps.insert(steps.end(), part.begin(), part.end());
    }
    return steps;
}

} // namespace orvanel::standin
