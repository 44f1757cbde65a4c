#include "platform/Folders.h"
#include "support/TestHome.h"

#include <QTest>

using namespace orvanel;
using namespace orvanel::test;

class TestFolders : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foldersFollowTheEnvironment() {
        const TestHome home;
        qputenv("XDG_DATA_HOME", QFile::encodeName(home.path(QStringLiteral("elsewhere"))));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path(QStringLiteral("settings"))));
        QCOMPARE(folders::applicationSupport(), home.path(QStringLiteral("elsewhere")));
        QCOMPARE(folders::configuration(), home.path(QStringLiteral("settings")));
    }

    void foldersLieInTheHomeByDefault() {
        const TestHome home;
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
        QCOMPARE(folders::applicationSupport(), home.path(QStringLiteral(".local/share")));
        QCOMPARE(folders::configuration(), home.path(QStringLiteral(".config")));
    }

    void relativeFoldersAreIgnored() {
        const TestHome home;
        qputenv("XDG_DATA_HOME", "data");
        qputenv("XDG_CONFIG_HOME", "config");
        QCOMPARE(folders::applicationSupport(), home.path(QStringLiteral(".local/share")));
        QCOMPARE(folders::configuration(), home.path(QStringLiteral(".config")));
    }
};

QTEST_GUILESS_MAIN(TestFolders)
#include "TestFolders.moc"
