#include "DockerState.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orvanel::standin {
namespace {

using Words = std::vector<std::string_view>;

const Words& wordsOf(Client /*unused*/) {
    static const Words words{"28", "20", "podman"};
    return words;
}

const Words& wordsOf(Daemon /*unused*/) {
    static const Words words{"up", "down", "denied", "hangs"};
    return words;
}

const Words& wordsOf(Registry /*unused*/) {
    static const Words words{"up", "unreachable", "silent"};
    return words;
}

const Words& wordsOf(PortHolder /*unused*/) {
    static const Words words{"nobody", "process", "container"};
    return words;
}

const Words& wordsOf(Owner /*unused*/) {
    static const Words words{"compose", "plain", "foreign"};
    return words;
}

const Words& wordsOf(bool /*unused*/) {
    static const Words words{"no", "yes"};
    return words;
}

template <class Value>
concept Worded = requires(Value value) { wordsOf(value); } && (std::is_enum_v<Value> || std::is_same_v<Value, bool>);

template <Worded Value>
std::string valueText(Value value) {
    return std::string(wordsOf(value).at(static_cast<std::size_t>(value)));
}

template <Worded Value>
void readValue(const std::string& text, Value& value) {
    const Words& words = wordsOf(value);
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == text) {
            value = static_cast<Value>(i);
            return;
        }
    }
    throw std::runtime_error("\"" + text + "\" is not a value of this key");
}

template <class Number>
    requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>)
std::string valueText(Number value) {
    std::array<char, 40> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return {buffer.data(), end};
}

template <class Number>
    requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>)
void readValue(const std::string& text, Number& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::runtime_error("\"" + text + "\" is not a number");
    }
}

std::string valueText(const std::string& value) {
    return escaped(value);
}

void readValue(const std::string& text, std::string& value) {
    value = unescaped(text);
}

/// Calls visit(key, field) for every single field. Reading and writing share this list.
template <class State, class Visit>
void fields(State& state, Visit visit) {
    visit("client", state.client);
    visit("daemon", state.daemon);
    visit("compose", state.compose);
    visit("registry", state.registry);
    visit("disk-full", state.diskFull);
    visit("port-holder", state.portHolder);
    visit("pace", state.pace);
    visit("crash-loop", state.crashLoop);
    visit("looks", state.looks);
    visit("warning", state.warning);
    visit("log", state.log);
    visit("network", state.network);
    visit("made", state.made);
    visit("server", state.server);
    visit("server-folder", state.serverFolder);
    visit("brew-brings", state.brewBrings);
    visit("brew-folder", state.brewFolder);
    visit("colima-delay", state.colimaDelay);
    visit("daemon-up-after", state.daemonUpAfter);
}

template <class SomeContainer, class Visit>
void containerFields(SomeContainer& container, Visit visit) {
    visit("container.state", container.state);
    visit("container.owner", container.owner);
    visit("container.id", container.id);
    visit("container.image", container.image);
    visit("container.image-id", container.imageId);
    visit("container.port", container.port);
    visit("container.data", container.data);
    visit("container.restart-policy", container.restartPolicy);
    visit("container.stopping", container.stopping);
    visit("container.restarts", container.restarts);
    visit("container.pid", container.server.pid);
    visit("container.pid-started", container.server.started);
}

std::string overrideText(const Override& one) {
    std::string text = escaped(one.command);
    if (one.exitCode) {
        text += "\texit=" + valueText(*one.exitCode);
    }
    text += "\tout=" + escaped(one.out) + "\terr=" + escaped(one.err) + "\tdelay=" + valueText(one.delay);
    text += "\thangs=" + valueText(one.hangs) + "\tignores-term=" + valueText(one.ignoresTerm);
    return text + "\ttimes=" + valueText(one.times);
}

std::vector<std::string> splitAt(char separator, const std::string& text) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    while (true) {
        const std::size_t at = text.find(separator, from);
        parts.push_back(text.substr(from, at - from));
        if (at == std::string::npos) {
            return parts;
        }
        from = at + 1;
    }
}

void readOverrideField(Override& one, const std::string& key, const std::string& value) {
    if (key == "exit") {
        readValue(value, one.exitCode.emplace());
    } else if (key == "out") {
        readValue(value, one.out);
    } else if (key == "err") {
        readValue(value, one.err);
    } else if (key == "delay") {
        readValue(value, one.delay);
    } else if (key == "hangs") {
        readValue(value, one.hangs);
    } else if (key == "ignores-term") {
        readValue(value, one.ignoresTerm);
    } else if (key == "times") {
        readValue(value, one.times);
    } else {
        throw std::runtime_error("unknown part of an override: " + key);
    }
}

