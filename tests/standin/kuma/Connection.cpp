#include "Connection.h"

#include "Journal.h"
#include "Site.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace kuma {
namespace {

constexpr int idleMs = 5000;
constexpr std::size_t largestHead = 1U << 20U;
constexpr std::size_t pieceSize = 1U << 16U;

struct Request {
    std::string method;
    std::string path;
    std::string host = "-";
    std::string headers;
    std::size_t bodySize = 0;
    bool wantsClose = false;
};

class Client {
public:
    explicit Client(int socket)
        : m_socket(socket) {}

    ~Client() {
        if (m_socket >= 0) {
            ::close(m_socket);
        }
    }

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// The next request up to its empty line; none if the client has gone or is silent for too long.
    std::optional<std::string> readHead() {
        std::size_t end = std::string::npos;
        while ((end = m_unread.find("\r\n\r\n")) == std::string::npos) {
            if (m_unread.size() > largestHead || !receive()) {
                return std::nullopt;
            }
        }
        const std::string head = m_unread.substr(0, end + 2);
        m_unread.erase(0, end + 4);
        return head;
    }

    bool skip(std::size_t bytes) {
        while (m_unread.size() < bytes) {
            if (!receive()) {
                return false;
            }
        }
        m_unread.erase(0, bytes);
        return true;
    }

