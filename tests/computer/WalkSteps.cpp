#include "WalkSteps.h"

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

using namespace std::chrono_literals;
using standin::Stage;
using standin::Step;
using Answer = AuthenticationAgent::Answer;

const auto installDocker = u"Install Docker"_s;
const auto startDocker = u"Start Docker"_s;
const auto letMeIn = u"Let me use Docker"_s;
const auto startServer = u"Start Uptime Kuma"_s;
const auto allUp = u"All 5 monitors up"_s;

/// What keeps a window from saying all of these words.
std::function<QString(Stage&)> says(const QStringList& words) {
    return [=](Stage& stage) {
        for (const QString& word : words) {
            if (!stage.reader().reads(word)) {
                return u"a window should say \"%1\""_s.arg(word);
            }
        }
        return QString();
    };
}

/// What keeps a window from offering the button.
std::function<QString(Stage&)> offers(const QString& button) {
    return [=](Stage& stage) {
        return stage.button(button) ? QString() : u"a window should offer the button \"%1\""_s.arg(button);
    };
}

std::function<QString(Stage&)> iconSays(const QString& toolTip) {
    return [=](Stage& stage) {
        return stage.toolTip() == toolTip
                   ? QString()
                   : u"the icon should say \"%1\", but says \"%2\""_s.arg(toolTip, stage.toolTip());
    };
}

/// Presses the button as soon as it can be pressed.
std::function<QString(Stage&)> press(const QString& button) {
    return [=](Stage& stage) {
        const auto found = stage.button(button);
        if (found) {
            stage.reader().press(*found);
        }
        return offers(button)(stage);
    };
}

/// The user presses the button, and deals with the question for the password in that way.
std::function<QString(Stage&)> pressAnd(Answer answer, const QString& button, AuthenticationAgent& agent) {
    return [=, &agent](Stage& stage) {
        agent.answerWith(answer);
        return press(button)(stage);
    };
}

std::function<QString(Stage&)> choose(const QString& entry) {
    return [=](Stage& stage) {
        const auto found = stage.menuEntry(entry);
        if (!found || !found->enabled) {
            return u"the menu should offer \"%1\""_s.arg(entry);
        }
        stage.choose(entry);
        return QString();
    };
}

std::vector<Step> opening(const QString& words) {
    return {
        {.what = u"The program starts in the status area"_s,
         .act =
             [](Stage& stage) {
                 stage.startProgram();
                 return QString();
             },
         .missing = [](Stage& stage) { return stage.statusArea().item() ? QString() : u"there should be an icon"_s; },
         .limit = 60s},
        {.what = u"Its window says \"%1\""_s.arg(words),
         .act = choose(u"Open window"_s),
         .missing = says({words}),
         .picture = u"window"_s,
         .limit = 60s},
    };
}

Step quitting() {
    return {.what = u"\"Quit\" ends the program, and the server keeps running"_s,
            .act = choose(u"Quit"_s),
            .missing = [](Stage& stage) { return stage.endedWell() ? QString() : u"the program should have ended"_s; },
            .programEnds = true};
}

Step allMonitorsUp(const QString& what) {
    return {.what = what, .missing = iconSays(allUp), .picture = u"all-up"_s, .limit = 120s};
}

std::vector<Step> withoutAgent() {
    return {
        {.what = u"Where no program asks for passwords, \"Install Docker\" says so"_s,
         .act = press(installDocker),
         .missing = says({u"This desktop has no program that asks for your password, so nothing was changed."_s}),
         .picture = u"no-agent"_s},
    };
}

std::vector<Step> installing(AuthenticationAgent& agent) {
    return {
        {.what = u"A wrong password installs nothing"_s,
         .act = pressAnd(Answer::wrongPassword, installDocker, agent),
         .missing = says({u"The password was not accepted"_s}),
         .picture = u"wrong-password"_s},
        {.what = u"A dismissed question installs nothing"_s,
         .act = pressAnd(Answer::dismissal, installDocker, agent),
         .missing = says({u"The question for your password was dismissed, so nothing was changed."_s}),
         .picture = u"dismissed"_s},
        {.what = u"With the password, the package manager's output is shown"_s,
         .act = pressAnd(Answer::password, installDocker, agent),
         .missing = says({u"$ "_s, u"docker.io"_s}),
         .picture = u"installing"_s,
         .limit = 60s},
        {.what = u"Docker answers at once, without another login"_s,
         .missing = offers(startServer),
         .picture = u"installed"_s,
         .limit = 240s},
        {.what = u"\"Start Uptime Kuma\" starts the server"_s,
         .act = press(startServer),
         .missing = says({u"Photo library"_s}),
         .limit = 120s},
        allMonitorsUp(u"All monitors are up, and the icon is green"_s),
    };
}

