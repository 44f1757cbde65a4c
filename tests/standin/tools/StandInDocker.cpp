#include "StandInDocker.h"

#include "Companions.h"
#include "ComposeCommands.h"
#include "Engine.h"
#include "PlainCommands.h"
#include "PodmanCommands.h"
#include "Words.h"

#include <algorithm>

namespace orvanel::standin {
namespace {

/// A call that the stand-in knows. "*" stands for any one argument, "…" for any number of them.
struct Form {
    const char* tool;
    const char* name;
    Arguments arguments;
};

const std::vector<Form>& forms() {
    static const std::vector<Form> all{
        {"docker", "info", {"info"}},
        {"docker", "compose version", {"compose", "version"}},
        {"docker", "inspect", {"inspect", "-f", "{{.State.Status}}", "*"}},
        {"docker",
         "inspect mounts",
         {"inspect", "-f", "{{range .Mounts}}{{.Source}}:{{.Destination}}{{println}}{{end}}", "*"}},
        {"docker", "stop", {"stop", "orvanel"}},
        {"docker", "unpause", {"unpause", "orvanel"}},
        {"docker", "rm", {"rm", "-f", "orvanel"}},
        {"docker", "logs", {"logs", "--tail", "300", "orvanel"}},
        {"docker", "end of the log", {"logs", "--tail", "50", "orvanel"}},
        {"docker", "image inspect", {"image", "inspect", "*"}},
        {"docker", "pull", {"pull", "*"}},
        {"docker", "run", {"run", "-d", "…"}},
        {"docker", "ps", {"ps"}},
        {"docker", "compose pull", {"compose", "-p", "*", "-f", "*", "pull"}},
        {"docker", "compose up", {"compose", "-p", "*", "-f", "*", "up", "-d"}},
        {"docker", "compose stop", {"compose", "-p", "*", "-f", "*", "stop"}},
        {"docker", "compose down", {"compose", "-p", "*", "-f", "*", "down"}},
        {"brew", "brew install", {"install", "colima", "docker"}},
        {"colima", "colima start", {"start"}},
        {"pkexec", "pkexec install", {"--disable-internal-agent", "*", "install"}},
        {"pkexec", "pkexec join", {"--disable-internal-agent", "*", "join"}},
        {"journalctl", "journalctl", {"--no-pager", "--quiet", "--lines", "20", "*", "*"}},
    };
    return all;
}

bool fits(const Form& form, const std::string& tool, const Arguments& arguments) {
    if (tool != form.tool) {
        return false;
    }
    const bool isOpen = form.arguments.back() == "…";
    const std::size_t count = form.arguments.size() - (isOpen ? 1 : 0);
    if (isOpen ? arguments.size() < count : arguments.size() != count) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (form.arguments[i] != "*" && form.arguments[i] != arguments[i]) {
            return false;
        }
    }
    return true;
}

std::optional<Override> takeOverride(DockerState& state, const std::string& command) {
    const auto found = std::find_if(state.overrides.begin(), state.overrides.end(),
                                    [&](const Override& one) { return one.command == command && one.times != 0; });
    if (found == state.overrides.end()) {
        return std::nullopt;
    }
    const Override taken = *found;
    if (found->times > 0 && --found->times == 0) {
        state.overrides.erase(found);
    }
    return taken;
}

Answer unknownCall(const DockerState& state, const std::string& tool, const Arguments& arguments) {
    const std::string first = arguments.empty() ? std::string() : arguments.front();
    if (tool != "docker") {
        return failure(1, "Error: Unknown command: " + tool + " " + first + "\n");
    }
    if (first.starts_with('-')) {
        return failure(125, words::unknownFlag(state.client, first, ""));
    }
    return failure(1, words::unknownCommand(state.client, first));
}

OnTerm onTermOf(const std::string& name) {
    return name.starts_with("compose ") ? OnTerm{.exitCode = 130, .err = "canceled\n"} : OnTerm{};
}

Answer afterWarning(const DockerState& state, Answer answer) {
    if (!state.warning.empty()) {
        answer.pieces.insert(answer.pieces.begin(), {{}, Stream::err, state.warning});
    }
    return answer;
}

Answer dockerAnswer(const std::string& name, DockerState& state, const Arguments& arguments, Host& host) {
    engine::catchUp(state, host);
    if (state.client == Client::podman) {
        return afterWarning(state, answerPodman(name, state, arguments, host));
    }
    const bool isCompose = name.starts_with("compose ");
    if (isCompose && !state.compose) {
        return answerWithoutCompose(state, arguments);
    }
    if (state.daemon == Daemon::hangs) {
        return {.hangs = true, .onTerm = onTermOf(name)};
    }
    return afterWarning(state,
                        isCompose ? answerCompose(state, arguments, host) : answerPlain(name, state, arguments, host));
}

Answer ordinaryAnswer(const std::string& name, const std::string& tool, DockerState& state, const Arguments& arguments,
                      Host& host) {
    if (tool == "brew") {
        return answerBrewInstall(state, host);
    }
    if (tool == "colima") {
        return answerColimaStart(state);
    }
    if (tool == "pkexec") {
        return name == "pkexec install" ? answerInstall(state, host) : answerJoin(state);
    }
    if (tool == "journalctl") {
        return answerJournal();
    }
    return dockerAnswer(name, state, arguments, host);
}

Answer overridden(const Override& one, const std::string& name, std::function<Answer(DockerState&)> ordinary) {
    Answer answer;
    answer.onTerm = onTermOf(name);
    answer.onTerm.ignored = one.ignoresTerm;
    answer.hangs = one.hangs;
    answer.say(Stream::out, one.out, std::chrono::milliseconds(one.delay));
    answer.say(Stream::err, one.err);
    if (one.exitCode || !one.out.empty() || !one.err.empty()) {
        answer.exitCode = one.exitCode.value_or(0);
    } else if (!one.hangs) {
        answer.then = std::move(ordinary);
    }
    return answer;
}

} // namespace

std::optional<std::string> commandName(const std::string& tool, const Arguments& arguments) {
    for (const Form& form : forms()) {
        if (fits(form, tool, arguments)) {
            return form.name;
        }
    }
    return std::nullopt;
}

Answer answer(const std::string& tool, DockerState& state, const Arguments& arguments, Host& host) {
    const auto name = commandName(tool, arguments);
    if (!name) {
        return unknownCall(state, tool, arguments);
    }
    const auto ordinary = [=, name = *name, world = &host](DockerState& later) {
        return ordinaryAnswer(name, tool, later, arguments, *world);
    };
    const auto taken = takeOverride(state, *name);
    return taken ? overridden(*taken, *name, ordinary) : ordinary(state);
}

} // namespace orvanel::standin
