#include "platform/AutostartEntry.h"
#include "platform/DesktopEntry.h"
#include "support/FilePermissions.h"
#include "support/FullDisk.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const QString usersFile = u".config/autostart/io.github.orvanel.Orvanel.desktop"_s;
const QString systemsFile = u"xdg/autostart/io.github.orvanel.Orvanel.desktop"_s;

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A home with a program in it, and the places of its autostart entries.
struct Desk {
    TestHome home;
    QString program = home.write(u"bin/orvanel"_s, "#!/bin/sh\n", true);
    AutostartEntry item = entryFor(program);

    AutostartEntry entryFor(const QString& path) const {
        return {path,
                {home.path(u".config/autostart"_s),
                 {home.path(u"nothing"_s), home.path(u"xdg/autostart"_s)},
                 {u"Here"_s, u"GNOME"_s}}};
    }
    void write(const QString& file, const QByteArray& lines) const {
        home.write(file, "[Desktop Entry]\nType=Application\nName=Orvanel\n" + lines);
    }
    QByteArray exec() const { return "Exec=" + program.toUtf8() + '\n'; }
    std::optional<DesktopEntry> entry() const { return DesktopEntry::parse(contentOf(home.path(usersFile))); }
};

} // namespace

class TestAutostartEntry : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fullDiskLeavesTheOldEntry() {
        const Desk desk;
        desk.write(usersFile, desk.exec());
        const QByteArray before = contentOf(desk.home.path(usersFile));
        const FullDisk full;
        AutostartEntry item = desk.entryFor(desk.program);
        const std::optional<QString> failure = item.setEnabled(false);
        QVERIFY(failure.has_value());
        QVERIFY2(failure->startsWith(u"The file %1 could not be written: "_s.arg(desk.home.path(usersFile))),
                 qPrintable(*failure));
        QCOMPARE(contentOf(desk.home.path(usersFile)), before);
        QCOMPARE(QDir(desk.home.path(u".config/autostart"_s)).entryList(QDir::Files).size(), 1);
        QVERIFY(item.isEnabled());
    }

    void initTestCase() { obeyFilePermissions(); }

    void onAndOff() {
        Desk desk;
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(false));
        QVERIFY(!QFileInfo::exists(desk.home.path(usersFile)));
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(false));
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
    }

    void writesWhatDesktopsRead() {
        Desk desk;
        QVERIFY(!desk.item.setEnabled(true));
        auto entry = desk.entry();
        QVERIFY(entry);
        QCOMPARE(entry->value("Type"), u"Application"_s);
        QCOMPARE(entry->value("Exec"), u"\"%1\""_s.arg(desk.program));
        QCOMPARE(entry->value("TryExec"), desk.program);
        QCOMPARE(entry->value("Icon"), u"io.github.orvanel.Orvanel"_s);
        QCOMPARE(entry->value("X-KDE-autostart-after"), u"panel"_s);
        QCOMPARE(entry->value("X-LXQt-Need-Tray"), u"true"_s);
        QVERIFY(entry->value("X-GNOME-Autostart-Delay"));
        QVERIFY(entry->isFalse("Hidden"));
        QVERIFY(entry->isTrue("X-GNOME-Autostart-enabled"));
        QVERIFY(!desk.item.setEnabled(false));
        entry = desk.entry();
        QVERIFY(entry->isTrue("Hidden"));
        QVERIFY(entry->isFalse("X-GNOME-Autostart-enabled"));
    }

    void statusIsReadFromTheFile_data() {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("plain") << QByteArray("Exec=PROGRAM\n") << true;
        QTest::newRow("quoted") << QByteArray("Exec=\"PROGRAM\" %U\n") << true;
        QTest::newRow("wrapped") << QByteArray("Exec=env LANG=C PROGRAM\n") << true;
        QTest::newRow("hidden") << QByteArray("Exec=PROGRAM\nHidden=true\n") << false;
        QTest::newRow("switched off") << QByteArray("Exec=PROGRAM\nX-GNOME-Autostart-enabled=false\n") << false;
        QTest::newRow("switched on") << QByteArray("Exec=PROGRAM\nX-GNOME-Autostart-enabled=true\n") << true;
        QTest::newRow("not hidden") << QByteArray("Exec=PROGRAM\nHidden=false\n") << true;
        QTest::newRow("needed file there") << QByteArray("Exec=PROGRAM\nTryExec=PROGRAM\n") << true;
        QTest::newRow("needed tool there") << QByteArray("Exec=PROGRAM\nTryExec=sh\n") << true;
        QTest::newRow("needed file missing") << QByteArray("Exec=PROGRAM\nTryExec=/nowhere/at/all\n") << false;
        QTest::newRow("needed tool missing") << QByteArray("Exec=PROGRAM\nTryExec=no-such-tool\n") << false;
        QTest::newRow("other program") << QByteArray("Exec=/bin/sh\n") << false;
        QTest::newRow("older place") << QByteArray("Exec=/opt/old/orvanel\n") << false;
        QTest::newRow("no program") << QByteArray() << false;
        QTest::newRow("other group") << QByteArray("Exec=PROGRAM\n[Other]\nHidden=true\n") << true;
        QTest::newRow("garbage") << QByteArray("Exec=PROGRAM\nwords\n") << false;
        QTest::newRow("for this desktop") << QByteArray("Exec=PROGRAM\nOnlyShowIn=KDE;GNOME;\n") << true;
        QTest::newRow("for another desktop") << QByteArray("Exec=PROGRAM\nOnlyShowIn=KDE;XFCE\n") << false;
        QTest::newRow("for no desktop") << QByteArray("Exec=PROGRAM\nOnlyShowIn=\n") << false;
        QTest::newRow("not for another desktop") << QByteArray("Exec=PROGRAM\nNotShowIn=KDE;\n") << true;
        QTest::newRow("not for this desktop") << QByteArray("Exec=PROGRAM\nNotShowIn=KDE;Here;\n") << false;
    }

    void statusIsReadFromTheFile() {
        QFETCH(QByteArray, lines);
        const Desk desk;
        desk.write(usersFile, lines.replace("PROGRAM", desk.program.toUtf8()));
        QTEST(desk.item.isEnabled(), "enabled");
    }

    void switchedOnItStartsOnThisDesktop() {
        for (const QByteArray limits : {"OnlyShowIn=KDE;\n", "NotShowIn=GNOME;\n"}) {
            Desk desk;
            desk.write(usersFile, desk.exec() + limits);
            QVERIFY(!desk.item.setEnabled(true));
            QVERIFY(desk.item.isEnabled());
        }
        Desk desk;
        desk.write(usersFile, desk.exec() + "NotShowIn=KDE;\n");
        QVERIFY(!desk.item.setEnabled(true));
        QCOMPARE(desk.entry()->list("NotShowIn"), QStringList{u"KDE"_s});
    }

    void programIsKnownThroughLinksAndTheSearchPath() {
        const Desk desk;
        QVERIFY(QFile::link(desk.program, desk.home.path(u"bin/link"_s)));
        desk.write(usersFile, "Exec=" + desk.home.path(u"bin/link"_s).toUtf8() + '\n');
        QVERIFY(desk.item.isEnabled());
        const QByteArray before = qgetenv("PATH");
        qputenv("PATH", desk.home.path(u"bin"_s).toUtf8());
        desk.write(usersFile, "Exec=orvanel\n");
        const bool enabled = desk.item.isEnabled();
        qputenv("PATH", before);
        QVERIFY(enabled);
    }

    void usersFileHidesTheSystems() {
        Desk desk;
        desk.write(systemsFile, desk.exec());
        QVERIFY(desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(false));
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(desk.entry()->isTrue("Hidden"));
        QVERIFY(QFileInfo::exists(desk.home.path(systemsFile)));
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
        desk.write(systemsFile, desk.exec() + "Hidden=true\n");
        QVERIFY(desk.item.isEnabled());
    }

    void foreignKeysStay() {
        Desk desk;
        desk.write(usersFile,
                   "Comment=mine\nExec=env A=b " + desk.program.toUtf8() + "\nX-Foreign=1\n[Other]\nkey=2\n");
        QVERIFY(!desk.item.setEnabled(false));
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
        const QByteArray content = contentOf(desk.home.path(usersFile));
        for (const QByteArray& line : {QByteArray("Comment=mine\n"), "Exec=env A=b " + desk.program.toUtf8() + '\n',
                                       QByteArray("X-Foreign=1\n"), QByteArray("[Other]\nkey=2\n")}) {
            QVERIFY2(content.contains(line), content.constData());
        }
    }

    void entryOfAnotherPlaceIsTakenOver() {
        Desk desk;
        desk.write(usersFile, "Exec=/opt/old/orvanel\nTryExec=/opt/old/orvanel\n");
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
    }

    void garbageIsReplaced() {
        Desk desk;
        desk.home.write(usersFile, QByteArray("\0\xff garbage", 10));
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
    }

    void linkIsReplacedAndItsTargetStays() {
        Desk desk;
        const QString launcher = u"applications/launcher.desktop"_s;
        desk.write(launcher, desk.exec());
        const QByteArray before = contentOf(desk.home.path(launcher));
        QVERIFY(QDir().mkpath(desk.home.path(u".config/autostart"_s)));
        QVERIFY(QFile::link(desk.home.path(launcher), desk.home.path(usersFile)));
        QVERIFY(desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(false));
        QVERIFY(!desk.item.isEnabled());
        QCOMPARE(contentOf(desk.home.path(launcher)), before);
    }

    void linkToNowhereHidesTheSystemsFile() {
        Desk desk;
        desk.write(systemsFile, desk.exec());
        QVERIFY(QDir().mkpath(desk.home.path(u".config/autostart"_s)));
        QVERIFY(QFile::link(u"/nowhere/at/all"_s, desk.home.path(usersFile)));
        QVERIFY(!desk.item.isEnabled());
        QVERIFY(!desk.item.setEnabled(true));
        QVERIFY(desk.item.isEnabled());
    }

    void failuresAreDescribed() {
        {
            Desk desk;
            desk.home.write(u".config/autostart"_s, "a file");
            QVERIFY(!desk.item.isEnabled());
            const auto failure = desk.item.setEnabled(true);
            QVERIFY(failure);
            QVERIFY2(failure->contains(desk.home.path(u".config/autostart"_s)), qPrintable(*failure));
        }
        {
            Desk desk;
            desk.home.write(usersFile + u"/inside"_s, "a folder in the file's place");
            QVERIFY(!desk.item.isEnabled());
            QVERIFY(desk.item.setEnabled(true));
            QVERIFY(!desk.item.isEnabled());
        }
        {
            Desk desk;
            const QString folder = desk.home.path(u".config/autostart"_s);
            desk.write(usersFile, desk.exec());
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
            const auto failure = desk.item.setEnabled(false);
            const bool stillEnabled = desk.item.isEnabled();
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QVERIFY(failure);
            QVERIFY(!failure->isEmpty());
            QVERIFY(stillEnabled);
        }
        {
            Desk desk;
            const QString folder = desk.home.path(u".config/autostart"_s);
            desk.write(u"launcher.desktop"_s, desk.exec());
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(QFile::link(desk.home.path(u"launcher.desktop"_s), desk.home.path(usersFile)));
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
            const auto failure = desk.item.setEnabled(false);
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QVERIFY(failure);
            QVERIFY(QFileInfo(desk.home.path(usersFile)).isSymLink());
        }
    }

    void anyPathRoundTrips_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("blanks") << u"my programs/or vanel"_s;
        QTest::newRow("percent") << u"50%/100%U%%"_s;
        QTest::newRow("quotes") << u"a\"b'c`d"_s;
        QTest::newRow("dollar") << u"$HOME/${x}"_s;
        QTest::newRow("backslashes") << u"a\\b\\\\c\\n\\s\\"_s;
        QTest::newRow("shell") << u"a;b&c|d>e*?#~(f)"_s;
        QTest::newRow("letters") << u"\u00fc\u4e2d\U0001F43B"_s;
    }

    void anyPathRoundTrips() {
        QFETCH(const QString, name);
        const Desk desk;
        const QString program = desk.home.write(name, "#!/bin/sh\n", true);
        AutostartEntry item = desk.entryFor(program);
        QVERIFY(!item.setEnabled(true));
        QVERIFY(item.isEnabled());
        const auto entry = desk.entry();
        QVERIFY(entry);
        QCOMPARE(execline::arguments(*entry->value("Exec")), QStringList{program});
        const QString validator = QStandardPaths::findExecutable(u"desktop-file-validate"_s);
        if (validator.isEmpty()) {
            QSKIP("desktop-file-validate is not installed, so the entry was read by our own reader only");
        }
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(validator, {desk.home.path(usersFile)});
        QVERIFY(process.waitForFinished());
        const QByteArray output = process.readAll();
        QVERIFY2(process.exitCode() == 0 && output.isEmpty(), output.constData());
    }

    void defaultsAreThisProgramAndThisUser() {
        const TestHome home;
        AutostartEntry item;
        QVERIFY(!item.setEnabled(true));
        const auto entry = DesktopEntry::parse(contentOf(home.path(usersFile)));
        QVERIFY(entry);
        QCOMPARE(entry->value("TryExec"), QCoreApplication::applicationFilePath());
        QVERIFY(item.isEnabled());
    }
};

ORVANEL_TEST(TestAutostartEntry)
#include "TestAutostartEntry.moc"
