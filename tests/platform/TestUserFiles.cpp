#include "platform/UserFiles.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

class TestUserFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foldersFollowTheEnvironment() {
        const TestHome home;
        qputenv("XDG_DATA_HOME", QFile::encodeName(home.path(u"elsewhere"_s)));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path(u"settings"_s)));
        QCOMPARE(folders::applicationSupport(), home.path(u"elsewhere"_s));
        QCOMPARE(folders::configuration(), home.path(u"settings"_s));
    }

    void foldersLieInTheHomeByDefault() {
        const TestHome home;
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
        QCOMPARE(folders::applicationSupport(), home.path(u".local/share"_s));
        QCOMPARE(folders::configuration(), home.path(u".config"_s));
    }

    void relativeFoldersAreIgnored() {
        const TestHome home;
        qputenv("XDG_DATA_HOME", "data");
        qputenv("XDG_CONFIG_HOME", "config");
        QCOMPARE(folders::applicationSupport(), home.path(u".local/share"_s));
        QCOMPARE(folders::configuration(), home.path(u".config"_s));
    }
};

ORVANEL_TEST(TestUserFiles)
#include "TestUserFiles.moc"
