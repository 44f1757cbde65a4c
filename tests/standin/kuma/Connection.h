#pragma once

#include "Script.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace kuma {

/// What all connections share.
struct Server {
    std::filesystem::path folder;
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
    std::atomic<bool> isConverting = false;
    std::mutex mutex;
    /// Guarded by `mutex`.
    int requests = 0;
    std::map<std::string, int> used;

    Script script() const { return readScript(folder / "kuma-script"); }
    /// Finds the first rule for the path that is not used up, and counts its use.
    const Rule* take(const Script& script, const std::string& path);
    bool isReady(const Script& script);
};

/// Answers the requests of one client until one of them closes the connection, and closes `socket`.
void serve(Server& server, int socket);

} // namespace kuma
