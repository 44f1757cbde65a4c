#pragma once

#include "release/ReleaseAnswer.h"
#include "task/Clock.h"

#include <QCoro/QCoroTask>
#include <QUrl>

#include <memory>

class QNetworkAccessManager;

namespace orvanel {

/// Asks the Uptime Kuma project for its newest release. Lives on one thread with an event loop; `clock` must outlive
/// it. Requests that are under way when it is destroyed end in an error.
///
/// An answer may take 10 s and be 1 MiB long. Up to five redirects are followed, from https only to https. No
/// authentication and no cookies are sent. The proxy is that of the environment (see EnvironmentProxy.h).
class ReleaseClient {
public:
    /// The latest-release endpoint of the project in the GitHub REST API.
    static QUrl projectEndpoint();

    explicit ReleaseClient(Clock& clock, QUrl endpoint = projectEndpoint());
    ~ReleaseClient();
    ReleaseClient(const ReleaseClient&) = delete;
    ReleaseClient& operator=(const ReleaseClient&) = delete;

    QCoro::Task<ReleaseResult> fetch();

private:
    QNetworkAccessManager& network();

    Clock& m_clock;
    const QUrl m_endpoint;
    /// Made at the first request, because most days bring none.
    std::unique_ptr<QNetworkAccessManager> m_network;
};

} // namespace orvanel
