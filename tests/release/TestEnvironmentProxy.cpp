#include "release/EnvironmentProxy.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

QString textOf(const QNetworkProxy& proxy) {
    if (proxy.type() == QNetworkProxy::NoProxy) {
        return u"direct"_s;
    }
    const QString type = proxy.type() == QNetworkProxy::HttpProxy     ? u"http"_s
                         : proxy.type() == QNetworkProxy::Socks5Proxy ? u"socks5"_s
                                                                      : u"other"_s;
    const QString user = proxy.user().isEmpty() ? QString() : proxy.user() + u':' + proxy.password() + u'@';
    return u"%1 %2%3 %4"_s.arg(type, user, proxy.hostName()).arg(proxy.port());
}

} // namespace

class TestEnvironmentProxy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void proxy_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("variables");
        QTest::addColumn<QString>("proxy");
        const auto row = [](const char* name, const char* address, const char* variables, const char* proxy) {
            QTest::newRow(name) << QString::fromLatin1(address) << QString::fromLatin1(variables)
                                << QString::fromLatin1(proxy);
        };
        row("none", "https://a.example/x", "", "direct");
        row("https", "https://a.example/x", "https_proxy=http://p:3128", "http p 3128");
        row("in capitals", "https://a.example/x", "HTTPS_PROXY=http://p:3128", "http p 3128");
        row("small before capitals", "https://a.example/x", "HTTPS_PROXY=http://q:1 https_proxy=http://p:2",
            "http p 2");
        row("another scheme's", "https://a.example/x", "http_proxy=http://p:3128", "direct");
        row("http", "http://a.example/x", "http_proxy=http://p:3128", "http p 3128");
        row("http in capitals", "http://a.example/x", "HTTP_PROXY=http://p:3128", "direct");
        row("all", "https://a.example/x", "all_proxy=http://p:3128", "http p 3128");
        row("all in capitals, for http", "http://a.example/x", "ALL_PROXY=http://p:3128", "http p 3128");
        row("own before all", "https://a.example/x", "all_proxy=http://q:1 https_proxy=http://p:2", "http p 2");
        row("empty", "https://a.example/x", "https_proxy=", "direct");
        row("without scheme", "https://a.example/x", "https_proxy=p:3128", "http p 3128");
        row("without port", "https://a.example/x", "https_proxy=http://p", "http p 80");
        row("with a slash", "https://a.example/x", "https_proxy=http://p:8080/", "http p 8080");
        row("by number", "https://a.example/x", "https_proxy=http://10.0.0.1:8080", "http 10.0.0.1 8080");
        row("with a password", "https://a.example/x", "https_proxy=http://me:p%40ss@p:1", "http me:p@ss@p 1");
        row("socks", "https://a.example/x", "all_proxy=socks5://p:9", "socks5 p 9");
        row("socks by its names", "https://a.example/x", "all_proxy=socks5h://p", "socks5 p 1080");
        row("unknown sort", "https://a.example/x", "all_proxy=gopher://p:70", "direct");
        row("nonsense", "https://a.example/x", "https_proxy=http://:99999", "direct");

        row("exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=a.example", "direct");
        row("exempt in capitals", "https://a.example/x", "https_proxy=http://p:1 NO_PROXY=A.Example", "direct");
        row("domain exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=b.test,example", "direct");
        row("domain with a dot", "https://a.example/x", "https_proxy=http://p:1 no_proxy=.example", "direct");
        row("only the end of a name", "https://a.example/x", "https_proxy=http://p:1 no_proxy=ample", "http p 1");
        row("another", "https://a.example/x", "https_proxy=http://p:1 no_proxy=b.example,,c", "http p 1");
        row("all exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=*", "direct");
        row("port exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=a.example:443", "direct");
        row("another port", "https://a.example/x", "https_proxy=http://p:1 no_proxy=a.example:80", "http p 1");
        row("another port, told", "http://a.example:81/x", "all_proxy=p:1 no_proxy=a.example:80", "http p 1");

        row("this machine", "http://127.0.0.1:1/x", "http_proxy=http://p:1 all_proxy=http://p:1", "direct");
        row("this machine by name", "https://localhost/x", "https_proxy=http://p:1", "direct");
        row("this machine, other number", "https://127.9.9.9/x", "https_proxy=http://p:1", "direct");
        row("this machine, IPv6", "https://[::1]/x", "https_proxy=http://p:1", "direct");
        row("only like this machine", "https://127.0.0.1.example/x", "https_proxy=http://p:1", "http p 1");
    }

    void proxy() {
        QFETCH(const QString, address);
        QFETCH(const QString, variables);
        QProcessEnvironment environment;
        for (const QString& variable : variables.split(u' ', Qt::SkipEmptyParts)) {
            environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
        }
        QTEST(textOf(environmentProxy(QUrl(address), environment)), "proxy");
    }

    void exemptionsMayBeSeparatedByBlanks() {
        QProcessEnvironment environment;
        environment.insert(u"https_proxy"_s, u"p:1"_s);
        environment.insert(u"no_proxy"_s, u"b.test, a.example c.test"_s);
        QCOMPARE(textOf(environmentProxy(QUrl(u"https://a.example"_s), environment)), u"direct"_s);
    }
};

ORVANEL_TEST(TestEnvironmentProxy)
#include "TestEnvironmentProxy.moc"
