#pragma once

#include "statuspage/MonitorRow.h"
#include "task/Clock.h"

#include <QCoro/QCoroTask>

#include <memory>
#include <variant>

class QNetworkAccessManager;

namespace orvanel {

/// A status page as it was read: its monitors in the page's order.
struct StatusPageData {
    QString title;
    QList<MonitorRow> monitors;

    bool operator==(const StatusPageData&) const = default;
};

/// Why a status page could not be read: one complete sentence for the user.
struct StatusPageError {
    QString message;

    bool operator==(const StatusPageError&) const = default;
};

using StatusPageResult = std::variant<StatusPageData, StatusPageError>;

/// Reads the public status pages of the Uptime Kuma server on 127.0.0.1, without ever logging in.
/// Lives on one thread with an event loop; must outlive what it was asked. Answers over 16 MiB are refused, redirects
/// are answers like any other (never followed), and no proxy is used.
class StatusPageClient {
public:
    explicit StatusPageClient(Clock& clock);
    ~StatusPageClient();
    StatusPageClient(const StatusPageClient&) = delete;
    StatusPageClient& operator=(const StatusPageClient&) = delete;

    /// Whether the web page answers within 2.5 s, with any HTTP status below 500.
    QCoro::Task<bool> pageAnswers(int port);

    /// Reads the page `slug` (already trimmed and lower-cased) and its heartbeats, one request after the other.
    QCoro::Task<StatusPageResult> fetch(int port, QString slug);

private:
    QNetworkAccessManager& session();

    Clock& m_clock;
    std::unique_ptr<QNetworkAccessManager> m_session;
};

} // namespace orvanel
