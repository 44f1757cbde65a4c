#include "controller/RootHelper.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

/// When the helper can be offered. All below a folder that stands in for "/".
class TestRootHelper : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void needsPolkitAndPkexec_data() {
        QTest::addColumn<QStringList>("missing");
        QTest::addColumn<bool>("isFound");
        QTest::addColumn<bool>("canInstall");
        QTest::newRow("all there") << QStringList() << true << true;
        QTest::newRow("no pkexec") << QStringList(u"usr/bin/pkexec"_s) << false << false;
        QTest::newRow("no polkit") << QStringList(
                                          u"usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service"_s)
                                   << false << false;
        QTest::newRow("no helper") << QStringList(u"usr/libexec/orvanel-docker-setup"_s) << false << false;
        QTest::newRow("no package manager") << QStringList(u"usr/bin/apt-get"_s) << true << false;
    }
    void needsPolkitAndPkexec() {
        QFETCH(const QStringList, missing);
        QFETCH(const bool, isFound);
        QFETCH(const bool, canInstall);
        const TestHome home;
        for (const char* file : {"usr/bin/pkexec", "usr/bin/apt-get", "usr/libexec/orvanel-docker-setup",
                                 "usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service"}) {
            const QString path = u"root/"_s + QString::fromLatin1(file);
            home.write(path, "#!/bin/false\n");
            QFile::setPermissions(home.path(path), QFile::ReadOwner | QFile::ExeOwner);
        }
        for (const QString& file : missing) {
            QFile::remove(home.path(u"root/"_s + file));
        }
        qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(home.path(u"root"_s)));
        const std::optional<RootHelper> helper = RootHelper::findFrom(home.path(u"root/usr/bin"_s));
        qunsetenv("ORVANEL_TOOL_ROOT");
        QCOMPARE(helper.has_value(), isFound);
        if (!helper) {
            return;
        }
        QCOMPARE(helper->pkexec, home.path(u"root/usr/bin/pkexec"_s));
        QCOMPARE(helper->installCommand.has_value(), canInstall);
        QCOMPARE(helper->program, home.path(u"root/usr/libexec/orvanel-docker-setup"_s));
        QCOMPARE(helper->arguments(u"join"_s),
                 QStringList({u"--disable-internal-agent"_s, helper->program, u"join"_s}));
    }

    /// A program that was only built has the helper beside it.
    void helperOfABuild() {
        const TestHome home;
        for (const char* file : {"usr/bin/pkexec", "build/src/helper/orvanel-docker-setup",
                                 "usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service"}) {
            home.write(QString::fromLatin1(file), "#!/bin/false\n");
            QFile::setPermissions(home.path(QString::fromLatin1(file)), QFile::ReadOwner | QFile::ExeOwner);
        }
        qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(home.path(QString())));
        const std::optional<RootHelper> helper = RootHelper::findFrom(home.path(u"build/src/app"_s));
        qunsetenv("ORVANEL_TOOL_ROOT");
        QVERIFY(helper);
        QCOMPARE(helper->program, home.path(u"build/src/helper/orvanel-docker-setup"_s));
    }
};

ORVANEL_TEST(TestRootHelper)
#include "TestRootHelper.moc"
