#include "Site.h"

#include "Script.h"

#include <algorithm>
#include <cctype>

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
        return {200, json, body, {}};
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
