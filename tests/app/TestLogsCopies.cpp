#include "ShownLogs.h"
#include "support/Await.h"
#include "support/FullDisk.h"
#include "support/TestClass.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QThreadPool>

using namespace orvanel;
using namespace orvanel::test;

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestLogsCopies : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void copyTakesEverything_data() {
        QTest::addColumn<bool>("isKey");
        QTest::addColumn<QString>("log");
        QTest::newRow("button") << false << lines(0, 300);
        QTest::newRow("key") << true << lines(0, 300);
        QTest::newRow("empty") << false << QString();
    }
    void copyTakesEverything() {
        QFETCH(const bool, isKey);
        QFETCH(const QString, log);
        QGuiApplication::clipboard()->setText(u"before"_s);
        ShownLogs logs;
        logs.setLog(log);
        logs.open();
        if (isKey) {
            logs.press(QKeySequence::Copy);
        } else {
            logs.click(u"Copy"_s);
        }
        QCOMPARE(QGuiApplication::clipboard()->text(), log);
    }

    void withASelectionTheKeyCopiesThat() {
        ShownLogs logs;
        logs.setLog(u"one two\nthree\n"_s);
        logs.open();
        logs.box().setFocus();
        logs.press(QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"one two\nthree\n"_s);
        logs.box().setTextCursor(logs.box().document()->find(u"two"_s));
        QTest::keySequence(&logs.box(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"two"_s);
        logs.click(u"Copy"_s);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"one two\nthree\n"_s);
    }

    void saveWritesEverything_data() {
        QTest::addColumn<bool>("isKey");
        QTest::newRow("button") << false;
        QTest::newRow("key") << true;
    }
    void saveWritesEverything() {
        QFETCH(const bool, isKey);
        ShownLogs logs;
        logs.setLog(u"günstig 😀\n"_s);
        logs.open();
        if (isKey) {
            logs.press(QKeySequence::Save);
        } else {
            logs.click(u"Save…"_s);
        }
        QCOMPARE(logs.world.dialogs.savePanels.size(), 1);
        QCOMPARE(logs.world.dialogs.savePanels[0].proposedName, u"uptime-kuma-logs.txt"_s);
        const QString path = logs.world.home.write(u"logs.txt"_s, "a longer text that was there before");
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == u"günstig 😀\n"_s.toUtf8(); }));
        // The temporary file has taken the place of the other.
        QCOMPARE(QDir(logs.world.home.path()).entryList({u"logs*"_s}, QDir::Files).size(), 1);
    }

    void whatIsThereWhenTheFileIsChosenIsSaved() {
        ShownLogs logs;
        logs.open();
        logs.click(u"Save…"_s);
        logs.nextReading(u"later\n"_s);
        const QString path = logs.world.home.path(u"logs.txt"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == "later\n"; }));
    }

    void cancellingWritesNothing() {
        ShownLogs logs;
        logs.setLog(u"hello"_s);
        logs.open();
        logs.click(u"Save…"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(std::nullopt);
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(QDir(logs.world.home.path()).entryList(QDir::Files), QStringList());
    }

    void aFailedSaveIsTold() {
        ShownLogs logs;
        logs.setLog(u"hello\n"_s);
        logs.open();
        logs.click(u"Save…"_s);
        const QString path = logs.world.home.path(u"not/there.txt"_s);
        logs.world.dialogs.pathQuestions.takeFirst().answer.complete(path);
        const QString sentence = u"The logs could not be saved to %1: No such file or directory"_s.arg(path);
        QVERIFY(waitUntil([&] { return shows(logs.view.get(), sentence); }));
        QCOMPARE(button(logs.view.get(), u"Save…"_s)->accessibleDescription(), sentence);
        QVERIFY(!QFile::exists(logs.world.home.path(u"not"_s)));
        QVERIFY(!logs.world.controller().state().error);
        // The next one succeeds.
        logs.click(u"Save…"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(logs.world.home.path(u"logs.txt"_s));
        QVERIFY(waitUntil([&] { return !shows(logs.view.get(), sentence); }));
        QCOMPARE(contentOf(logs.world.home.path(u"logs.txt"_s)), QByteArray("hello\n"));
        QCOMPARE(button(logs.view.get(), u"Save…"_s)->accessibleDescription(), QString());
    }

    void aFullDiskLeavesTheOldFile() {
        ShownLogs logs;
        logs.setLog(u"more than there is room for\n"_s);
        logs.open();
        const QString path = logs.world.home.write(u"logs.txt"_s, "the old logs");
        const FullDisk full;
        logs.click(u"Save…"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QString told;
        QVERIFY(waitUntil([&] {
            told = button(logs.view.get(), u"Save…"_s)->accessibleDescription();
            return !told.isEmpty();
        }));
        QVERIFY2(told.startsWith(u"The logs could not be saved to %1: "_s.arg(path)), qPrintable(told));
        QVERIFY2(!told.endsWith(u": "_s), qPrintable(told));
        QCOMPARE(contentOf(path), QByteArray("the old logs"));
        QCOMPARE(QDir(logs.world.home.path()).entryList({u"logs*"_s}, QDir::Files).size(), 1);
    }

    void closingDuringTheQuestionWritesNothing() {
        ShownLogs logs;
        logs.setLog(u"hello"_s);
        logs.open();
        logs.click(u"Save…"_s);
        logs.view.reset();
        const QString path = logs.world.home.path(u"logs.txt"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(!QFile::exists(path));
    }

    void escapeSequencesReachNothing() {
        ShownLogs logs;
        logs.setLog(u"[36m2026 \x1b[31mred\x1b[0m\x1b]0;title\x07 \u202eend\r\n"_s);
        const QString plain = u"2026 red end\n"_s;
        logs.open();
        QCOMPARE(logs.text() + u'\n', plain);
        logs.click(u"Copy"_s);
        QCOMPARE(QGuiApplication::clipboard()->text(), plain);
        logs.click(u"Save…"_s);
        const QString path = logs.world.home.path(u"logs.txt"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == plain.toUtf8(); }));
    }
};

ORVANEL_TEST(TestLogsCopies)
#include "TestLogsCopies.moc"
