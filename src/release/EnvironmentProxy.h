#pragma once

#include <QNetworkProxy>
#include <QProcessEnvironment>
#include <QUrl>

namespace orvanel {

/// The proxy for an http or https address, from the usual variables http_proxy, https_proxy, all_proxy and no_proxy.
/// All but http_proxy may also be written in capitals. http and socks5 proxies are supported. The connection is direct
/// to this computer itself, without a proxy, and with a proxy of any other kind.
QNetworkProxy environmentProxy(const QUrl& address, const QProcessEnvironment& environment);

} // namespace orvanel
