#pragma once

#include <filesystem>
#include <string>

namespace kuma {

struct Answer {
    int status = 200;
    std::string type;
    std::string body;
    std::string location;
};

/// What a healthy server, set up and with a user, answers to a request. `path` is as it came, without the query.
Answer healthyAnswer(const std::filesystem::path& folder, const std::string& method, const std::string& path);

} // namespace kuma
