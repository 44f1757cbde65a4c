#include "statuspage/StatusPageClient.h"

#include "statuspage/HttpSession.h"
#include "statuspage/StatusPageAnswer.h"
#include "task/Worker.h"

#include <QUrl>

#include <limits>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

using namespace std::chrono_literals;

constexpr HttpSession::Terms readinessTerms{.silence = 2500ms, .total = 2500ms, .readsBody = false};
constexpr HttpSession::Terms entryTerms{.silence = 2500ms, .total = 2500ms, .readsBody = true};
constexpr HttpSession::Terms apiTerms{.silence = 5s, .total = 15s, .readsBody = true};

/// None if the number is no TCP port.
std::optional<quint16> portOf(int port) {
    const bool fits = port >= 0 && port <= std::numeric_limits<quint16>::max();
    return fits ? std::optional(static_cast<quint16>(port)) : std::nullopt;
}

/// The slug as one segment of a path; none if it is not valid text.
std::optional<QByteArray> encodedSlug(const QString& slug) {
    constexpr auto allowedInSegment = "!$&'()*+,;=:@";
    return slug.isValidUtf16() ? std::optional(QUrl::toPercentEncoding(slug, allowedInSegment)) : std::nullopt;
}

PageAnswer meaningOfEntryPage(const HttpResult& result) {
    const auto* answer = std::get_if<HttpAnswer>(&result);
    if (answer && answer->status == 404) {
        return PageAnswer::converting;
    }
    return std::holds_alternative<QJsonDocument>(readJson(result)) ? PageAnswer::usual : PageAnswer::strange;
}

QCoro::Task<PageAnswer> askPage(std::shared_ptr<HttpSession> session, quint16 port) {
    const Event<HttpResult> answered = session->get(port, "/", readinessTerms);
    const HttpResult result = co_await answered;
    const auto* answer = std::get_if<HttpAnswer>(&result);
    if (!answer || answer->status <= 0 || answer->status >= 500) {
        co_return PageAnswer::none;
    }
    if (answer->status != 200) {
        co_return PageAnswer::usual;
    }
    const Event<HttpResult> entryAnswered = session->get(port, "/api/entry-page", entryTerms);
    const HttpResult entry = co_await entryAnswered;
    const auto read = [entry] { return meaningOfEntryPage(entry); };
    const PageAnswer meaning = co_await onWorker(read);
    co_return meaning;
}

QCoro::Task<JsonResult> get(std::shared_ptr<HttpSession> session, quint16 port, QByteArray path) {
    const Event<HttpResult> answered = session->get(port, path, apiTerms);
    const HttpResult result = co_await answered;
    const auto read = [result] { return readJson(result); };
    const JsonResult json = co_await onWorker(read);
    co_return json;
}

QCoro::Task<StatusPageResult> readPage(std::shared_ptr<HttpSession> session, quint16 port, QByteArray encoded,
                                       QString slug) {
    const QByteArray pagePath = "/api/status-page/" + encoded;
    const QByteArray beatsPath = "/api/status-page/heartbeat/" + encoded;
    const JsonResult page = co_await get(session, port, pagePath);
    if (const auto* error = std::get_if<StatusPageError>(&page)) {
        co_return *error;
    }
    const JsonResult beats = co_await get(session, port, beatsPath);
    if (const auto* error = std::get_if<StatusPageError>(&beats)) {
        co_return *error;
    }
    const auto read = [page, beats, slug] {
        return readStatusPage(std::get<QJsonDocument>(page), std::get<QJsonDocument>(beats), slug);
    };
    const StatusPageResult result = co_await onWorker(read);
    co_return result;
}

QCoro::Task<StatusPageResult> slugIsNotValid() {
    co_return StatusPageError{u"Could not read the status page: the slug is not valid."_s};
}

QCoro::Task<PageAnswer> nothing() {
    co_return PageAnswer::none;
}

} // namespace

StatusPageClient::StatusPageClient(Clock& clock)
    : m_clock(clock) {}

StatusPageClient::~StatusPageClient() {
    if (m_session) {
        m_session->close();
    }
}

QCoro::Task<PageAnswer> StatusPageClient::pageAnswers(int port) {
    const auto valid = portOf(port);
    return valid ? askPage(session(), *valid) : nothing();
}

QCoro::Task<StatusPageResult> StatusPageClient::fetch(int port, QString slug) {
    const auto valid = portOf(port);
    const auto encoded = encodedSlug(slug);
    return valid && encoded ? readPage(session(), *valid, *encoded, std::move(slug)) : slugIsNotValid();
}

std::shared_ptr<HttpSession> StatusPageClient::session() {
    if (!m_session) {
        m_session = std::make_shared<HttpSession>(m_clock);
    }
    return m_session;
}

} // namespace orvanel