std::vector<Step> startingTheService(AuthenticationAgent& agent) {
    return {
        {.what = u"\"Start Docker\" with a wrong password starts nothing"_s,
         .act = pressAnd(Answer::wrongPassword, startDocker, agent),
         .missing = says({u"The password was not accepted"_s}),
         .picture = u"refused"_s,
         .limit = 60s},
        {.what = u"\"Start Docker\" asks for the password, and Docker answers"_s,
         .act = pressAnd(Answer::password, startDocker, agent),
         .missing = says({u"Photo library"_s}),
         .limit = 120s},
        allMonitorsUp(u"The server came up with Docker"_s),
    };
}

std::vector<Step> joining(AuthenticationAgent& agent) {
    return {
        {.what = u"\"Let me use Docker\" asks for the password, and the card goes away by itself"_s,
         .act = pressAnd(Answer::password, letMeIn, agent),
         .missing = says({u"Photo library"_s}),
         .limit = 60s},
        allMonitorsUp(u"Everything works without another login"_s),
    };
}

/// As an administrator does it on a terminal, from now on in the background.
std::function<QString(Stage&)> command(const QString& words, AuthenticationAgent& agent) {
    return [=, &agent](Stage& /*stage*/) {
        auto* const sudo = new QProcess(&agent);
        QObject::connect(sudo, &QProcess::finished, sudo, &QObject::deleteLater);
        sudo->start(u"sudo"_s, u"--stdin --prompt= --reset-timestamp "_s.append(words).split(u' '));
        sudo->write(agent.password().toUtf8() + '\n');
        sudo->closeWriteChannel();
        return QString();
    };
}

/// The socket that was opened for this login is replaced by one that is not.
std::vector<Step> restarting(AuthenticationAgent& agent) {
    return {
        {.what = u"Docker is restarted in the same login, and the way in is offered again"_s,
         .act = command(u"systemctl restart docker.service docker.socket"_s, agent),
         .missing = offers(letMeIn),
         .picture = u"restarted"_s,
         .limit = 60s},
        {.what = u"\"Let me use Docker\" lets the user in again"_s,
         .act = pressAnd(Answer::password, letMeIn, agent),
         .missing = says({u"Photo library"_s}),
         .limit = 60s},
        allMonitorsUp(u"Everything works again"_s),
    };
}

std::vector<Step> startingTheUsersOwn(const AuthenticationAgent& agent) {
    const auto missing = [&agent](Stage& stage) {
        return agent.questions().isEmpty() ? offers(startServer)(stage) : u"nobody should ask for a password"_s;
    };
    return {
        {.what = u"\"Start Docker\" starts the engine of the user's own without a password"_s,
         .act = press(startDocker),
         .missing = missing,
         .picture = u"started"_s,
         .limit = 60s},
        {.what = u"\"Start Uptime Kuma\" starts the server in it"_s,
         .act = press(startServer),
         .missing = says({u"Photo library"_s}),
         .limit = 120s},
        allMonitorsUp(u"All monitors are up"_s),
    };
}

std::vector<Step> joined(std::initializer_list<std::vector<Step>> parts) {
    std::vector<Step> steps;
    for (const auto& part : parts) {
        steps.insert(steps.end(), part.begin(), part.end());
    }
    steps.push_back(quitting());
    return steps;
}

} // namespace

std::vector<Step> walkSteps(Part part, AuthenticationAgent& agent) {
    const auto notInstalled = u"One click installs Docker with this computer's own package manager"_s;
    const auto notRunning = u"Docker is installed, but its service is not running."_s;
    switch (part) {
    case Part::withoutAgent:
        return joined({opening(notInstalled), withoutAgent()});
    case Part::install:
        return joined({opening(notInstalled), installing(agent)});
    case Part::again:
        return joined({opening(u"Photo library"_s), {allMonitorsUp(u"The server still runs after the new login"_s)}});
    case Part::service:
        return joined({opening(notRunning), startingTheService(agent)});
    case Part::group:
        return joined({opening(u"One click adds you to the group “docker”"_s), joining(agent), restarting(agent)});
    case Part::rootless:
        return joined({opening(notRunning), startingTheUsersOwn(agent)});
    }
    return {};
}

} // namespace orvanel::test
