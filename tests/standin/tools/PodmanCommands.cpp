#include "PodmanCommands.h"

#include "ComposeFile.h"
#include "Engine.h"
#include "PlainCommands.h"
#include "RunOrder.h"

#include <optional>

// The words, streams and exit codes are those of Debian 12's podman 4.3.1 and podman-compose 1.0.3.

namespace orvanel::standin {
namespace {

const std::string registry = "docker.io/";

/// A name without a registry means an image that is there; nothing else resolves it.
std::optional<std::string> resolved(const DockerState& state, const std::string& reference) {
    const bool isFull = reference.starts_with(registry);
    const std::string full = isFull ? reference : inDockersRegistry(reference);
    return isFull || state.images.contains(full) ? std::optional(full) : std::nullopt;
}

Answer unresolved(const std::string& reference) {
    return failure(125, "Error: short-name \"" + reference +
                            "\" did not resolve to an alias and no unqualified-search registries are defined in "
                            "\"/etc/containers/registries.conf\"\n");
}

Answer noContainer() {
    return failure(125, "Error: no container with name or ID \"orvanel\" found: no such container\n");
}

Answer info(const DockerState& state) {
    Answer answer;
    return answer.say(
        Stream::out,
        "host:\n  arch: amd64\n  buildahVersion: 1.28.2\n  cgroupVersion: v2\n  networkBackend: netavark\n"
        "registries: {}\nstore:\n  containerStore:\n    number: " +
            std::to_string(state.container ? 1 : 0) +
            "\n  graphDriverName: overlay\nversion:\n  APIVersion: 4.3.1\n  Version: 4.3.1\n\n",
        paced(state, 150));
}

/// Answers with `part` of the container, if there is one.
Answer inspect(const DockerState& state, const Arguments& arguments, const std::function<std::string()>& part) {
    if (!state.container || arguments.back() != "orvanel") {
        return failure(125, "Error: inspecting object: no such object: \"" + arguments.back() + "\"\n");
    }
    Answer answer;
    return answer.say(Stream::out, part() + "\n", paced(state, 60));
}

Answer imageInspect(const DockerState& state, const std::string& reference) {
    const auto full = resolved(state, reference);
    const auto image = full ? state.images.find(*full) : state.images.end();
    if (image == state.images.end()) {
        Answer answer{.exitCode = 125};
        answer.say(Stream::out, "[]\n", paced(state, 40));
        return answer.say(Stream::err, "Error: inspecting object: " + reference + ": image not known\n");
    }
    Answer answer;
    return answer.say(Stream::out,
                      "[\n     {\n          \"Id\": \"" + image->second +
                          "\",\n          \"RepoTags\": [\n               \"" + image->first +
                          "\"\n          ]\n     }\n]\n",
                      paced(state, 60));
}

std::string cannotPull(const DockerState& state, const std::string& full) {
    const std::string name = full.substr(registry.size());
    if (state.registry != Registry::up) {
        return "Error: initializing source docker://" + name +
               ": pinging container registry registry.example: Get \"https://registry.example/v2/\": dial tcp: lookup "
               "registry.example: no such host\n";
    }
    return "Error: initializing source docker://" + name + ": reading manifest " + name.substr(name.rfind(':') + 1) +
           " in " + full.substr(0, full.rfind(':')) + ": manifest unknown: manifest unknown\n";
}

/// Podman tells of its downloads on standard error, and of the image on standard output.
Answer pull(const DockerState& state, const std::string& reference, std::function<Answer(DockerState&)> next) {
    const auto full = resolved(state, reference);
    if (!full) {
        return unresolved(reference);
    }
    const auto id = engine::inRegistry(state, full->substr(registry.size()));
    Answer answer;
    answer.say(Stream::err, "Trying to pull " + *full + "...\n", paced(state, 200));
    if (state.registry != Registry::up || !id) {
        answer.exitCode = 125;
        return answer.say(Stream::err, cannotPull(state, *full),
                          paced(state, state.registry == Registry::silent ? 15000 : 100));
    }
    answer.say(Stream::err, "Getting image source signatures\n");
    answer.say(Stream::err, "Copying blob sha256:" + hexId("blob " + *full) + "\n");
    answer.say(Stream::err, "Copying config sha256:" + hexId(*full) + "\n", paced(state, 15000));
    answer.then = [full = *full, id = *id, next = std::move(next)](DockerState& later) {
        if (later.diskFull) {
            return failure(125,
                           "Error: writing blob: storing blob to file \"/var/tmp/storage/1\": write: no space left "
                           "on device\n");
        }
        later.images[full] = id;
        Answer done;
        done.say(Stream::err, "Writing manifest to image destination\nStoring signatures\n");
        if (!next) {
            done.say(Stream::out, id + "\n");
        }
        done.then = next;
        return done;
    };
    return answer;
}

Answer createAndStart(DockerState& state, Container container, Host& host) {
    if (state.container) {
        return failure(125, "Error: creating container storage: the container name \"orvanel\" is already in use by " +
                                state.container->id +
                                ". You have to remove that container to be able to reuse that name: that name is "
                                "already in use\n");
    }
    container.imageId = state.images[container.image];
    engine::create(state, std::move(container));
    // The container stays, and its name with it.
    if (engine::start(state, host)) {
        return failure(126, "Error: cannot listen on the TCP port: listen tcp4 127.0.0.1:" +
                                std::to_string(state.container->port) + ": bind: address already in use\n");
    }
    Answer answer;
    return answer.say(Stream::out, state.container->id + "\n", paced(state, 500));
}

Answer run(DockerState& state, const Arguments& arguments, Host& host) {
    RunOrder order;
    try {
        order = runOrder(state.client, arguments);
    } catch (const std::runtime_error& error) {
        return failure(125, "Error: " + std::string(error.what()) + "\n");
    }
    if (!order.complaint.empty()) {
        return failure(125, order.complaint);
    }
    const auto full = resolved(state, order.container.image);
    if (!full) {
        return unresolved(order.container.image);
    }
    order.container.image = *full;
    const auto start = [container = order.container, world = &host](DockerState& later) {
        return createAndStart(later, container, *world);
    };
    return state.images.contains(*full) ? start(state) : pull(state, *full, start);
}

/// podman-compose ends every command with success, whatever became of it.
Answer podmanCompose(const Arguments& arguments) {
    Answer answer;
    if (arguments.at(1) == "version") {
        return answer.say(Stream::out, "['podman', '--version', '']\nusing podman version: 4.3.1\npodman-composer "
                                       "version  1.0.3\npodman --version \npodman version 4.3.1\nexit code: 0\n");
    }
    answer.say(Stream::out, "['podman', '--version', '']\nusing podman version: 4.3.1\n");
    answer.say(Stream::err, unresolved("louislam/uptime-kuma:2").pieces.front().text);
    return answer.say(Stream::out, "exit code: 125\n");
}

Answer answerPodmanCompose(const DockerState& state, const Arguments& arguments) {
    if (state.compose) {
        return podmanCompose(arguments);
    }
    return failure(125, "Error: unrecognized command `podman compose`\nTry 'podman --help' for more information\n");
}

bool needsContainer(const std::string& name) {
    return name == "stop" || name == "unpause" || name == "logs" || name == "end of the log";
}

} // namespace

Answer answerPodman(const std::string& name, DockerState& state, const Arguments& arguments, Host& host) {
    if (name.starts_with("compose ")) {
        return answerPodmanCompose(state, arguments);
    }
    if (name == "info") {
        return info(state);
    }
    if (name == "inspect") {
        return inspect(state, arguments, [&state] { return engine::look(state); });
    }
    if (name == "inspect mounts") {
        return inspect(state, arguments, [&state] { return state.container->data + ":/app/data\n"; });
    }
    if (name == "image inspect") {
        return imageInspect(state, arguments.back());
    }
    if (name == "pull") {
        return pull(state, arguments.back(), {});
    }
    if (name == "run") {
        return run(state, arguments, host);
    }
    if (needsContainer(name) && !state.container) {
        return noContainer();
    }
    if (name == "unpause" && state.container->state != "paused") {
        return failure(125, "Error: \"" + state.container->id +
                                "\" is not paused, can't unpause: container state improper\n");
    }
    // Nothing to remove is no reason to complain.
    if (name == "rm" && !state.container) {
        return {};
    }
    return answerPlain(name, state, arguments, host);
}

} // namespace orvanel::standin
