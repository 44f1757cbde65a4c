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

/// The answer of a healthy server that is set up and has a user. `path` is the path as sent, without the query.
Answer healthyAnswer(const std::filesystem::path& folder, const std::string& method, const std::string& path);

/// The same while the data is converted: a small server of its own answers.
Answer answerDuringConversion(const std::string& path);

} // namespace kuma
