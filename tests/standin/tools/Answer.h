#pragma once

#include "DockerState.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace orvanel::standin {

using Arguments = std::vector<std::string>;

enum class Stream { out, err };

/// Something a tool writes, `before` after the piece before it.
struct Piece {
    std::chrono::milliseconds before{0};
    Stream stream = Stream::out;
    std::string text;
};

/// What a SIGTERM makes of a command that is still running.
struct OnTerm {
    int exitCode = 143;
    std::string err{};
    bool ignored = false;
    /// The daemon goes on with it, though nobody waits for the answer any more.
    bool daemonCarriesOn = false;
};

/// What a tool says and does. A command that takes its time is a chain of these: each looks at the state of the moment
/// when it is its turn, so that other commands may come in between.
struct Answer {
    int exitCode = 0;
    std::vector<Piece> pieces{};
    /// After the pieces it never ends by itself.
    bool hangs = false;
    /// After the pieces it waits until this process is gone.
    ServerProcess waitFor{};
    /// That of the first answer counts for the whole chain.
    OnTerm onTerm{};
    /// After all that, the next answer of the chain.
    std::function<Answer(DockerState&)> then{};

    Answer& say(Stream stream, std::string text, std::chrono::milliseconds before = {}) {
        pieces.push_back({before, stream, std::move(text)});
        return *this;
    }
};

inline Answer failure(int exitCode, std::string err) {
    Answer answer{.exitCode = exitCode};
    return answer.say(Stream::err, std::move(err));
}

/// A real duration at the pace of the state.
inline std::chrono::milliseconds paced(const DockerState& state, double milliseconds) {
    return std::chrono::milliseconds(static_cast<long long>(milliseconds * state.pace));
}

} // namespace orvanel::standin
