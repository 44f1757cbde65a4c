#include "ComposeCommands.h"

#include "ComposeFile.h"
#include "Engine.h"
#include "PullProgress.h"
#include "Words.h"

#include <memory>
#include <optional>
#include <utility>

namespace orvanel::standin {
namespace {

constexpr double overhead = 150; // ms that any compose command takes

/// One command on one project. The chain of its answers keeps it alive.
struct Project {
    std::string name;
    ComposeFile file;
    Host* host = nullptr;
    bool ownsContainer(const DockerState& state) const {
        return state.container && state.container->owner == Owner::compose;
    }
};

using Shared = std::shared_ptr<const Project>;

std::string event(const Shared& project, const char* word) {
    return " Container " + project->file.containerName + "  " + word + "\n";
}

std::string networkEvent(const Shared& project, const char* word) {
    return " Network " + project->name + "_default  " + word + "\n";
}

Answer cannotPullImage(const DockerState& state, const Shared& project) {
    const std::string reason = words::cannotPull(state, project->file.image);
    Answer answer{.exitCode = 18};
    answer.say(Stream::err, " " + project->file.service + " Error " + reason,
               paced(state, state.registry == Registry::silent ? 15000 : 100));
    return answer.say(Stream::err, "Error response from daemon: " + reason);
}

/// Downloads the image, and then goes on with `next`.
Answer download(const DockerState& state, const Shared& project, std::function<Answer(DockerState&)> next) {
    const auto id = engine::inRegistry(state, project->file.image);
    Answer answer;
    answer.say(Stream::err, " " + project->file.service + " Pulling \n", paced(state, overhead));
    if (state.registry != Registry::up || !id) {
        Answer failed = cannotPullImage(state, project);
        failed.pieces.insert(failed.pieces.begin(), answer.pieces.begin(), answer.pieces.end());
        return failed;
    }
    if (engine::isNewer(state, project->file.image)) {
        const auto lines = composePullProgress(state);
        answer.pieces.insert(answer.pieces.end(), lines.begin(), lines.end());
    }
    answer.then = [project, id = *id, next = std::move(next)](DockerState& later) {
        if (later.diskFull) {
            return failure(1, "failed to register layer: write /app/node_modules: no space left on device\n");
        }
        later.images[project->file.image] = id;
        Answer done;
        done.say(Stream::err, " " + project->file.service + " Pulled \n");
        done.then = next;
        return done;
    };
    return answer;
}

Answer start(DockerState& state, const Shared& project) {
    Answer answer;
    answer.say(Stream::err, event(project, "Starting"));
    const auto error = engine::start(state, *project->host);
    if (error) {
        answer.exitCode = 1;
        return answer.say(Stream::err, *error, paced(state, 200));
    }
    return answer.say(Stream::err, event(project, "Started"), paced(state, 400));
}

Container described(const DockerState& state, const Shared& project) {
    const ComposeFile& file = project->file;
    return {.image = file.image,
            .imageId = state.images.at(file.image),
            .port = file.port,
            .data = file.data,
            .restartPolicy = file.restartPolicy};
}

Answer createAndStart(DockerState& state, const Shared& project) {
    Answer answer;
    if (!state.network) {
        state.network = true;
        answer.say(Stream::err, networkEvent(project, "Creating"), paced(state, overhead));
        answer.say(Stream::err, networkEvent(project, "Created"), paced(state, 60));
    }
    answer.say(Stream::err, event(project, "Creating"));
    if (state.container) {
        answer.exitCode = 1;
        return answer.say(Stream::err, words::nameConflict(*state.container));
    }
    engine::create(state, described(state, project));
    answer.say(Stream::err, event(project, "Created"), paced(state, 60));
    answer.then = [project](DockerState& later) { return start(later, project); };
    return answer;
}

bool isAsDescribed(const DockerState& state, const Shared& project) {
    const Container& container = *state.container;
    const Container wanted = described(state, project);
    return container.image == wanted.image && container.imageId == wanted.imageId && container.port == wanted.port &&
           (container.data.empty() || container.data == wanted.data);
}

Answer recreate(DockerState& state, const Shared& project) {
    Answer answer;
    answer.say(Stream::err, event(project, "Recreate"), paced(state, overhead));
    const double time = engine::stopTime(state);
    answer.waitFor = engine::beginStop(state, *project->host);
    answer.say(Stream::err, "", paced(state, time));
    answer.then = [project](DockerState& later) {
        if (project->ownsContainer(later)) {
            engine::remove(later, *project->host);
        }
        if (later.container || !later.images.contains(project->file.image)) {
            return createAndStart(later, project);
        }
        engine::create(later, described(later, project));
        Answer recreated;
        recreated.say(Stream::err, event(project, "Recreated"));
        recreated.then = [project](DockerState& last) { return start(last, project); };
        return recreated;
    };
    return answer;
}

Answer bringUp(DockerState& state, const Shared& project) {
    if (!state.images.contains(project->file.image)) {
        return download(state, project, [project](DockerState& later) { return bringUp(later, project); });
    }
    if (!project->ownsContainer(state)) {
        return createAndStart(state, project);
    }
    if (!isAsDescribed(state, project)) {
        return recreate(state, project);
    }
    if (state.container->state == "running" || state.container->state == "restarting") {
        Answer answer;
        return answer.say(Stream::err, event(project, "Running"), paced(state, overhead));
    }
    return start(state, project);
}

Answer stop(DockerState& state, const Shared& project, std::function<Answer(DockerState&)> next) {
    if (!project->ownsContainer(state)) {
        return next ? next(state) : Answer{};
    }
    Answer answer;
    answer.say(Stream::err, event(project, "Stopping"), paced(state, overhead));
    const double time = engine::stopTime(state);
    answer.waitFor = engine::beginStop(state, *project->host);
    answer.say(Stream::err, "", paced(state, time));
    answer.onTerm.daemonCarriesOn = true;
    answer.then = [project, id = state.container->id, next = std::move(next)](DockerState& later) {
        engine::endStop(later, id, *project->host);
        Answer stopped;
        stopped.say(Stream::err, event(project, "Stopped"));
        stopped.then = next;
        return stopped;
    };
    return answer;
}

Answer takeDown(DockerState& state, const Shared& project) {
    Answer answer;
    if (project->ownsContainer(state)) {
        engine::remove(state, *project->host);
        answer.say(Stream::err, event(project, "Removing"));
        answer.say(Stream::err, event(project, "Removed"), paced(state, 60));
    }
    if (std::exchange(state.network, false)) {
        answer.say(Stream::err, networkEvent(project, "Removing"));
        answer.say(Stream::err, networkEvent(project, "Removed"), paced(state, 200));
    }
    return answer;
}

Answer command(DockerState& state, const std::string& verb, const Shared& project) {
    const bool refused = state.daemon == Daemon::denied;
    if (refused || state.daemon == Daemon::down) {
        const std::string prefix = verb == "pull" ? "unable to get image '" + project->file.image + "': " : "";
        return failure(1, prefix + (refused ? words::permissionDenied() : words::cannotConnect()));
    }
    if (verb == "pull") {
        return download(state, project, {});
    }
    if (verb == "up") {
        return bringUp(state, project);
    }
    if (verb == "stop") {
        return stop(state, project, {});
    }
    return stop(state, project, [project](DockerState& later) { return takeDown(later, project); });
}

} // namespace

Answer answerCompose(DockerState& state, const Arguments& arguments, Host& host) {
    if (arguments.at(1) == "version") {
        Answer answer;
        return answer.say(Stream::out, "Docker Compose version v2.26.1\n", paced(state, 80));
    }
    const std::string& path = arguments.at(4);
    const auto text = host.readFile(path);
    if (!text) {
        return failure(14, "open " + path + ": no such file or directory\n");
    }
    auto project = std::make_shared<Project>();
    project->name = arguments.at(2);
    project->host = &host;
    try {
        project->file = composeFileFromText(*text, path);
    } catch (const std::runtime_error& error) {
        return failure(15, std::string(error.what()) + "\n");
    }
    Answer answer = command(state, arguments.at(5), project);
    answer.onTerm.exitCode = 130;
    answer.onTerm.err = "canceled\n";
    return answer;
}

Answer answerWithoutCompose(const DockerState& state, const Arguments& arguments) {
    for (const std::string& argument : arguments) {
        if (argument.starts_with('-')) {
            return failure(125, words::unknownFlag(state.client, argument, ""));
        }
    }
    return failure(1, words::unknownCommand(state.client, "compose"));
}

} // namespace orvanel::standin