    /// Sends byte by byte if `pause` is set. Returns false if the client has gone.
    bool send(std::string_view bytes, int pause = 0) {
        while (!bytes.empty()) {
            const std::size_t piece = pause > 0 ? 1 : bytes.size();
            const ssize_t sent = ::send(m_socket, bytes.data(), piece, MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            if (pause > 0 && !waitWhileConnected(pause)) {
                return false;
            }
        }
        return true;
    }

    /// Waits, for ever if `ms` is -1. Returns false as soon as the client hangs up.
    bool waitWhileConnected(int ms) const {
        pollfd state{m_socket, POLLRDHUP, 0};
        return ::poll(&state, 1, ms) == 0;
    }

    /// Closes the connection with a reset.
    void reset() {
        const linger now{1, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        ::close(m_socket);
        m_socket = -1;
    }

private:
    bool receive() {
        pollfd state{m_socket, POLLIN, 0};
        if (::poll(&state, 1, idleMs) <= 0) {
            return false;
        }
        char bytes[16384];
        const ssize_t got = ::recv(m_socket, bytes, sizeof bytes, 0);
        if (got > 0) {
            m_unread.append(bytes, static_cast<std::size_t>(got));
        }
        return got > 0;
    }

    int m_socket;
    std::string m_unread;
};

Request parsed(const std::string& head) {
    Request request;
    const std::size_t lineEnd = head.find("\r\n");
    const std::string line = head.substr(0, lineEnd);
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    request.method = line.substr(0, first);
    request.path = first == last ? "" : line.substr(first + 1, last - first - 1);
    request.wantsClose = line.ends_with("HTTP/1.0");
    for (std::size_t at = lineEnd + 2; at < head.size();) {
        const std::size_t end = head.find("\r\n", at);
        const std::string header = head.substr(at, end - at);
        at = end + 2;
        request.headers += (request.headers.empty() ? "" : " | ") + header;
        const std::size_t colon = std::min(header.find(':'), header.size() - 1);
        const std::string name = header.substr(0, colon);
        const std::string value = header.substr(std::min(header.find_first_not_of(' ', colon + 1), header.size()));
        if (::strcasecmp(name.c_str(), "host") == 0) {
            request.host = value;
        } else if (::strcasecmp(name.c_str(), "connection") == 0) {
            request.wantsClose = ::strcasecmp(value.c_str(), "close") == 0;
        } else if (::strcasecmp(name.c_str(), "content-length") == 0) {
            request.bodySize = std::strtoul(value.c_str(), nullptr, 10);
        }
    }
    return request;
}

const char* reason(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 204:
        return "No Content";
    case 302:
        return "Found";
    case 304:
        return "Not Modified";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

/// What is sent to the client. A path without a rule is answered as if its rule were empty.
struct Reply {
    const Rule& rule;
    Answer answer;
    bool closes;

    std::uint64_t size() const { return rule.size.value_or(answer.body.size()); }

    bool hasBody() const { return answer.status >= 200 && answer.status != 204 && answer.status != 304; }

    std::string head() const {
        std::string text = "HTTP/1.1 " + std::to_string(answer.status) + ' ' + reason(answer.status) + "\r\n";
        text += "X-Frame-Options: SAMEORIGIN\r\n";
        if (!answer.location.empty())
            text += "Location: " + answer.location + "\r\n";
        if (!answer.type.empty())
            text += "Content-Type: " + answer.type + "\r\n";
        for (const std::string& header : rule.headers)
            text += header + "\r\n";
        if (rule.framing == Rule::Framing::Chunked) {
            text += "Transfer-Encoding: chunked\r\n";
        } else if (rule.framing == Rule::Framing::Length && hasBody()) {
            text +=
                "Content-Length: " + std::to_string(rule.length.value_or(rule.endless ? 1ULL << 40U : size())) + "\r\n";
        }
        text += closes ? "Connection: close\r\n" : "Connection: keep-alive\r\nKeep-Alive: timeout=5\r\n";
        return text + "\r\n";
    }

    /// The part of the body that starts at `offset`.
    std::string piece(std::uint64_t offset, std::uint64_t end) const {
        const std::uint64_t count = std::min<std::uint64_t>(pieceSize, end - offset);
        if (rule.size || rule.endless) {
            return std::string(count, rule.fill);
        }
        return answer.body.substr(offset, count);
    }
};

std::string framed(const std::string& piece, Rule::Framing framing) {
    if (framing != Rule::Framing::Chunked) {
        return piece;
    }
    char size[32];
    std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
    return size + piece + "\r\n";
}

/// Returns false if the connection is over.
bool sendBody(Client& client, const Reply& reply) {
    const Rule& rule = reply.rule;
    const std::uint64_t whole = rule.endless ? UINT64_MAX : reply.size();
    const std::uint64_t end = std::min({whole, rule.cut.value_or(whole), rule.stallAfter.value_or(whole)});
    for (std::uint64_t offset = 0; offset < end;) {
        const std::string piece = reply.piece(offset, end);
        if (!client.send(framed(piece, rule.framing), std::max(rule.drip, rule.dripBody))) {
            return false;
        }
        offset += piece.size();
    }
    if (rule.stallAfter) {
        return client.waitWhileConnected(-1);
    }
    if (rule.cut) {
        return false;
    }
    return rule.framing != Rule::Framing::Chunked || client.send("0\r\n\r\n", rule.drip);
}

bool sendReply(Client& client, const Reply& reply) {
    if (!client.send(reply.head(), reply.rule.drip)) {
        return false;
    }
    if (reply.hasBody() && !sendBody(client, reply)) {
        return false;
    }
    return !reply.closes;
}

void sendEndlessHead(Client& client) {
    bool connected = client.send("HTTP/1.1 200 OK\r\n");
    for (int i = 0; connected; ++i) {
        connected = client.send("X-Filler-" + std::to_string(i) + ": " + std::string(4096, 'x') + "\r\n");
    }
}

Answer answerOf(const Server& server, const Rule& rule, const Request& request, const std::string& path) {
    Answer answer =
        server.isConverting ? answerDuringConversion(path) : healthyAnswer(server.folder, request.method, path);
    if (!rule.bodyFile.empty())
        answer = {200, "application/json; charset=utf-8", readFile(server.folder / rule.bodyFile), {}};
    if (rule.text)
        answer = {200, "application/json; charset=utf-8", *rule.text, {}};
    if (rule.size || rule.endless)
        answer = {200, "application/json; charset=utf-8", {}, {}};
    if (!rule.redirect.empty())
        answer = {302, "text/plain; charset=utf-8", "Found.", rule.redirect};
    if (rule.status)
        answer.status = *rule.status;
    if (!rule.type.empty())
        answer.type = rule.type;
    return answer;
}

/// Returns false if the connection is over.
bool obey(Client& client, const Server& server, const Rule& rule, const Request& request, const std::string& path) {
    if (rule.delay > 0 && !client.waitWhileConnected(rule.delay)) {
        return false;
    }
    if (rule.stall) {
        return client.waitWhileConnected(-1);
    }
    if (rule.reset) {
        client.reset();
        return false;
    }
    if (rule.close) {
        return false;
    }
    if (rule.endlessHead) {
        sendEndlessHead(client);
        return false;
    }
    if (rule.raw) {
        client.send(*rule.raw, rule.drip);
        return false;
    }
    const Reply reply{rule, answerOf(server, rule, request, path),
                      request.wantsClose || rule.framing == Rule::Framing::UntilClose};
    if (reply.answer.status == 404) {
        logWarning("EXPRESS", "No answer for " + path);
    }
    return sendReply(client, reply);
}

} // namespace

const Rule* Server::take(const Script& script, const std::string& path) {
    const std::lock_guard lock(mutex);
    for (const Rule& rule : script.rules) {
        if (rule.matches(path) && (!rule.times || used[rule.line]++ < *rule.times)) {
            return &rule;
        }
    }
    return nullptr;
}

bool Server::isReady(const Script& script) {
    const auto since = std::chrono::steady_clock::now() - started;
    const std::lock_guard lock(mutex);
    requests += 1;
    return requests > script.notReadyRequests && since >= std::chrono::milliseconds(script.notReadyMs);
}

void serve(Server& server, int socket) {
    Client client(socket);
    while (const auto head = client.readHead()) {
        const Request request = parsed(*head);
        logRequest(server.folder, request.method + '\t' + request.path + '\t' + request.host + '\t' +
                                      (request.wantsClose ? "close" : "keep-alive") + '\t' + request.headers);
        const Script script = server.script();
        if (!server.isReady(script)) {
            return;
        }
        const std::string path = request.path.substr(0, request.path.find('?'));
        if (path.starts_with("/api/status-page/")) {
            logInfo("STATUS-PAGE", "Request " + path);
        }
        const Rule healthy;
        const Rule* const rule = server.take(script, path);
        if (!client.skip(request.bodySize) || !obey(client, server, rule ? *rule : healthy, request, path)) {
            return;
        }
    }
}

} // namespace kuma
