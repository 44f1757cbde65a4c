#pragma once

#include "statuspage/HttpReader.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <vector>

namespace orvanel {

/// Plain GET requests to a server on 127.0.0.1: fresh every time, without proxy, cookies, cache or redirects, each on a
/// connection of its own that is closed here as soon as the answer is known. Lives on one thread with an event loop.
class HttpSession {
public:
    /// What is read, and how long it may take.
    struct Terms {
        /// The longest wait for the next sign of life.
        std::chrono::milliseconds silence;
        std::chrono::milliseconds total;
        /// Otherwise the answer is complete with its head: status line and headers.
        bool readsBody;
    };

    explicit HttpSession(Clock& clock);
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// `path` goes over the wire as it is.
    Event<HttpResult> get(quint16 port, const QByteArray& path, Terms terms);

    /// Ends what is under way with a failure, and whatever is asked later. The clock is not used any more.
    void close();

private:
    class Exchange;
    void settle(Exchange* exchange);

    Clock* m_clock;
    bool m_isClosed = false;
    std::vector<std::unique_ptr<Exchange>> m_exchanges;
    /// Where the ends of exchanges are posted to.
    QObject m_context;
};

} // namespace orvanel
