#include "Site.h"

#include "Script.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>

using namespace std::string_literals;

namespace kuma {
namespace {

const std::string html = "text/html; charset=utf-8";
const std::string json = "application/json; charset=utf-8";
const std::string noSuchPage = R"({"status":"fail","msg":"Status Page Not Found"})";

Answer webApp(int status = 200) {
    return {status, html, "<!DOCTYPE html><html><head><title>Uptime Kuma</title></head><body></body></html>\n", {}};
}

/// The file of a page, or nothing. Like the real server, this lower-cases slugs and accepts letters, digits and dashes
/// only.
std::string pageFile(const std::filesystem::path& folder, const std::string& kind, std::string slug) {
    const auto lower = [](unsigned char c) { return static_cast<char>(std::tolower(c)); };
    std::transform(slug.begin(), slug.end(), slug.begin(), lower);
    const auto allowed = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '_'; };
    if (slug.empty() || !std::all_of(slug.begin(), slug.end(), allowed)) {
        return {};
    }
    return readFile(folder / kind / (slug + ".json"));
}

std::string timeOf(std::time_t seconds) {
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S.000", &parts);
    return text;
}

/// The heartbeats of a history such as "38 uuudu": the response time of those that are up, and a letter each.
std::string beatsOf(const std::string& history) {
    const std::string codes = "dupm";
    const std::size_t blank = history.find(' ');
    const int ping = std::atoi(history.c_str());
    const std::string letters = blank == std::string::npos ? "" : history.substr(blank + 1);
    const std::time_t minute = std::time(nullptr) / 60 * 60;
    std::string beats;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const std::size_t status = std::min(codes.find(letters[i]), codes.size());
        const auto age = static_cast<std::time_t>(letters.size() - 1 - i) * 60;
        const std::string response = status == 1 ? std::to_string(ping + static_cast<int>(i * 7 % 5)) : "null";
        beats += (i > 0 ? "," : "") + R"({"status":)"s + std::to_string(status) + R"(,"time":")" +
                 timeOf(minute - age) + R"(","msg":"","ping":)" + response + "}";
    }
    return '[' + beats + ']';
}

/// Each "history:…" of a text becomes the heartbeats that it stands for.
std::string withHistories(const std::string& body) {
    const std::string mark = "\"history:";
    std::string expanded;
    std::size_t done = 0;
    for (std::size_t at = body.find(mark); at != std::string::npos; at = body.find(mark, done)) {
        const std::size_t begin = at + mark.size();
        const std::size_t end = std::min(body.find('"', begin), body.size());
        expanded += body.substr(done, at - done) + beatsOf(body.substr(begin, end - begin));
        done = std::min(end + 1, body.size());
    }
    return expanded + body.substr(done);
}

/// `rest` is the part of the path after /api/status-page/.
Answer statusPage(const std::filesystem::path& folder, const std::string& rest) {
    const std::string heartbeat = "heartbeat/";
    const bool wantsBeats = rest.starts_with(heartbeat);
    const std::string encoded = wantsBeats ? rest.substr(heartbeat.size()) : rest;
    if (encoded.empty() || encoded.find('/') != std::string::npos) {
        return webApp();
    }
    const auto slug = percentDecoded(encoded);
    if (!slug) {
        return {400, html, "<pre>URI malformed</pre>\n", {}};
    }
    const std::string body = pageFile(folder, wantsBeats ? "heartbeats" : "pages", *slug);
    if (!body.empty()) {
        return {200, json, wantsBeats ? withHistories(body) : body, {}};
    }
    return wantsBeats ? Answer{200, json, R"({"heartbeatList":{},"uptimeList":{}})", {}}
                      : Answer{404, json, noSuchPage, {}};
}

} // namespace

Answer healthyAnswer(const std::filesystem::path& folder, const std::string& method, const std::string& path) {
    const std::string api = "/api/status-page/";
    const std::string human = "/status/";
    if (method != "GET" && method != "HEAD") {
        return webApp(404);
    }
    if (path == "/") {
        return {302, "text/plain; charset=utf-8", "Found. Redirecting to /dashboard", "/dashboard"};
    }
    if (path.starts_with(api)) {
        return statusPage(folder, path.substr(api.size()));
    }
    if (path.starts_with(human)) {
        return webApp(pageFile(folder, "pages", path.substr(human.size())).empty() ? 404 : 200);
    }
    if (path == "/setup-database-info") {
        return {200, json, R"({"runningSetup":false,"needSetup":false})", {}};
    }
    if (path == "/api/entry-page") {
        return {200, json, R"({"type":"entryPage","entryPage":null})", {}};
    }
    return webApp();
}

Answer answerDuringConversion(const std::string& path) {
    if (path == "/") {
        return {200, html, "<!DOCTYPE html><html><body>Migration is in progress, please wait.</body></html>\n", {}};
    }
    return {404, html, "<pre>Cannot GET " + path + "</pre>\n", {}};
}

} // namespace kuma