Override overrideFrom(const std::string& text) {
    const auto parts = splitAt('\t', text);
    Override one;
    one.command = unescaped(parts.front());
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const std::size_t equals = std::min(parts[i].find('='), parts[i].size());
        readOverrideField(one, parts[i].substr(0, equals),
                          equals < parts[i].size() ? parts[i].substr(equals + 1) : std::string());
    }
    return one;
}

void readImage(const std::string& text, std::map<std::string, std::string>& images) {
    const std::size_t blank = text.find(' ');
    images[text.substr(0, blank)] = blank == std::string::npos ? std::string() : text.substr(blank + 1);
}

/// Reads a line that may occur more than once; false if `key` is not of that kind.
bool readListLine(DockerState& state, const std::string& key, const std::string& value, bool& ownPullable) {
    if (key == "image") {
        readImage(value, state.images);
    } else if (key == "pullable") {
        if (!std::exchange(ownPullable, true)) {
            state.pullable.clear();
        }
        if (!value.empty()) {
            readImage(value, state.pullable);
        }
    } else if (key == "override") {
        state.overrides.push_back(overrideFrom(value));
    } else {
        return false;
    }
    return true;
}

void readLine(DockerState& state, const std::string& line, bool& ownPullable) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string key = line.substr(0, blank);
    const std::string value = blank < line.size() ? line.substr(blank + 1) : std::string();
    bool known = readListLine(state, key, value, ownPullable);
    const auto read = [&](std::string_view name, auto& field) {
        if (name == key) {
            readValue(value, field);
            known = true;
        }
    };
    fields(state, read);
    if (key.starts_with("container.")) {
        if (!state.container) {
            state.container.emplace();
        }
        containerFields(*state.container, read);
    }
    if (!known) {
        throw std::runtime_error("unknown key " + key);
    }
}

} // namespace

std::string toText(const DockerState& state) {
    std::string text;
    const auto write = [&](std::string_view key, const auto& field) {
        text.append(key).append(" ").append(valueText(field)).append("\n");
    };
    fields(state, write);
    if (state.container) {
        containerFields(*state.container, write);
    }
    for (const auto& [reference, id] : state.images) {
        text.append("image ").append(reference).append(" ").append(id).append("\n");
    }
    for (const auto& [reference, id] : state.pullable) {
        text += "pullable " + reference + (id.empty() ? "" : " " + id) + "\n";
    }
    if (state.pullable.empty()) {
        text += "pullable\n";
    }
    for (const Override& one : state.overrides) {
        text += "override " + overrideText(one) + "\n";
    }
    return text;
}

DockerState stateFromText(const std::string& text) {
    DockerState state;
    bool ownPullable = false;
    int number = 0;
    for (const std::string& line : splitAt('\n', text)) {
        number += 1;
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        try {
            readLine(state, line, ownPullable);
        } catch (const std::exception& error) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return state;
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\t':
            result += "\\t";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        i += 1;
        switch (text[i]) {
        case 'n':
            result += '\n';
            break;
        case 'r':
            result += '\r';
            break;
        case 't':
            result += '\t';
            break;
        default:
            result += text[i];
        }
    }
    return result;
}

std::string hexId(const std::string& seed) {
    std::string id;
    std::uint64_t hash = 14695981039346656037ULL;
    for (int round = 0; round < 4; ++round) {
        for (const char c : seed) {
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
        }
        hash ^= hash >> 29U;
        std::array<char, 17> digits{};
        std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
        id += digits.data();
    }
    return id;
}

void addImage(DockerState& state, const std::string& reference) {
    state.images[reference] = "sha256:" + hexId(reference);
}

std::string inDockersRegistry(const std::string& reference) {
    return "docker.io/" + reference;
}

void makePodman(DockerState& state) {
    state.client = Client::podman;
    state.compose = false;
    state.warning = "Emulate Docker CLI using podman. Create /etc/containers/nodocker to quiet msg.\n";
}

void addContainer(DockerState& state, const std::string& word, int port, const std::string& reference) {
    addImage(state, reference);
    state.network = true;
    state.made += 1;
    state.container = Container{.state = word,
                                .id = hexId("container " + std::to_string(state.made)),
                                .image = reference,
                                .imageId = state.images[reference],
                                .port = port};
}

} // namespace orvanel::standin
