#pragma once

#include <filesystem>
#include <string>

namespace kuma {

/// One line of the request log: method, path, Host, "close" or "keep-alive", then all header lines joined by " | ",
/// separated by tabs.
void logRequest(const std::filesystem::path& folder, const std::string& line);

/// Lines on standard output and standard error as the real server writes them, colours included.
void logInfo(const std::string& module, const std::string& text);
void logWarning(const std::string& module, const std::string& text);

} // namespace kuma
