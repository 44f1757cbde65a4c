#pragma once

#include "statuspage/HttpResult.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <QUrl>

#include <chrono>
#include <memory>
#include <vector>

class QNetworkAccessManager;

namespace orvanel {

/// Plain GET requests to a server on this machine: fresh every time, without proxy, cookies, cache or redirects, and
/// each with its own end. Leaves no connection open between requests. Lives on one thread with an event loop.
class HttpSession {
public:
    /// What is read, and how long it may take.
    struct Terms {
        /// The longest wait for the next sign of life; the head of the answer is one sign.
        std::chrono::milliseconds silence;
        std::chrono::milliseconds total;
        /// Otherwise the answer is complete with its head: status line and headers.
        bool readsBody;
    };

    /// Larger bodies are refused while they arrive.
    static constexpr qint64 largestBody = 16 * 1024 * 1024;

    explicit HttpSession(Clock& clock);
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    Event<HttpResult> get(const QUrl& url, Terms terms);

    /// Ends what is under way with a failure, and whatever is asked later. The clock is not used any more.
    void close();

private:
    class Exchange;
    void settle(Exchange* exchange);

    Clock* m_clock;
    std::unique_ptr<QNetworkAccessManager> m_manager;
    std::vector<std::unique_ptr<Exchange>> m_exchanges;
};

} // namespace orvanel
