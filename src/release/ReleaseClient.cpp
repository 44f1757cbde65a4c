#include "release/ReleaseClient.h"

#include "release/EnvironmentProxy.h"
#include "release/ReleaseDownload.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int mostRedirects = 5;

/// Qt asks it again for each address that a redirect leads to.
class EnvironmentProxies final : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override {
        return {environmentProxy(query.url(), QProcessEnvironment::systemEnvironment())};
    }
};

QNetworkRequest requestFor(const QUrl& endpoint) {
    QNetworkRequest request(endpoint);
    request.setRawHeader("User-Agent", "Orvanel");
    request.setRawHeader("Accept", "application/vnd.github+json");
    // A compressed answer could grow without limit when it is unpacked.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(mostRedirects);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return request;
}

QCoro::Task<ReleaseResult> resultOf(Event<ReleaseResult> ended) {
    const ReleaseResult result = co_await ended;
    co_return result;
}

} // namespace

QUrl ReleaseClient::projectEndpoint() {
    return QUrl(u"https://api.github.com/repos/louislam/uptime-kuma/releases/latest"_s);
}

ReleaseClient::ReleaseClient(Clock& clock, QUrl endpoint)
    : m_clock(clock)
    , m_endpoint(std::move(endpoint)) {}

ReleaseClient::~ReleaseClient() = default;

QCoro::Task<ReleaseResult> ReleaseClient::fetch() {
    QNetworkReply* const reply = network().get(requestFor(m_endpoint));
    const auto* const download = new ReleaseDownload(reply, m_clock, m_network.get());
    return resultOf(download->ended());
}

QNetworkAccessManager& ReleaseClient::network() {
    if (!m_network) {
        m_network = std::make_unique<QNetworkAccessManager>();
        m_network->setProxyFactory(new EnvironmentProxies);
    }
    return *m_network;
}

} // namespace orvanel
