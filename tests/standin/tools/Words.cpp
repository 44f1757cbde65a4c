#include "Words.h"

namespace orvanel::standin::words {

std::string cannotConnect() {
    return "Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon running?\n";
}

std::string permissionDenied() {
    return "permission denied while trying to connect to the Docker daemon socket at unix:///var/run/docker.sock: "
           "Get \"http://%2Fvar%2Frun%2Fdocker.sock/v1.50/containers/json\": dial unix /var/run/docker.sock: connect: "
           "permission denied\n";
}

std::string noSuchContainer(Client client, const std::string& name) {
    return (client == Client::v28 ? "Error response from daemon: No such container: " : "Error: No such container: ") +
           name + "\n";
}

std::string noSuchImage(Client client, const std::string& reference) {
    if (client == Client::v20) {
        return "Error: No such image: " + reference + "\n";
    }
    return "Error response from daemon: no such image: " + reference + ": No such image: " + reference + "\n";
}

std::string nameConflict(const Container& holder) {
    return "Error response from daemon: Conflict. The container name \"/orvanel\" is already in use by container \"" +
           holder.id + "\". You have to remove (or rename) that container to be able to reuse that name.\n";
}

std::string portTaken(PortHolder holder, const Container& container, const std::string& seed) {
    const std::string place = "127.0.0.1:" + std::to_string(container.port);
    const std::string reason =
        holder == PortHolder::container
            ? "Bind for " + place + " failed: port is already allocated"
            : "Error starting userland proxy: listen tcp4 " + place + ": bind: address already in use";
    return "Error response from daemon: driver failed programming external connectivity on endpoint orvanel (" +
           hexId("endpoint " + seed) + "): " + reason + "\n";
}

std::string cannotPull(const DockerState& state, const std::string& reference) {
    if (state.registry == Registry::unreachable) {
        return "Get \"https://registry.example/v2/\": dial tcp: lookup registry.example on 127.0.0.53:53: no such "
               "host\n";
    }
    if (state.registry == Registry::silent) {
        return "Get \"https://registry.example/v2/\": net/http: request canceled while waiting for connection "
               "(Client.Timeout exceeded while awaiting headers)\n";
    }
    return "manifest for " + reference + " not found: manifest unknown: manifest unknown\n";
}

std::string unknownCommand(Client client, const std::string& command) {
    if (client == Client::v20) {
        return "docker: '" + command + "' is not a docker command.\nSee 'docker --help'\n";
    }
    return "docker: unknown command: docker " + command + "\n\nRun 'docker --help' for more information\n";
}

std::string unknownFlag(Client client, const std::string& flag, const std::string& command) {
    const std::string complaint = flag.starts_with("--")
                                      ? "unknown flag: " + flag
                                      : "unknown shorthand flag: '" + flag.substr(1, 1) + "' in " + flag;
    const std::string tool = command.empty() ? "docker" : "docker " + command;
    if (client == Client::v20) {
        return complaint + "\nSee '" + tool + " --help'.\n";
    }
    return complaint + "\n\nUsage:  " + tool + " [OPTIONS]" + (command.empty() ? " COMMAND [ARG...]" : "") +
           "\n\nRun '" + tool + " --help' for more information\n";
}

std::string runFailed(Client client, const std::string& error) {
    std::string line = "docker: " + error;
    if (client == Client::v28) {
        return line + "\nRun 'docker run --help' for more information\n";
    }
    line.insert(line.size() - 1, ".");
    return line + "See 'docker run --help'.\n";
}

} // namespace orvanel::standin::words
