#include "ShownSettings.h"
#include "app/views/settings/PortText.h"
#include "support/Await.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// What is typed into the settings.
class TestSettingsFields : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void portIsShownWithoutGrouping() {
        ShownSettings settings;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        settings.open();
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        settings.kuma().setPort(65535);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), QStringLiteral("65535"));
        QLocale::setDefault(QLocale::c());
    }

    void portTexts_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("port");
        const auto row = [](const char* typed, int port) { QTest::newRow(typed) << QString::fromUtf8(typed) << port; };
        row("3001", 3001);
        row(" 3001 ", 3001);
        row("1024", 1024);
        row("65535", 65535);
        row("03001", 3001);
        for (const char* typed : {"", " ", "0", "80", "1023", "65536", "99999", "100000", "003001", "-3001", "+3001",
                                  "3,001", "3.001", "3 001", "3001a", "0xbb9", "３００１", "٣٠٠١"}) {
            row(typed, 0);
        }
    }
    void portTexts() {
        QFETCH(const QString, typed);
        QFETCH(const int, port);
        QCOMPARE(portFrom(typed).value_or(0), port);
    }

    void aTypedPortIsStored() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.world.restartProgram().port(), 3005);
    }

    void whatIsNoPortIsRefused_data() {
        QTest::addColumn<QString>("typed");
        QTest::newRow("too large") << QStringLiteral("65536");
        QTest::newRow("too many digits") << QStringLiteral("300100");
        QTest::newRow("letters") << QStringLiteral("30a1");
        QTest::newRow("grouped") << QStringLiteral("3,005");
    }
    void whatIsNoPortIsRefused() {
        QFETCH(const QString, typed);
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), typed);
        QCOMPARE(settings.kuma().port(), 3001);
        QVERIFY(settings.showsPortHint());
        QVERIFY(shows(&settings.view, QStringLiteral("This is no port to use: type a number from 1024 to 65535. Until "
                                                     "then the port stays 3001.")));
        QCOMPARE(settings.port()->text(), typed);
        settings.type(settings.port(), QStringLiteral("3007"));
        QCOMPARE(settings.kuma().port(), 3007);
        QVERIFY(!settings.showsPortHint());
    }

    void aPortBeginsWithFewDigits() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("80"));
        // It may still become 8080.
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.kuma().port(), 3001);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QVERIFY(settings.showsPortHint());
        QCOMPARE(settings.kuma().port(), 3001);
        QTest::keyClicks(settings.port(), QStringLiteral("80"));
        QCOMPARE(settings.kuma().port(), 8080);
        QVERIFY(!settings.showsPortHint());
    }

    void leavingTheFieldTellsAsWell() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), {});
        QVERIFY(!settings.showsPortHint());
        QTest::keyClick(settings.port(), Qt::Key_Tab);
        QVERIFY(settings.showsPortHint());
        QCOMPARE(settings.kuma().port(), 3001);
    }

    void escapeBringsThePortBack() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("70000"));
        QTest::keyClick(settings.port(), Qt::Key_Escape);
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        QCOMPARE(settings.kuma().port(), 3001);
        QVERIFY(!settings.showsPortHint());
        QVERIFY(settings.view.isVisible());
    }

    /// From the icon in the status area, whose menu leaves the keys in the field.
    void thereIsNoWayBackBehindThePortOfAStart() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), QStringLiteral("3005"));
        settings.kuma().restart();
        QVERIFY(settings.world.operationEnds());
        QVERIFY(!settings.kuma().error());
        settings.type(settings.port(), QStringLiteral("x"));
        QCOMPARE(settings.kuma().port(), 3005);
        QTest::keyClick(settings.port(), Qt::Key_Escape);
        QCOMPARE(settings.kuma().port(), 3005);
        QCOMPARE(settings.port()->text(), QStringLiteral("3005"));
    }

    void typingIsNotDisturbed() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), QStringLiteral("30"));
        QTest::keyClick(settings.port(), Qt::Key_Left);
        settings.world.advance(30s);
        QCOMPARE(settings.port()->text(), QStringLiteral("30"));
        QCOMPARE(settings.port()->cursorPosition(), 1);
        QVERIFY(settings.port()->hasFocus());

        settings.type(settings.slug(), QStringLiteral("ho"));
        QTest::keyClick(settings.slug(), Qt::Key_Left);
        settings.world.page.status = statusPage({monitor(1, 0)});
        settings.world.advance(30s);
        QCOMPARE(settings.kuma().monitors().size(), 1);
        QCOMPARE(settings.slug()->text(), QStringLiteral("ho"));
        QCOMPARE(settings.slug()->cursorPosition(), 1);
        QVERIFY(settings.slug()->hasFocus());
    }

    void aHalfTypedDockerPathIsNotDisturbed() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.dockerOverride(), QStringLiteral("/my/do"));
        QTest::keyClick(settings.dockerOverride(), Qt::Key_Left);
        settings.world.advance(30s);
        QCOMPARE(settings.dockerOverride()->text(), QStringLiteral("/my/do"));
        QCOMPARE(settings.dockerOverride()->cursorPosition(), 5);
        QVERIFY(settings.dockerOverride()->hasFocus());
        QTest::keyClicks(settings.dockerOverride(), QStringLiteral("x"));
        QCOMPARE(settings.kuma().dockerOverride(), QStringLiteral("/my/dxo"));
    }

    void textThatIsStillComposedIsNoPort() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), {});
        QInputMethodEvent composing(QStringLiteral("3005"), {});
        QCoreApplication::sendEvent(settings.port(), &composing);
        settings.world.advance(30s);
        QCOMPARE(settings.kuma().port(), 3001);
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.port()->text(), QString());
        QInputMethodEvent composed;
        composed.setCommitString(QStringLiteral("3005"));
        QCoreApplication::sendEvent(settings.port(), &composed);
        QCOMPARE(settings.port()->text(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
    }

    void whatIsUndoneIsNotStored() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
        int steps = 0;
        for (; settings.port()->isUndoAvailable() && steps < 10; ++steps) {
            QTest::keyClick(settings.port(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(settings.kuma().port(), portFrom(settings.port()->text()).value_or(3001));
        }
        QVERIFY(steps > 0 && steps < 10);
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        for (; settings.port()->isRedoAvailable() && steps < 20; ++steps) {
            QTest::keyClick(settings.port(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        }
        QCOMPARE(settings.port()->text(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
    }

    void portsCanBePasted_data() {
        QTest::addColumn<QString>("copied");
        QTest::addColumn<int>("port");
        QTest::newRow("number") << QStringLiteral("3005") << 3005;
        QTest::newRow("line") << QStringLiteral("3005\n") << 3005;
        QTest::newRow("cell") << QStringLiteral("\t3005 ") << 3005;
        QTest::newRow("address") << QStringLiteral("http://localhost:3005") << 3001;
        QTest::newRow("two lines") << QStringLiteral("3005\n3006") << 3001;
    }
    void portsCanBePasted() {
        QFETCH(const QString, copied);
        QFETCH(const int, port);
        ShownSettings settings;
        settings.open();
        QGuiApplication::clipboard()->setText(copied);
        settings.port()->setFocus();
        settings.port()->selectAll();
        QTest::keyClick(settings.port(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(settings.kuma().port(), port);
        QCOMPARE(settings.showsPortHint(), port == 3001);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QCOMPARE(settings.kuma().port(), port);
        if (port != 3001) {
            QCOMPARE(settings.port()->text(), QString::number(port));
        }
    }

    void keysPressedByChanceChangeNothing() {
        ShownSettings settings;
        settings.open();
        QTest::keyClicks(settings.view.focusWidget(), QStringLiteral("5"));
        QCOMPARE(settings.kuma().port(), 3001);
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
    }

    void portsChangedElsewhereAreShown() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("70000"));
        settings.kuma().setPort(3002);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), QStringLiteral("3002"));
        QVERIFY(!settings.showsPortHint());
        settings.type(settings.port(), QStringLiteral("x"));
        QCOMPARE(settings.kuma().port(), 3002);
    }

    void slugIsStoredAsItIsTyped() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.slug(), QStringLiteral("home <b>&"));
        QCOMPARE(settings.kuma().slug(), QStringLiteral("home <b>&"));
        settings.kuma().setSlug(QStringLiteral("other"));
        settings.world.settle();
        QCOMPARE(settings.slug()->text(), QStringLiteral("other"));
    }
};

QTEST_MAIN(TestSettingsFields)
#include "TestSettingsFields.moc"
