#include "release/EnvironmentProxy.h"
#include "support/TestClass.h"

#include <QTest>

#ifdef __has_feature
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define LEAKS_ARE_LOOKED_FOR
#endif
#endif

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

QProcessEnvironment environmentOf(const QString& variables) {
    QProcessEnvironment environment;
    for (const QString& variable : variables.split(u' ', Qt::SkipEmptyParts)) {
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    }
    return environment;
}

/// The answer of Qt's own factory, which reads the variables from our environment.
QString qtsAnswer(const QString& address, const QString& variables) {
    const QProcessEnvironment environment = environmentOf(variables);
    for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy"}) {
        for (const QByteArray& spelling : {QByteArray(name), QByteArray(name).toUpper()}) {
            const QString value = environment.value(QString::fromLatin1(spelling));
            value.isEmpty() ? qunsetenv(spelling.constData()) : qputenv(spelling.constData(), value.toUtf8());
        }
    }
#ifdef LEAKS_ARE_LOOKED_FOR
    const __lsan::ScopedDisabler libproxy; // which Debian 13's Qt asks, and which leaks at each question
#endif
    const auto proxies = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(QUrl(address)));
    return textOf(proxies.value(0, QNetworkProxy::NoProxy));
}

struct Case {
    const char* name;
    const char* address;
    const char* variables;
    const char* proxy;
};

constexpr Case cases[] = {
    {"none", "https://a.example/x", "", "direct"},
    {"https", "https://a.example/x", "https_proxy=http://p:3128", "http p 3128"},
    {"in capitals", "https://a.example/x", "HTTPS_PROXY=http://p:3128", "http p 3128"},
    {"small before capitals", "https://a.example/x", "HTTPS_PROXY=http://q:1 https_proxy=http://p:2", "http p 2"},
    {"another scheme's", "https://a.example/x", "http_proxy=http://p:3128", "direct"},
    {"http", "http://a.example/x", "http_proxy=http://p:3128", "http p 3128"},
    {"http in capitals", "http://a.example/x", "HTTP_PROXY=http://p:3128", "direct"},
    {"all", "https://a.example/x", "all_proxy=http://p:3128", "http p 3128"},
    {"all in capitals, for http", "http://a.example/x", "ALL_PROXY=http://p:3128", "http p 3128"},
    {"own before all", "https://a.example/x", "all_proxy=http://q:1 https_proxy=http://p:2", "http p 2"},
    {"empty", "https://a.example/x", "https_proxy=", "direct"},
    {"without scheme", "https://a.example/x", "https_proxy=p:3128", "http p 3128"},
    {"without port", "https://a.example/x", "https_proxy=http://p", "http p 80"},
    {"with a slash", "https://a.example/x", "https_proxy=http://p:8080/", "http p 8080"},
    {"by number", "https://a.example/x", "https_proxy=http://10.0.0.1:8080", "http 10.0.0.1 8080"},
    {"with a password", "https://a.example/x", "https_proxy=http://me:p%40ss@p:1", "http me:p@ss@p 1"},
    {"socks", "https://a.example/x", "all_proxy=socks5://p:9", "socks5 p 9"},
    {"socks by its names", "https://a.example/x", "all_proxy=socks5h://p", "socks5 p 1080"},
    {"unknown sort", "https://a.example/x", "all_proxy=gopher://p:70", "direct"},
    {"nonsense", "https://a.example/x", "https_proxy=http://:99999", "direct"},

    {"exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=a.example", "direct"},
    {"exempt in capitals", "https://a.example/x", "https_proxy=http://p:1 NO_PROXY=A.Example", "direct"},
    {"domain exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=b.test,example", "direct"},
    {"domain with a dot", "https://a.example/x", "https_proxy=http://p:1 no_proxy=.example", "direct"},
    {"only the end of a name", "https://a.example/x", "https_proxy=http://p:1 no_proxy=ample", "http p 1"},
    {"another", "https://a.example/x", "https_proxy=http://p:1 no_proxy=b.example,,c", "http p 1"},
    {"all exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=*", "direct"},
    {"port exempt", "https://a.example/x", "https_proxy=http://p:1 no_proxy=a.example:443", "direct"},
    {"another port", "https://a.example/x", "https_proxy=http://p:1 no_proxy=a.example:80", "http p 1"},
    {"another port, told", "http://a.example:81/x", "all_proxy=p:1 no_proxy=a.example:80", "http p 1"},

    {"this machine", "http://127.0.0.1:1/x", "http_proxy=http://p:1 all_proxy=http://p:1", "direct"},
    {"this machine by name", "https://localhost/x", "https_proxy=http://p:1", "direct"},
    {"this machine, other number", "https://127.9.9.9/x", "https_proxy=http://p:1", "direct"},
    {"this machine, IPv6", "https://[::1]/x", "https_proxy=http://p:1", "direct"},
    {"only like this machine", "https://127.0.0.1.example/x", "https_proxy=http://p:1", "http p 1"},
};

} // namespace

class TestEnvironmentProxy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void proxy_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("variables");
        QTest::addColumn<QString>("proxy");
        for (const Case& one : cases) {
            QTest::newRow(one.name) << QString::fromLatin1(one.address) << QString::fromLatin1(one.variables)
                                    << QString::fromLatin1(one.proxy);
        }
    }

    void proxy() {
        QFETCH(const QString, address);
        QFETCH(const QString, variables);
        QTEST(textOf(environmentProxy(QUrl(address), environmentOf(variables))), "proxy");
    }

    void exemptionsMayBeSeparatedByBlanks() {
        QProcessEnvironment environment;
        environment.insert(u"https_proxy"_s, u"p:1"_s);
        environment.insert(u"no_proxy"_s, u"b.test, a.example c.test"_s);
        QCOMPARE(textOf(environmentProxy(QUrl(u"https://a.example"_s), environment)), u"direct"_s);
    }

    /// Why Qt's own factory is not used. If this test fails, Qt reads the variables as we do, and its factory should be
    /// considered again.
    void qtReadsTheVariablesDifferently() {
        QStringList differing;
        for (const Case& one : cases) {
            const QString answer = qtsAnswer(QString::fromLatin1(one.address), QString::fromLatin1(one.variables));
            if (answer != QString::fromLatin1(one.proxy)) {
                differing += u"%1: %2"_s.arg(QString::fromLatin1(one.name), answer);
            }
        }
        qInfo("%d of %d cases differ: %s", int(differing.size()), int(std::size(cases)),
              qPrintable(differing.join(u", "_s)));
        QVERIFY(!differing.isEmpty());
    }
};

ORVANEL_TEST(TestEnvironmentProxy)
#include "TestEnvironmentProxy.moc"
