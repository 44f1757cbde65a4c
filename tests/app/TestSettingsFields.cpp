#include "ShownSettings.h"
#include "app/views/settings/ServerSection.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>

using namespace Qt::StringLiterals;
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
        QCOMPARE(settings.port()->text(), u"3001"_s);
        settings.kuma().setPort(65535);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), u"65535"_s);
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
        settings.type(settings.port(), u"3005"_s);
        QCOMPARE(settings.kuma().state().port, 3005);
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.world.restartProgram().state().port, 3005);
    }

    void whatIsNoPortIsRefused_data() {
        QTest::addColumn<QString>("typed");
        QTest::newRow("too large") << u"65536"_s;
        QTest::newRow("too many digits") << u"300100"_s;
        QTest::newRow("letters") << u"30a1"_s;
        QTest::newRow("grouped") << u"3,005"_s;
    }
    void whatIsNoPortIsRefused() {
        QFETCH(const QString, typed);
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), typed);
        QCOMPARE(settings.kuma().state().port, 3001);
        QVERIFY(settings.showsPortHint());
        QVERIFY(shows(&settings.view, u"Enter a port from 1024 to 65535. Until then, 3001 is kept."_s));
        QCOMPARE(settings.port()->text(), typed);
        settings.type(settings.port(), u"3007"_s);
        QCOMPARE(settings.kuma().state().port, 3007);
        QVERIFY(!settings.showsPortHint());
    }

    void aPortBeginsWithFewDigits() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), u"80"_s);
        // The user may be about to type 8080.
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.kuma().state().port, 3001);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QVERIFY(settings.showsPortHint());
        QCOMPARE(settings.kuma().state().port, 3001);
        QTest::keyClicks(settings.port(), u"80"_s);
        QCOMPARE(settings.kuma().state().port, 8080);
        QVERIFY(!settings.showsPortHint());
    }

    void leavingTheFieldTellsAsWell() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), {});
        QVERIFY(!settings.showsPortHint());
        QTest::keyClick(settings.port(), Qt::Key_Tab);
        QVERIFY(settings.showsPortHint());
        QCOMPARE(settings.kuma().state().port, 3001);
    }

    void escapeBringsThePortBack() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), u"70000"_s);
        QTest::keyClick(settings.port(), Qt::Key_Escape);
        QCOMPARE(settings.port()->text(), u"3001"_s);
        QCOMPARE(settings.kuma().state().port, 3001);
        QVERIFY(!settings.showsPortHint());
        QVERIFY(settings.view.isVisible());
    }

    /// The user asks from the menu of the status icon, which leaves the focus in the field.
    void thereIsNoWayBackBehindThePortOfAStart() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), u"3005"_s);
        settings.kuma().restart();
        QVERIFY(settings.world.operationEnds());
        QVERIFY(!settings.kuma().state().error);
        settings.type(settings.port(), u"x"_s);
        QCOMPARE(settings.kuma().state().port, 3005);
        QTest::keyClick(settings.port(), Qt::Key_Escape);
        QCOMPARE(settings.kuma().state().port, 3005);
        QCOMPARE(settings.port()->text(), u"3005"_s);
    }

    void typingIsNotDisturbed() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), u"30"_s);
        QTest::keyClick(settings.port(), Qt::Key_Left);
        settings.world.advance(30s);
        QCOMPARE(settings.port()->text(), u"30"_s);
        QCOMPARE(settings.port()->cursorPosition(), 1);
        QVERIFY(settings.port()->hasFocus());

        settings.type(settings.slug(), u"ho"_s);
        QTest::keyClick(settings.slug(), Qt::Key_Left);
        settings.world.page.status = statusPage({monitor(1, 0)});
        settings.world.advance(30s);
        QCOMPARE(settings.kuma().state().monitors.size(), 1);
        QCOMPARE(settings.slug()->text(), u"ho"_s);
        QCOMPARE(settings.slug()->cursorPosition(), 1);
        QVERIFY(settings.slug()->hasFocus());
    }

    void aHalfTypedDockerPathIsNotDisturbed() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.dockerOverride(), u"/my/do"_s);
        QTest::keyClick(settings.dockerOverride(), Qt::Key_Left);
        settings.world.advance(30s);
        QCOMPARE(settings.dockerOverride()->text(), u"/my/do"_s);
        QCOMPARE(settings.dockerOverride()->cursorPosition(), 5);
        QVERIFY(settings.dockerOverride()->hasFocus());
        QTest::keyClicks(settings.dockerOverride(), u"x"_s);
        QCOMPARE(settings.kuma().state().dockerOverride, u"/my/dxo"_s);
    }

    void textThatIsStillComposedIsNoPort() {
        ShownSettings settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), {});
        QInputMethodEvent composing(u"3005"_s, {});
        QCoreApplication::sendEvent(settings.port(), &composing);
        settings.world.advance(30s);
        QCOMPARE(settings.kuma().state().port, 3001);
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.port()->text(), QString());
        QInputMethodEvent composed;
        composed.setCommitString(u"3005"_s);
        QCoreApplication::sendEvent(settings.port(), &composed);
        QCOMPARE(settings.port()->text(), u"3005"_s);
        QCOMPARE(settings.kuma().state().port, 3005);
    }

    void whatIsUndoneIsNotStored() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), u"3005"_s);
        QCOMPARE(settings.kuma().state().port, 3005);
        int steps = 0;
        for (; settings.port()->isUndoAvailable() && steps < 10; ++steps) {
            QTest::keyClick(settings.port(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(settings.kuma().state().port, portFrom(settings.port()->text()).value_or(3001));
        }
        QVERIFY(steps > 0 && steps < 10);
        QCOMPARE(settings.port()->text(), u"3001"_s);
        for (; settings.port()->isRedoAvailable() && steps < 20; ++steps) {
            QTest::keyClick(settings.port(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        }
        QCOMPARE(settings.port()->text(), u"3005"_s);
        QCOMPARE(settings.kuma().state().port, 3005);
    }

    void portsCanBePasted_data() {
        QTest::addColumn<QString>("copied");
        QTest::addColumn<int>("port");
        QTest::newRow("number") << u"3005"_s << 3005;
        QTest::newRow("line") << u"3005\n"_s << 3005;
        QTest::newRow("cell") << u"\t3005 "_s << 3005;
        QTest::newRow("address") << u"http://localhost:3005"_s << 3001;
        QTest::newRow("two lines") << u"3005\n3006"_s << 3001;
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
        QCOMPARE(settings.kuma().state().port, port);
        QCOMPARE(settings.showsPortHint(), port == 3001);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QCOMPARE(settings.kuma().state().port, port);
        if (port != 3001) {
            QCOMPARE(settings.port()->text(), QString::number(port));
        }
    }

    void keysPressedByChanceChangeNothing() {
        ShownSettings settings;
        settings.open();
        QTest::keyClicks(settings.view.focusWidget(), u"5"_s);
        QCOMPARE(settings.kuma().state().port, 3001);
        QCOMPARE(settings.port()->text(), u"3001"_s);
    }

    void portsChangedElsewhereAreShown() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.port(), u"70000"_s);
        settings.kuma().setPort(3002);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), u"3002"_s);
        QVERIFY(!settings.showsPortHint());
        settings.type(settings.port(), u"x"_s);
        QCOMPARE(settings.kuma().state().port, 3002);
    }

    void slugIsStoredAsItIsTyped() {
        ShownSettings settings;
        settings.open();
        settings.type(settings.slug(), u"home <b>&"_s);
        QCOMPARE(settings.kuma().state().slug, u"home <b>&"_s);
        settings.kuma().setSlug(u"other"_s);
        settings.world.settle();
        QCOMPARE(settings.slug()->text(), u"other"_s);
    }
};

ORVANEL_TEST(TestSettingsFields)
#include "TestSettingsFields.moc"
