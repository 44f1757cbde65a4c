#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kuma {

/// How the server answers requests for one path.
struct Rule {
    std::string line;
    std::string pattern;
    std::optional<int> times;

    std::optional<int> status;
    std::string type;
    std::string bodyFile;
    std::optional<std::string> text;
    std::string redirect;
    std::vector<std::string> headers;

    enum class Framing { Length, Chunked, UntilClose };
    Framing framing = Framing::Length;
    std::optional<std::uint64_t> size;
    char fill = ' ';
    bool endless = false;
    std::optional<std::uint64_t> length;
    std::optional<std::uint64_t> cut;

    int delay = 0;
    int drip = 0;
    int dripBody = 0;
    std::optional<std::uint64_t> stallAfter;
    bool stall = false;
    bool endlessHead = false;
    bool close = false;
    bool reset = false;
    std::optional<std::string> raw;

    bool matches(std::string_view path) const;
};

/// The content of the script file; the defaults are a healthy server.
struct Script {
    std::vector<Rule> rules;
    int notReadyRequests = 0;
    int notReadyMs = 0;
    int conversionMs = 0;
    int clearingMs = 0;
    std::optional<int> exitCode;
    int exitAfterMs = 0;
    bool termIgnored = false;
    int termCode = 0;
    int termDelayMs = 0;
};

/// Reads the script. A missing file counts as an empty script; a line that cannot be understood ends the program with a
/// message.
Script readScript(const std::filesystem::path& file);

std::string readFile(const std::filesystem::path& file);

/// Replaces each %XX with its byte; none if a % is not followed by two hexadecimal digits.
std::optional<std::string> percentDecoded(std::string_view text);

} // namespace kuma
