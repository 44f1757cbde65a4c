#include "app/Windows.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDialog>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto one = u"one"_s;
const auto two = u"two"_s;

/// Notes the token that Qt finds while the window comes to the front.
class TokenWatcher final : public QWidget {
public:
    static inline QString token;

protected:
    void showEvent(QShowEvent*) override { token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN"); }
};

} // namespace

class TestWindows : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void windowsAreMadeWhenFirstAskedFor() {
        int made = 0;
        Windows windows;
        windows.add(one, [&made] {
            made += 1;
            return new QWidget;
        });
        QCOMPARE(made, 0);
        QVERIFY(windows.find(one) == nullptr);
        QWidget* const window = windows.open(one);
        QCOMPARE(made, 1);
        QVERIFY(window->isVisible());
        QCOMPARE(windows.find(one), window);
        QCOMPARE(windows.open(one), window);
        QCOMPARE(made, 1);
    }

    void unknownIdsOpenNothing() {
        Windows windows;
        QVERIFY(windows.open(two) == nullptr);
    }

    void windowsHaveTheirOwnIds() {
        Windows windows;
        windows.add(one, [] { return new QWidget; });
        windows.add(two, [] { return new QWidget; });
        QVERIFY(windows.open(one) != windows.open(two));
    }

    void closedWindowsAreDestroyed() {
        Windows windows;
        windows.add(one, [] { return new QWidget; });
        const QPointer<QWidget> window = windows.open(one);
        window->close();
        QVERIFY(windows.find(one) == nullptr);
        drainEvents();
        QVERIFY(window.isNull());
    }

    void openingBringsToTheFront() {
        Windows windows;
        windows.add(one, [] { return new QWidget; });
        windows.add(two, [] { return new QWidget; });
        QWidget* const window = windows.open(one);
        QWidget* const other = windows.open(two);
        QVERIFY(waitUntil([&] { return other->isActiveWindow(); }));
        windows.open(one);
        QVERIFY(waitUntil([&] { return window->isActiveWindow(); }));
    }

    /// The window itself takes no keys then.
    void openingBringsTheQuestionOverItToTheFront() {
        Windows windows;
        windows.add(one, [] { return new QWidget; });
        windows.add(two, [] { return new QWidget; });
        QWidget* const window = windows.open(one);
        QDialog question(window);
        question.setWindowModality(Qt::WindowModal);
        question.open();
        QDialog second(&question);
        second.setWindowModality(Qt::WindowModal);
        second.open();
        for (QWidget* const front : {&second, &question}) {
            QWidget* const other = windows.open(two);
            QVERIFY(waitUntil([&] { return other->isActiveWindow(); }));
            QCOMPARE(windows.open(one), window);
            QVERIFY(waitUntil([&] { return front->isActiveWindow(); }));
            second.close();
        }
        question.close();
        windows.open(one);
        QVERIFY(waitUntil([&] { return window->isActiveWindow(); }));
    }

    void minimizedWindowsComeBack() {
        Windows windows;
        windows.add(one, [] { return new QWidget; });
        QWidget* const window = windows.open(one);
        window->showMinimized();
        QVERIFY(window->isMinimized());
        QCOMPARE(windows.open(one), window);
        QVERIFY(!window->isMinimized());
    }

    void theTokenIsThereForTheActivationOnly() {
        Windows windows;
        windows.add(one, [] { return new TokenWatcher; });
        windows.open(one, u"token-1"_s);
        QCOMPARE(TokenWatcher::token, u"token-1"_s);
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void atTheEndAllCloseAndNoneOpens() {
        Windows windows;
        windows.add(one, [] { return new QWidget; });
        const QPointer<QWidget> window = windows.open(one);
        windows.closeForGood();
        // The window is not destroyed yet, because one of its own buttons may have asked for this.
        QVERIFY(!window.isNull());
        QVERIFY(windows.open(one) == nullptr);
        drainEvents();
        QVERIFY(window.isNull());
    }

    void windowsEndWithTheirOwner() {
        QPointer<QWidget> window;
        {
            Windows windows;
            windows.add(one, [] { return new QWidget; });
            window = windows.open(one);
        }
        QVERIFY(window.isNull());
    }
};

ORVANEL_TEST(TestWindows)
#include "TestWindows.moc"
