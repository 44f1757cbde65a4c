#include "TrayDesktop.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto legacyTitle = u"Orvanel status icon"_s;

} // namespace

/// Panels of the new and the old kind, which come late, restart or go.
class TestPanels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void comesWhenThePanelComes() {
        TrayDesktop desktop;
        desktop.program.start();
        QVERIFY(desktop.program.knowsItsContainer());
        QVERIFY(desktop.area.open());
        QVERIFY(desktop.saysInTheTray(isStopped));
    }

    void comesLongAfterTheWindowHadToOpen() {
        TrayDesktop desktop;
        desktop.hurry();
        desktop.program.start();
        QVERIFY(desktop.showsWindow());
        QVERIFY(desktop.area.open());
        QVERIFY(desktop.saysInTheTray(isStopped));
    }

    void comesBackWhenThePanelRestarts() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStopped));
        for (int i = 0; i < 2; ++i) {
            desktop.area.close();
            QVERIFY(desktop.item() == nullptr);
            QVERIFY(desktop.area.open());
            QVERIFY(desktop.saysInTheTray(isStopped));
        }
    }

    void withAPanelNoWindowOpens() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStopped));
        // Two rounds of polling take longer than the program waits for a panel.
        const qsizetype calls = desktop.program.tools.calls().size();
        QVERIFY(waitUntil([&] { return desktop.program.tools.calls().size() >= calls + 3; }));
        QCOMPARE(desktop.windows.titles(), QStringList());
    }

    void usesAPanelOfTheOldKind() {
        TrayDesktop desktop;
        desktop.hurry();
        desktop.windows.offerLegacyTray();
        desktop.program.start();
        QVERIFY(waitUntil([&] { return desktop.windows.legacyTrayHasIcon(); }));
        QVERIFY(!desktop.windows.titles().contains(title));
    }

    void usesAPanelOfTheOldKindThatComesLate() {
        TrayDesktop desktop;
        desktop.hurry();
        desktop.program.start();
        QVERIFY(desktop.showsWindow());
        desktop.windows.offerLegacyTray();
        QVERIFY(waitUntil([&] { return desktop.windows.legacyTrayHasIcon(); }));
    }

    void movesToAPanelOfTheNewKindThatComesLate() {
        TrayDesktop desktop;
        desktop.hurry();
        desktop.area.setHasHost(false);
        QVERIFY(desktop.area.open());
        desktop.windows.offerLegacyTray();
        desktop.program.start();
        QVERIFY(waitUntil([&] { return desktop.windows.legacyTrayHasIcon(); }));
        QVERIFY(!desktop.windows.titles().contains(title));
        desktop.area.setHasHost(true);
        QVERIFY(desktop.saysInTheTray(isStopped));
        QVERIFY(waitUntil([&] { return !desktop.windows.legacyTrayHasIcon(); }));
        desktop.item()->activate();
        QVERIFY(desktop.showsWindow());
    }

    void showsItsDotInAPanelOfTheOldKind() {
        TrayDesktop desktop;
        desktop.hurry();
        desktop.windows.offerLegacyTray();
        desktop.program.start();
        QVERIFY(waitUntil([&] { return desktop.windows.legacyIconColor() == statusDotColor(Meaning::inactive); }));
        desktop.windows.clickLegacyIcon();
        QVERIFY(desktop.showsWindow());
    }

    void leavesAPanelOfTheOldKindThatGoes() {
        TrayDesktop desktop;
        desktop.hurry();
        desktop.windows.offerLegacyTray();
        desktop.program.start();
        QVERIFY(waitUntil([&] { return desktop.windows.legacyTrayHasIcon(); }));
        desktop.windows.withdrawLegacyTray();
        QVERIFY(waitUntil([&] { return !desktop.windows.titles().contains(legacyTitle); }));
        desktop.windows.offerLegacyTray();
        QVERIFY(waitUntil([&] { return desktop.windows.legacyTrayHasIcon(); }));
    }
};

ORVANEL_TEST(TestPanels)
#include "TestPanels.moc"
