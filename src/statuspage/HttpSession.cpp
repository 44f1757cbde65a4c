#include "statuspage/HttpSession.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>
#include <optional>

namespace orvanel {
namespace {

/// How much of a body may lie unread in the network thread: a server that never ends cannot fill the memory.
constexpr qint64 readAhead = 1024 * 1024;

QNetworkRequest requestFor(const QUrl& url) {
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    // Saying so ourselves also keeps Qt from unpacking: a small answer cannot become a huge one.
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

/// `status` is 0 when no head has come.
QString descriptionOf(const QNetworkReply& reply, int status) {
    if (reply.error() == QNetworkReply::ConnectionRefusedError) {
        return QStringLiteral("the connection was refused.");
    }
    if (reply.error() == QNetworkReply::RemoteHostClosedError) {
        // Qt gives the same word for a server that says nothing and for one that does not speak HTTP.
        return status == 0 ? QStringLiteral("the server gave no proper answer.")
                           : QStringLiteral("the server closed the connection.");
    }
    const QString text = reply.errorString();
    return text.endsWith(u'.') ? text : text + u'.';
}

HttpFailure cancelled() {
    return {QStringLiteral("the request was cancelled.")};
}

} // namespace

/// One request from its sending to its end. It ends once; the session then settles it from the event loop, never
/// inside a signal of the reply or inside a timer.
class HttpSession::Exchange {
public:
    Exchange(HttpSession& session, QNetworkReply* reply, Terms terms)
        : m_session(session)
        , m_clock(*session.m_clock)
        , m_reply(reply)
        , m_terms(terms)
        , m_end(m_clock.now() + terms.total) {
        reply->setReadBufferSize(readAhead);
        QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, [this] { onHead(); });
        QObject::connect(reply, &QNetworkReply::readyRead, reply, [this] { onBody(); });
        QObject::connect(reply, &QNetworkReply::finished, reply, [this] { onFinished(); });
        expectNews();
    }

    /// Drops the rest of the reply. Whoever still waits is told that it was in vain.
    ~Exchange() { m_answered.complete(m_result.value_or(cancelled())); }

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    const Event<HttpResult>& answered() const { return m_answered; }

private:
    void expectNews() {
        using std::chrono::milliseconds;
        const auto rest = std::chrono::ceil<milliseconds>(m_end - m_clock.now());
        const auto wait = std::clamp(rest, milliseconds(0), m_terms.silence);
        m_timer = m_clock.callAfter(wait, [this] { end(HttpFailure{QStringLiteral("the request timed out.")}); });
    }

    void onHead() {
        if (m_result) {
            return;
        }
        expectNews();
        m_status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (m_status != 200 || !m_terms.readsBody) {
            end(HttpAnswer{m_status, {}});
        } else if (m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() > largestBody) {
            end(tooLarge());
        }
    }

    void onBody() {
        if (m_result) {
            return;
        }
        expectNews();
        m_body += m_reply->readAll();
        if (m_body.size() > largestBody) {
            end(tooLarge());
        }
    }

    void onFinished() {
        onBody();
        if (m_reply->error() == QNetworkReply::NoError) {
            end(HttpAnswer{m_status, m_body});
        } else {
            end(HttpFailure{descriptionOf(*m_reply, m_status)});
        }
    }

    static HttpFailure tooLarge() { return {QStringLiteral("the answer is too large.")}; }

    void end(HttpResult result) {
        if (m_result) {
            return;
        }
        m_result = std::move(result);
        QMetaObject::invokeMethod(
            m_session.m_manager.get(), [this] { m_session.settle(this); }, Qt::QueuedConnection);
    }

    HttpSession& m_session;
    Clock& m_clock;
    const std::unique_ptr<QNetworkReply> m_reply;
    const Terms m_terms;
    const Clock::TimePoint m_end;
    const Event<HttpResult> m_answered;
    int m_status = 0;
    QByteArray m_body;
    std::optional<HttpResult> m_result;
    std::unique_ptr<Clock::Timer> m_timer;
};

HttpSession::HttpSession(Clock& clock)
    : m_clock(&clock)
    , m_manager(std::make_unique<QNetworkAccessManager>()) {
    m_manager->setProxy(QNetworkProxy::NoProxy);
}

HttpSession::~HttpSession() {
    close();
}

Event<HttpResult> HttpSession::get(const QUrl& url, Terms terms) {
    if (!m_manager) {
        const Event<HttpResult> never;
        never.complete(cancelled());
        return never;
    }
    QNetworkReply* const reply = m_manager->get(requestFor(url));
    m_exchanges.push_back(std::make_unique<Exchange>(*this, reply, terms));
    return m_exchanges.back()->answered();
}

void HttpSession::close() {
    m_exchanges.clear();
    m_manager.reset();
}

/// The side that closes a connection keeps its port in a closing state for a minute. Asking the server to close would
/// leave that with the server's port, and it could not be taken again at once: so the connection is kept alive as
/// far as the server knows, and closed here before the answer is handed over.
void HttpSession::settle(Exchange* exchange) {
    const auto same = [exchange](const std::unique_ptr<Exchange>& other) { return other.get() == exchange; };
    const auto found = std::find_if(m_exchanges.begin(), m_exchanges.end(), same);
    m_exchanges.erase(found);
    if (m_exchanges.empty()) {
        m_manager->clearConnectionCache();
    }
}

} // namespace orvanel
