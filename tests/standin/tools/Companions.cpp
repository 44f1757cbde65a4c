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

} // namespace orvanel::standin
