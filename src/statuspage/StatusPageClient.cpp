#include "statuspage/StatusPageClient.h"

#include "statuspage/HttpSession.h"
#include "statuspage/StatusPageAnswer.h"
#include "task/Worker.h"

namespace orvanel {
namespace {

using namespace std::chrono_literals;

constexpr HttpSession::Terms readinessTerms{.silence = 2500ms, .total = 2500ms, .readsBody = false};
constexpr HttpSession::Terms apiTerms{.silence = 5s, .total = 15s, .readsBody = true};

/// None when the port cannot stand in an address.
std::optional<QUrl> localUrl(int port, const QByteArray& encodedPath) {
    // Read strictly: the path goes out as it is encoded here.
    const QUrl url = QUrl::fromEncoded("http://127.0.0.1:" + QByteArray::number(port) + encodedPath, QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt;
}

/// The slug as one segment of a path; none when it is not valid text. Nor when it is one of the two names by which a
/// path walks: in any encoding they would lead to another address.
std::optional<QByteArray> encodedSlug(const QString& slug) {
    constexpr auto allowedInSegment = "!$&'()*+,;=:@";
    const bool walks = slug == u"." || slug == u"..";
    return slug.isValidUtf16() && !walks ? std::optional(QUrl::toPercentEncoding(slug, allowedInSegment))
                                         : std::nullopt;
}

QCoro::Task<bool> askPage(std::shared_ptr<HttpSession> session, QUrl url) {
    const Event<HttpResult> answered = session->get(url, readinessTerms);
    const HttpResult result = co_await answered;
    const auto* answer = std::get_if<HttpAnswer>(&result);
    co_return answer && answer->status > 0 && answer->status < 500;
}

QCoro::Task<JsonResult> get(std::shared_ptr<HttpSession> session, QUrl url) {
    const Event<HttpResult> answered = session->get(url, apiTerms);
    const HttpResult result = co_await answered;
    const std::function<JsonResult()> read = [result] { return readJson(result); };
    const JsonResult json = co_await onWorker<JsonResult>(read);
    co_return json;
}

QCoro::Task<StatusPageResult> readPage(std::shared_ptr<HttpSession> session, QUrl pageUrl, QUrl beatsUrl,
                                       QString slug) {
    const JsonResult page = co_await get(session, pageUrl);
    if (const auto* error = std::get_if<StatusPageError>(&page)) {
        co_return *error;
    }
    const JsonResult beats = co_await get(session, beatsUrl);
    if (const auto* error = std::get_if<StatusPageError>(&beats)) {
        co_return *error;
    }
    const std::function<StatusPageResult()> read = [page, beats, slug] {
        return readStatusPage(std::get<QJsonDocument>(page), std::get<QJsonDocument>(beats), slug);
    };
    const StatusPageResult result = co_await onWorker<StatusPageResult>(read);
    co_return result;
}

QCoro::Task<StatusPageResult> slugIsNotValid() {
    co_return StatusPageError{QStringLiteral("Could not read the status page: the slug is not valid.")};
}

QCoro::Task<bool> no() {
    co_return false;
}

} // namespace

StatusPageClient::StatusPageClient(Clock& clock)
    : m_clock(clock) {}

StatusPageClient::~StatusPageClient() {
    if (m_session) {
        m_session->close();
    }
}

QCoro::Task<bool> StatusPageClient::pageAnswers(int port) {
    const auto url = localUrl(port, "/");
    return url ? askPage(session(), *url) : no();
}

QCoro::Task<StatusPageResult> StatusPageClient::fetch(int port, QString slug) {
    const auto encoded = encodedSlug(slug);
    if (!encoded) {
        return slugIsNotValid();
    }
    const auto pageUrl = localUrl(port, "/api/status-page/" + *encoded);
    const auto beatsUrl = localUrl(port, "/api/status-page/heartbeat/" + *encoded);
    if (!pageUrl || !beatsUrl) {
        return slugIsNotValid();
    }
    return readPage(session(), *pageUrl, *beatsUrl, std::move(slug));
}

std::shared_ptr<HttpSession> StatusPageClient::session() {
    if (!m_session) {
        m_session = std::make_shared<HttpSession>(m_clock);
    }
    return m_session;
}

} // namespace orvanel
