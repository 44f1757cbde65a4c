#include "release/EnvironmentProxy.h"

#include <QHostAddress>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int httpPort = 80;
constexpr int socksPort = 1080;

QString value(const QProcessEnvironment& environment, const QString& name) {
    const QString text = environment.value(name).trimmed();
    return text.isEmpty() ? environment.value(name.toUpper()).trimmed() : text;
}

/// HTTP_PROXY is ignored, as in other programs: scripts of a web server find a request's "Proxy" header in it.
QString proxyText(const QString& scheme, const QProcessEnvironment& environment) {
    const QString own =
        scheme == u"http"_s ? environment.value(u"http_proxy"_s).trimmed() : value(environment, u"https_proxy"_s);
    return own.isEmpty() ? value(environment, u"all_proxy"_s) : own;
}

bool isThisMachine(const QString& host) {
    QHostAddress address;
    return host == u"localhost"_s || (address.setAddress(host) && address.isLoopback());
}

/// "example.org" and ".example.org" both mean the domain and everything below it. A port may narrow it down.
bool isExempt(const QUrl& address, const QString& exemption) {
    if (exemption == u"*"_s) {
        return true;
    }
    const qsizetype dot = exemption.startsWith(u'.') ? 1 : 0;
    const QUrl parts(u"//"_s + exemption.mid(dot).toLower());
    if (parts.port() > 0 && parts.port() != address.port(address.scheme() == u"https"_s ? 443 : 80)) {
        return false;
    }
    const QString domain = parts.host();
    return !domain.isEmpty() && (address.host() == domain || address.host().endsWith(u'.' + domain));
}

QNetworkProxy proxyOf(const QString& text) {
    const bool hasScheme = text.contains(u"://"_s);
    const QUrl url(hasScheme ? text : u"http://"_s + text);
    if (!url.isValid() || url.host().isEmpty()) {
        return QNetworkProxy::NoProxy;
    }
    const bool isSocks = url.scheme() == u"socks5"_s || url.scheme() == u"socks5h"_s;
    if (!isSocks && url.scheme() != u"http"_s) {
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
    const QString exemptions = value(environment, u"no_proxy"_s).replace(u' ', u',');
    const QStringList list = exemptions.split(u',', Qt::SkipEmptyParts);
    const auto covers = [&](const QString& exemption) { return isExempt(address, exemption); };
    return std::any_of(list.begin(), list.end(), covers) ? QNetworkProxy(QNetworkProxy::NoProxy) : proxyOf(text);
}

} // namespace orvanel
