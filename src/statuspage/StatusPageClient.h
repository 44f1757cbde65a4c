#pragma once

#include "statuspage/StatusPageResult.h"
#include "task/Clock.h"

#include <QCoro/QCoroTask>

#include <memory>

namespace orvanel {

class HttpSession;

/// Reads the public status pages of the Uptime Kuma server on 127.0.0.1, without ever logging in.
/// Lives on one thread with an event loop; `clock` must outlive it. Requests that are under way when it is destroyed
/// end in an error. Answers over 16 MiB are refused, redirects are never followed, and no proxy is used.
class StatusPageClient {
public:
    explicit StatusPageClient(Clock& clock);
    ~StatusPageClient();
    StatusPageClient(const StatusPageClient&) = delete;
    StatusPageClient& operator=(const StatusPageClient&) = delete;

    /// What the web page answers within 2.5 s. Any HTTP status below 500 is usual but 200: a server that has started
    /// leads elsewhere, while the one that converts data says so at this address. So with 200, /api/entry-page is asked
    /// too, which gives JSON once the server has started, and 404 during a conversion.
    QCoro::Task<PageAnswer> pageAnswers(int port);

    /// Reads the page `slug` (already trimmed and lower-cased) and its heartbeats, one request after the other. Each
    /// may be silent for 5 s and last 15 s in all.
    QCoro::Task<StatusPageResult> fetch(int port, QString slug);

private:
    std::shared_ptr<HttpSession> session();

    Clock& m_clock;
    /// Made at the first request, and shared with the requests under way, which may outlive the client.
    std::shared_ptr<HttpSession> m_session;
};

} // namespace orvanel
