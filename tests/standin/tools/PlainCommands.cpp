#include "PlainCommands.h"

#include "ComposeFile.h"
#include "Engine.h"
#include "PullProgress.h"
#include "RunOrder.h"
#include "Words.h"

#include <optional>
#include <sstream>

namespace orvanel::standin {
namespace {

/// The daemon's reason to refuse a command, if it has one.
std::optional<std::string> refusal(const DockerState& state) {
    if (state.daemon == Daemon::down) {
        return words::cannotConnect();
    }
    if (state.daemon == Daemon::denied) {
        return words::permissionDenied();
    }
    return std::nullopt;
}

Answer runFailure(const DockerState& state, const std::string& error) {
    return failure(125, words::runFailed(state.client, error));
}

Answer info(const DockerState& state) {
    std::string client = "Client:\n";
    if (state.client == Client::v28) {
        client += " Version:    28.2.2\n";
    }
    client += " Context:    default\n Debug Mode: false\n\nServer:\n";
    const auto refused = refusal(state);
    Answer answer;
    if (!refused) {
        client += " Containers: " + std::to_string(state.container ? 1 : 0) +
                  "\n Images: " + std::to_string(state.images.size()) +
                  "\n Server Version: 20.10.24\n Storage Driver: overlay2\n";
        return answer.say(Stream::out, client, paced(state, 150));
    }
    answer.exitCode = 1;
    if (state.client == Client::v28) {
        answer.say(Stream::out, client);
        return answer.say(Stream::err, *refused);
    }
    answer.say(Stream::out, client + "ERROR: " + *refused);
    return answer.say(Stream::err, "errors pretty printing info\n");
}

/// Answers with `part` of the container, if there is one.
Answer inspect(DockerState& state, const Arguments& arguments, const std::function<std::string()>& part) {
    Answer answer;
    const auto refused = refusal(state);
    if (refused || !state.container || arguments.back() != "orvanel") {
        answer.exitCode = 1;
        answer.say(Stream::out, "\n", paced(state, 40));
        return answer.say(Stream::err, refused.value_or("Error: No such object: " + arguments.back() + "\n"));
    }
    return answer.say(Stream::out, part() + "\n", paced(state, 60));
}

std::string mounts(const Container& container) {
    return container.data.empty() ? std::string() : container.data + ":/app/data\n";
}

Answer imageInspect(const DockerState& state, const std::string& reference) {
    const auto refused = refusal(state);
    const auto image = state.images.find(reference);
    Answer answer;
    if (refused || image == state.images.end()) {
        answer.exitCode = 1;
        answer.say(Stream::out, "[]\n", paced(state, 40));
        return answer.say(Stream::err, refused.value_or(words::noSuchImage(state.client, reference)));
    }
    return answer.say(Stream::out,
                      "[\n    {\n        \"Id\": \"" + image->second + "\",\n        \"RepoTags\": [\n            \"" +
                          reference + "\"\n        ],\n        \"Os\": \"linux\"\n    }\n]\n",
                      paced(state, 60));
}

Answer stop(DockerState& state, Host& host) {
    if (!state.container) {
        return failure(1, words::noSuchContainer(Client::v28, "orvanel"));
    }
    Answer answer;
    const double time = engine::stopTime(state);
    answer.waitFor = engine::beginStop(state, host);
    answer.say(Stream::out, "", paced(state, time));
    answer.onTerm.daemonCarriesOn = true;
    answer.then = [id = state.container->id, world = &host](DockerState& later) {
        engine::endStop(later, id, *world);
        Answer stopped;
        return stopped.say(Stream::out, "orvanel\n");
    };
    return answer;
}

Answer unpause(DockerState& state) {
    if (!state.container) {
        return failure(1, words::noSuchContainer(Client::v28, "orvanel"));
    }
    if (state.container->state != "paused") {
        return failure(1, "Error response from daemon: Container " + state.container->id + " is not paused\n");
    }
    state.container->state = "running";
    Answer answer;
    return answer.say(Stream::out, "orvanel\n", paced(state, 60));
}

Answer remove(DockerState& state, Host& host) {
    if (!state.container) {
        return failure(0, words::noSuchContainer(state.client, "orvanel"));
    }
    engine::remove(state, host);
    Answer answer;
    return answer.say(Stream::out, "orvanel\n", paced(state, 400));
}

std::string lastLines(const std::string& text, std::size_t count) {
    std::size_t at = text.size();
    for (std::size_t lines = 0; at > 0; --at) {
        if (text[at - 1] == '\n' && at != text.size() && ++lines == count) {
            break;
        }
    }
    return text.substr(at);
}

/// The server's warnings and errors go to the other stream.
Answer logs(const DockerState& state, const std::string& count, Host& host) {
    if (!state.container) {
        return failure(1, words::noSuchContainer(state.client, "orvanel"));
    }
    Answer answer;
    answer.say(Stream::out, "", paced(state, 60));
    std::istringstream lines(lastLines(state.log + host.serverLog(), std::stoul(count)));
    for (std::string line; std::getline(lines, line);) {
        const bool isBad = line.find("WARN") != std::string::npos || line.find("ERROR") != std::string::npos;
        answer.say(isBad ? Stream::err : Stream::out, line + "\n");
    }
    return answer;
}

std::string canonicalName(const std::string& reference) {
    return "registry.example/" + reference;
}

/// Answers `docker pull`, and the pull of `docker run`, which prints the same to standard error.
Answer pull(const DockerState& state, const std::string& reference, Stream stream,
            std::function<Answer(DockerState&)> next) {
    const std::size_t colon = reference.rfind(':');
    const auto id = engine::inRegistry(state, reference);
    Answer answer;
    if (state.registry != Registry::up || !id) {
        answer.exitCode = 1;
        return answer.say(Stream::err, "Error response from daemon: " + words::cannotPull(state, reference),
                          paced(state, state.registry == Registry::silent ? 15000 : 100));
    }
    const bool isNewer = engine::isNewer(state, reference);
    answer.say(stream, reference.substr(colon + 1) + ": Pulling from " + reference.substr(0, colon) + "\n",
               paced(state, 200));
    if (isNewer) {
        const auto lines = plainPullProgress(state, stream);
        answer.pieces.insert(answer.pieces.end(), lines.begin(), lines.end());
    }
    answer.then = [=](DockerState& later) {
        if (later.diskFull) {
            const std::string error = "failed to register layer: write /app/node_modules: no space left on device\n";
            return stream == Stream::out ? failure(1, error) : runFailure(later, error);
        }
        later.images[reference] = *id;
        Answer done;
        done.say(stream, "Digest: sha256:" + hexId("digest " + reference) + "\nStatus: " +
                             (isNewer ? "Downloaded newer image for " : "Image is up to date for ") + reference + "\n");
        if (stream == Stream::out) {
            done.say(stream, canonicalName(reference) + "\n");
        }
        done.then = next;
        return done;
    };
    return answer;
}

Answer createAndStart(DockerState& state, Container container, Host& host) {
    if (state.container) {
        return runFailure(state, words::nameConflict(*state.container));
    }
    container.imageId = state.images[container.image];
    engine::create(state, std::move(container));
    const auto error = engine::start(state, host);
    Answer answer;
    answer.say(Stream::out, state.container->id + "\n", paced(state, 500));
    if (error) {
        answer.exitCode = 125;
        answer.say(Stream::err, words::runFailed(state.client, *error));
    }
    return answer;
}

Answer run(DockerState& state, const Arguments& arguments, Host& host) {
    RunOrder order;
    try {
        order = runOrder(state.client, arguments);
    } catch (const std::runtime_error& error) {
        return runFailure(state, std::string(error.what()) + "\n");
    }
    if (!order.complaint.empty()) {
        return failure(125, order.complaint);
    }
    const auto refused = refusal(state);
    if (refused) {
        return runFailure(state, *refused);
    }
    if (state.images.contains(order.container.image)) {
        return createAndStart(state, order.container, host);
    }
    const std::string& reference = order.container.image;
    Answer answer = pull(state, reference, Stream::err, [order, world = &host](DockerState& later) {
        return createAndStart(later, order.container, *world);
    });
    if (answer.exitCode != 0) {
        const std::string error = answer.pieces.front().text;
        answer = runFailure(state, error);
    }
    answer.pieces.insert(answer.pieces.begin(),
                         {{}, Stream::err, "Unable to find image '" + reference + "' locally\n"});
    return answer;
}

Answer processes(const DockerState& state) {
    std::string table =
        "CONTAINER ID   IMAGE                    COMMAND                  CREATED         STATUS         "
        "PORTS                      NAMES\n";
    if (state.container && (state.container->state == "running" || state.container->state == "paused")) {
        const Container& container = *state.container;
        table += container.id.substr(0, 12) + "   " + container.image +
                 "   \"/usr/bin/dumb-init …\"   5 seconds ago   " +
                 "Up 4 seconds   127.0.0.1:" + std::to_string(container.port) + "->3001/tcp   orvanel\n";
    }
    Answer answer;
    return answer.say(Stream::out, table, paced(state, 60));
}

} // namespace

Answer answerPlain(const std::string& name, DockerState& state, const Arguments& arguments, Host& host) {
    if (name == "info") {
        return info(state);
    }
    if (name == "inspect") {
        return inspect(state, arguments, [&state] { return engine::look(state); });
    }
    if (name == "inspect mounts") {
        return inspect(state, arguments, [&state] { return mounts(*state.container); });
    }
    if (name == "image inspect") {
        return imageInspect(state, arguments.back());
    }
    if (name == "run") {
        return run(state, arguments, host);
    }
    const auto refused = refusal(state);
    if (refused) {
        return failure(1, *refused);
    }
    if (name == "stop") {
        return stop(state, host);
    }
    if (name == "unpause") {
        return unpause(state);
    }
    if (name == "rm") {
        return remove(state, host);
    }
    if (name == "logs" || name == "end of the log") {
        return logs(state, arguments.at(2), host);
    }
    if (name == "pull") {
        if (!isImageReference(arguments.back())) {
            return failure(1, "invalid reference format\n");
        }
        return pull(state, arguments.back(), Stream::out, {});
    }
    return processes(state);
}

} // namespace orvanel::standin
