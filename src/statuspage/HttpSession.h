#pragma once

#include "statuspage/HttpReader.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <vector>

namespace orvanel {

/// Plain GET requests to a server on 127.0.0.1, without proxy, cookies, cache or redirects. Each has a connection of
/// its own, which is closed from our side as soon as the answer is known. Lives on one thread with an event loop.
class HttpSession {
public:
    /// What is read, and how long it may take.
    struct Terms {
        /// The longest wait for the next sign of life.
        std::chrono::milliseconds silence;
        std::chrono::milliseconds total;
        /// If false, the answer is complete after its head: the status line and the headers.
        bool readsBody;
    };

    explicit HttpSession(Clock& clock);
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// Sends `path` as it is.
    Event<HttpResult> get(quint16 port, const QByteArray& path, Terms terms);

    /// Ends all requests with a failure, later ones too. The clock is not used any more.
    void close();

private:
    class Exchange;
    void settle(Exchange* exchange);

    Clock* m_clock;
    bool m_isClosed = false;
    std::vector<std::unique_ptr<Exchange>> m_exchanges;
    /// Receives the ends of exchanges from the event loop.
    QObject m_context;
};

} // namespace orvanel
