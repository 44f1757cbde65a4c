#pragma once

#include "DockerState.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace orvanel::standin {

using Arguments = std::vector<std::string>;

enum class Stream { out, err };

/// A piece of a tool's output, written `before` after the previous piece.
struct Piece {
    std::chrono::milliseconds before{0};
    Stream stream = Stream::out;
    std::string text;
};

/// What a SIGTERM does to a command that is still running.
struct OnTerm {
    int exitCode = 143;
    std::string err{};
    bool ignored = false;
    /// The daemon finishes the work, although nobody waits for the answer any more.
    bool daemonCarriesOn = false;
};

/// What a tool says and does. A command that takes time is a chain of these. Each looks at the state only when its turn
/// comes, so that other commands can run in between.
struct Answer {
    int exitCode = 0;
    std::vector<Piece> pieces{};
    /// The command never ends by itself after the pieces.
    bool hangs = false;
    /// The command waits after the pieces until this process has ended.
    ServerProcess waitFor{};
    /// The OnTerm of the first answer counts for the whole chain.
    OnTerm onTerm{};
    /// The next answer of the chain, after all of the above.
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

/// Converts a duration of the real tools to the pace of the state.
inline std::chrono::milliseconds paced(const DockerState& state, double milliseconds) {
    return std::chrono::milliseconds(static_cast<long long>(milliseconds * state.pace));
}

} // namespace orvanel::standin
