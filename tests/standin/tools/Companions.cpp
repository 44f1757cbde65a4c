#include "Companions.h"

#include <sstream>

namespace orvanel::standin {

Answer answerBrewInstall(DockerState& state, Host& host) {
    Answer answer;
    answer.say(Stream::out, "==> Fetching downloads for: colima and docker\n", paced(state, 900));
    for (const char* formula : {"colima", "docker"}) {
        answer.say(Stream::out, std::string("==> Fetching ") + formula + "\n", paced(state, 700));
        answer.say(Stream::out, std::string("==> Downloading the bottle of ") + formula + "\n", paced(state, 300));
    }
    answer.then = [world = &host](DockerState& later) {
        Answer installed;
        std::istringstream tools(later.brewBrings);
        for (std::string tool; tools >> tool;) {
            world->installTool(tool, later.brewFolder);
            installed.say(Stream::out, "==> Installing " + tool + "\n", paced(later, 600));
            installed.say(Stream::out, "==> Summary\n  /usr/local/Cellar/" + tool + "\n", paced(later, 600));
        }
        return installed;
    };
    return answer;
}

Answer answerColimaStart(DockerState& state) {
    struct Line {
        double milliseconds;
        const char* text;
    };
    static constexpr Line lines[] = {
        {200, "starting colima"},
        {100, "runtime: docker"},
        {900, "creating and starting ...                     context=vm"},
        {8000, "provisioning ...                              context=docker"},
        {1500, "starting ...                                  context=docker"},
    };
    Answer answer;
    for (const Line& line : lines) {
        answer.say(Stream::err, std::string("time=\"2026-11-21T03:08:27Z\" level=info msg=\"") + line.text + "\"\n",
                   paced(state, line.milliseconds));
    }
    answer.then = [](DockerState& later) {
        if (later.colimaDelay == 0) {
            later.daemon = Daemon::up;
        }
        later.daemonUpAfter = later.colimaDelay > 0 ? later.colimaDelay : -1;
        Answer done;
        return done.say(Stream::err, "time=\"2026-11-21T03:08:38Z\" level=info msg=done\n", paced(later, 1000));
    };
    return answer;
}

namespace {

/// Only one who was refused is let in; a daemon that is down stays so.
Answer letIn(DockerState& state) {
    Answer answer;
    answer.say(Stream::out, "$ /usr/bin/gpasswd -a ann docker\nAdding user ann to group docker\n", paced(state, 300));
    answer.then = [](DockerState& later) {
        if (later.daemon == Daemon::denied) {
            later.daemon = Daemon::up;
        }
        Answer done;
        return done.say(Stream::out, "ann may use Docker now.\n", paced(later, 200));
    };
    return answer;
}

} // namespace

Answer answerInstall(DockerState& state, Host& host) {
    struct Line {
        double milliseconds;
        const char* text;
    };
    static constexpr Line lines[] = {
        {1500, "$ /usr/bin/apt-get -y -q install docker.io"},
        {400, "Reading package lists..."},
        {300, "The following NEW packages will be installed:"},
        {100, "  containerd docker.io runc"},
        {2500, "Fetched 64.9 MB in 2s (29.8 MB/s)"},
        {1500, "Setting up containerd (1.6.20) ..."},
        {1500, "Setting up docker.io (20.10.24) ..."},
        {200, "$ /usr/bin/systemctl start docker.service"},
    };
    Answer answer;
    for (const Line& line : lines) {
        answer.say(Stream::out, std::string(line.text) + "\n", paced(state, line.milliseconds));
    }
    answer.then = [world = &host](DockerState& later) {
        world->installTool("docker", later.brewFolder);
        later.daemon = Daemon::up;
        return letIn(later);
    };
    return answer;
}

Answer answerJoin(DockerState& state) {
    return letIn(state);
}

Answer answerJournal() {
    Answer answer;
    return answer.say(Stream::out, "Nov 21 03:08:27 computer dockerd[812]: failed to start daemon: no room\n");
}

} // namespace orvanel::standin
