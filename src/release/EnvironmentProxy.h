#pragma once

#include <QNetworkProxy>
#include <QProcessEnvironment>
#include <QUrl>

namespace orvanel {

/// The proxy for an http or https address, as the variables http_proxy, https_proxy, all_proxy and no_proxy tell it to
/// every program: in small or, but for http_proxy, in capital letters. Known are http and socks5 proxies; with a proxy
/// of any other sort, without one, and for this machine itself the connection is direct.
QNetworkProxy environmentProxy(const QUrl& address, const QProcessEnvironment& environment);

} // namespace orvanel
