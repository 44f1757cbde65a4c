#include "Engine.h"

#include "Words.h"

namespace orvanel::standin::engine {
namespace {

bool hasLife(const Container& container) {
    return container.state == "running" || container.state == "restarting" || container.state == "paused";
}

void launch(const DockerState& state, Container& container, Host& host) {
    container.server = {};
    if (!state.server.empty() && state.crashLoop == 0) {
        const std::string& folder = state.serverFolder.empty() ? container.data : state.serverFolder;
        container.server = host.startServer(state.server, container.port, folder);
    }
}

} // namespace

void catchUp(DockerState& state, Host& host) {
    if (state.daemonUpAfter >= 0 && state.daemonUpAfter-- == 0) {
        state.daemon = Daemon::up;
    }
    if (!state.container || state.container->server.pid == 0) {
        return;
    }
    Container& container = *state.container;
    const bool waits = container.state == "restarting";
    if ((container.state != "running" && !waits) || host.isAlive(container.server)) {
        return;
    }
    if (container.stopping || container.restartPolicy.empty() || container.restartPolicy == "no") {
        container.stopping = true;
        endStop(state, container.id, host);
        return;
    }
    // The daemon waits ever longer before it starts the container again, so that a look may find it waiting.
    if (!waits && container.restarts >= 2) {
        container.state = "restarting";
        return;
    }
    container.restarts += 1;
    container.state = "running";
    launch(state, container, host);
}

std::string look(DockerState& state) {
    Container& container = *state.container;
    if (state.crashLoop == 0 || container.stopping ||
        (container.state != "running" && container.state != "restarting")) {
        return container.state;
    }
    state.looks += 1;
    container.restarts += 1;
    container.state = state.looks % state.crashLoop == 0 ? "restarting" : "running";
    return container.state;
}

void create(DockerState& state, Container container) {
    state.made += 1;
    container.id = hexId("container " + std::to_string(state.made));
    container.state = "created";
    state.container = std::move(container);
}

std::optional<std::string> start(DockerState& state, Host& host) {
    if (!state.container) {
        return words::noSuchContainer(Client::v28, "orvanel");
    }
    Container& container = *state.container;
    if (container.state == "paused") {
        return "Error response from daemon: cannot start a paused container, try unpause instead\n";
    }
    PortHolder holder = state.portHolder;
    if (holder == PortHolder::nobody && !state.server.empty() && host.isPortTaken(container.port)) {
        holder = PortHolder::process;
    }
    if (holder != PortHolder::nobody) {
        state.made += 1;
        return words::portTaken(holder, container, std::to_string(state.made));
    }
    container.stopping = false;
    container.restarts = 0;
    container.state = "running";
    launch(state, container, host);
    return std::nullopt;
}

ServerProcess beginStop(DockerState& state, Host& host) {
    Container& container = *state.container;
    if (!hasLife(container)) {
        return {};
    }
    container.stopping = true;
    if (container.server.pid != 0) {
        host.endServer(container.server, false);
    }
    return container.server;
}

void endStop(DockerState& state, const std::string& id, Host& host) {
    if (!state.container || state.container->id != id || !state.container->stopping) {
        return;
    }
    Container& container = *state.container;
    // A server that does not end when asked is killed, as the daemon does after its grace period.
    if (container.server.pid != 0) {
        host.endServer(container.server, true);
    }
    container.server = {};
    container.stopping = false;
    container.state = "exited";
}

void remove(DockerState& state, Host& host) {
    if (state.container && state.container->server.pid != 0) {
        host.endServer(state.container->server, true);
    }
    state.container.reset();
    state.log.clear();
    host.clearServerLog();
}

std::optional<std::string> inRegistry(const DockerState& state, const std::string& reference) {
    auto found = state.pullable.find(reference);
    if (found == state.pullable.end()) {
        found = state.pullable.find(reference.substr(0, reference.rfind(':')) + ":*");
    }
    if (found == state.pullable.end()) {
        return std::nullopt;
    }
    return found->second.empty() ? "sha256:" + hexId(reference) : found->second;
}

bool isNewer(const DockerState& state, const std::string& reference) {
    const auto present = state.images.find(reference);
    return present == state.images.end() || present->second != inRegistry(state, reference);
}

double stopTime(const DockerState& state) {
    if (!state.container || !hasLife(*state.container)) {
        return 0;
    }
    return state.container->state == "paused" ? 6300 : 4200;
}

} // namespace orvanel::standin::engine
