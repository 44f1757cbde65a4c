#include "release/EnvironmentProxy.h"

#include <QHostAddress>

#include <algorithm>

namespace orvanel {
namespace {

constexpr int httpPort = 80;
constexpr int socksPort = 1080;

QString value(const QProcessEnvironment& environment, const QString& name) {
    const QString text = environment.value(name).trimmed();
    return text.isEmpty() ? environment.value(name.toUpper()).trimmed() : text;
}

/// A web server's scripts find a request's header "Proxy" in HTTP_PROXY: nobody trusts that one.
QString proxyText(const QString& scheme, const QProcessEnvironment& environment) {
    const QString own = scheme == QStringLiteral("http") ? environment.value(QStringLiteral("http_proxy")).trimmed()
                                                         : value(environment, QStringLiteral("https_proxy"));
    return own.isEmpty() ? value(environment, QStringLiteral("all_proxy")) : own;
}

bool isThisMachine(const QString& host) {
    QHostAddress address;
    return host == QStringLiteral("localhost") || (address.setAddress(host) && address.isLoopback());
}

/// "example.org" and ".example.org" both stand for the domain and all below it; a port narrows it down.
bool isExempt(const QUrl& address, const QString& exemption) {
    if (exemption == QStringLiteral("*")) {
        return true;
    }
    const qsizetype dot = exemption.startsWith(QLatin1Char('.')) ? 1 : 0;
    const QUrl parts(QStringLiteral("//") + exemption.mid(dot).toLower());
    if (parts.port() > 0 && parts.port() != address.port(address.scheme() == QStringLiteral("https") ? 443 : 80)) {
        return false;
    }
    const QString domain = parts.host();
    return !domain.isEmpty() && (address.host() == domain || address.host().endsWith(QLatin1Char('.') + domain));
}

QNetworkProxy proxyOf(const QString& text) {
    const bool hasScheme = text.contains(QStringLiteral("://"));
    const QUrl url(hasScheme ? text : QStringLiteral("http://") + text);
    if (!url.isValid() || url.host().isEmpty()) {
        return QNetworkProxy::NoProxy;
    }
    const bool isSocks = url.scheme() == QStringLiteral("socks5") || url.scheme() == QStringLiteral("socks5h");
    if (!isSocks && url.scheme() != QStringLiteral("http")) {
        return QNetworkProxy::NoProxy;
    }
    const auto port = static_cast<quint16>(url.port(isSocks ? socksPort : httpPort));
    return {isSocks ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy, url.host(), port,
            url.userName(QUrl::FullyDecoded), url.password(QUrl::FullyDecoded)};
}

} // namespace

QNetworkProxy environmentProxy(const QUrl& address, const QProcessEnvironment& environment) {
    const QString text = proxyText(address.scheme(), environment);
    if (text.isEmpty() || isThisMachine(address.host())) {
        return QNetworkProxy::NoProxy;
    }
    const QString exemptions =
        value(environment, QStringLiteral("no_proxy")).replace(QLatin1Char(' '), QLatin1Char(','));
    const QStringList list = exemptions.split(QLatin1Char(','), Qt::SkipEmptyParts);
    const auto covers = [&](const QString& exemption) { return isExempt(address, exemption); };
    return std::any_of(list.begin(), list.end(), covers) ? QNetworkProxy(QNetworkProxy::NoProxy) : proxyOf(text);
}

} // namespace orvanel
