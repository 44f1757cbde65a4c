#pragma once

#include <filesystem>
#include <string>

namespace kuma {

/// Writes one line of the request log: method, path, Host, "close" or "keep-alive", and all header lines joined by " |
/// ", separated by tabs.
void logRequest(const std::filesystem::path& folder, const std::string& line);

/// Write lines to standard output and standard error as the real server does, colours included.
void logInfo(const std::string& module, const std::string& text);
void logError(const std::string& module, const std::string& text);
void logWarning(const std::string& module, const std::string& text);

} // namespace kuma
