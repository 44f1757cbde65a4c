#include "statuspage/HttpSession.h"

#include "statuspage/HttpReader.h"

#include <QNetworkProxy>
#include <QTcpSocket>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

// docs/architecture.md tells why this is not QNetworkAccessManager.

namespace orvanel {
namespace {

/// How much is taken from the connection in one turn of the event loop.
constexpr qint64 readAtOnce = qint64(256) * 1024;

/// With HTTP/1.1 the server leaves the connection open after its answer, and we close it. The port that then stays in a
/// closing state for a minute is ours: the server's port can be bound again at once.
QByteArray requestFor(quint16 port, const QByteArray& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(port) +
           "\r\nAccept: */*\r\nAccept-Encoding: identity\r\n\r\n";
}

HttpFailure cancelled() {
    return {u"the request was cancelled."_s};
}

HttpFailure failureOf(const QTcpSocket& socket) {
    if (socket.error() == QAbstractSocket::ConnectionRefusedError) {
        return {u"the connection was refused."_s};
    }
    const QString text = socket.errorString();
    return {text.endsWith(u'.') ? text : text + u'.'};
}

} // namespace

/// One request from its sending to its end. After its end the session deletes it from the event loop, never inside a
/// signal of the socket or inside a timer.
class HttpSession::Exchange {
public:
    Exchange(HttpSession& session, Terms terms)
        : m_session(session)
        , m_clock(*session.m_clock)
        , m_terms(terms)
        , m_end(m_clock.now() + terms.total)
        , m_reader(terms.readsBody) {
        m_socket.setProxy(QNetworkProxy::NoProxy);
        m_socket.setReadBufferSize(readAtOnce);
        QObject::connect(&m_socket, &QTcpSocket::readyRead, &m_socket, [this] { onBytes(); });
        QObject::connect(&m_socket, &QTcpSocket::errorOccurred, &m_socket, [this] { onError(); });
    }

    /// Closes the connection. If there is no result yet, the request ends as cancelled.
    ~Exchange() { m_answered.complete(m_result.value_or(cancelled())); }

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    const Event<HttpResult>& answered() const { return m_answered; }

    void send(quint16 port, const QByteArray& path) {
        expectNews();
        QObject::connect(&m_socket, &QTcpSocket::connected, &m_socket,
                         [this, request = requestFor(port, path)] { m_socket.write(request); });
        m_socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    }

private:
    void expectNews() {
        using std::chrono::milliseconds;
        const auto rest = std::chrono::ceil<milliseconds>(m_end - m_clock.now());
        const auto wait = std::clamp(rest, milliseconds(0), m_terms.silence);
        m_timer = m_clock.callAfter(wait, [this] { end(HttpFailure{u"the request timed out."_s}); });
    }

    void onBytes() {
        if (m_result) {
            return;
        }
        expectNews();
        if (auto result = m_reader.feed(m_socket.readAll())) {
            end(*std::move(result));
        }
    }

    void onError() {
        onBytes();
        const bool isServersEnd = m_socket.error() == QAbstractSocket::RemoteHostClosedError;
        end(isServersEnd ? m_reader.end() : HttpResult(failureOf(m_socket)));
    }

    void end(HttpResult result) {
        if (m_result) {
            return;
        }
        m_result = std::move(result);
        // By then the session may have been closed and this exchange deleted, so only the session is used.
        const auto settle = [session = &m_session, exchange = this] { session->settle(exchange); };
        QMetaObject::invokeMethod(&m_session.m_context, settle, Qt::QueuedConnection);
    }

    HttpSession& m_session;
    Clock& m_clock;
    const Terms m_terms;
    const Clock::TimePoint m_end;
    const Event<HttpResult> m_answered;
    std::optional<HttpResult> m_result;
    HttpReader m_reader;
    std::unique_ptr<Clock::Timer> m_timer;
    QTcpSocket m_socket;
};

HttpSession::HttpSession(Clock& clock)
    : m_clock(&clock) {}

HttpSession::~HttpSession() {
    close();
}

Event<HttpResult> HttpSession::get(quint16 port, const QByteArray& path, Terms terms) {
    if (m_isClosed) {
        Event<HttpResult> never;
        never.complete(cancelled());
        return never;
    }
    Exchange& exchange = *m_exchanges.emplace_back(std::make_unique<Exchange>(*this, terms));
    exchange.send(port, path);
    return exchange.answered();
}

void HttpSession::close() {
    m_isClosed = true;
    m_exchanges.clear();
}

/// Closes the connection before the answer is handed over.
void HttpSession::settle(Exchange* exchange) {
    std::erase_if(m_exchanges, [exchange](const auto& other) { return other.get() == exchange; });
}

} // namespace orvanel
