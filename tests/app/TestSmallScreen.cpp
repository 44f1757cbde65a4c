#include "ShownWindow.h"
#include "app/views/GuideView.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// The buttons and fields that stand out of the window to the left or right, where no scroll bar reaches them.
QStringList cutControls(const QWidget& window) {
    QStringList cut;
    for (const QWidget* control : window.findChildren<QWidget*>()) {
        if (!control->isVisible() || control->focusPolicy() == Qt::NoFocus) {
            continue;
        }
        const int left = control->mapTo(&window, QPoint()).x();
        if (left < 0 || left + control->width() > window.width()) {
            cut << QString::fromLatin1(control->metaObject()->className()) + u' ' + control->accessibleName();
        }
    }
    return cut;
}

void isInsideTheScreen(QWidget& window) {
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    drainEvents();
    const QRect free = window.screen()->availableGeometry();
    QVERIFY2(free.contains(window.frameGeometry()),
             qPrintable(u"%1x%2"_s.arg(window.frameGeometry().width()).arg(window.frameGeometry().height())));
    QCOMPARE(cutControls(window), QStringList());
}

void makeTooLarge(QWidget& window) {
    window.resize(1000, 1000);
    window.move(200, 200);
    QVERIFY(!window.screen()->availableGeometry().contains(window.frameGeometry()));
}

} // namespace

/// The windows on a screen that is smaller than they would like to be: of 400 by 400 points.
class TestSmallScreen : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        const QSize room = QGuiApplication::primaryScreen()->availableSize();
        QVERIFY2(room.width() < 440 && room.height() < 440, "the screen of this test is too large");
    }

    void theMainWindowScrolls() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        isInsideTheScreen(view.window);
        QVERIFY(view.window.findChild<QScrollArea*>()->verticalScrollBar()->maximum() > 0);
    }

    /// As when a panel appears, and as when the window comes from another screen.
    void aWindowShrinksToTheFreePartOfItsScreen() {
        ShownWindow view;
        isInsideTheScreen(view.window);
        const QRect free = view.window.screen()->availableGeometry();
        makeTooLarge(view.window);
        Q_EMIT view.window.screen()->availableGeometryChanged(free);
        QVERIFY(free.contains(view.window.frameGeometry()));
        makeTooLarge(view.window);
        Q_EMIT view.window.windowHandle()->screenChanged(view.window.screen());
        drainEvents();
        QVERIFY(free.contains(view.window.frameGeometry()));
    }

    void theLogsFit() {
        ShownWindow view;
        LogsWindow logs(view.world.controller(), view.world.dialogs, view.world.clock);
        isInsideTheScreen(logs);
    }

    void theSettingsScroll() {
        ShownWindow view;
        SettingsWindow settings({view.world.controller(), view.world.desktop, view.world.clock, {}},
                                view.world.dialogs);
        isInsideTheScreen(settings);
        QVERIFY(settings.findChild<QScrollArea*>()->verticalScrollBar()->maximum() > 0);
    }

    void theGuideScrolls() {
        const QFont before = QApplication::font();
        QFont larger = before;
        larger.setPointSizeF(before.pointSizeF() * 2);
        QApplication::setFont(larger);
        GuideView guide(nullptr);
        guide.show();
        drainEvents();
        const QSize size = guide.frameGeometry().size();
        const bool scrolls = guide.findChild<QScrollArea*>()->verticalScrollBar()->maximum() > 0;
        const QRect next = button(&guide, u"Next"_s)->geometry();
        QApplication::setFont(before);
        const QSize room = guide.screen()->availableSize();
        QVERIFY(size.width() <= room.width() && size.height() <= room.height());
        QVERIFY(scrolls);
        QVERIFY(QRect(QPoint(), size).contains(next));
    }
};

ORVANEL_TEST(TestSmallScreen)
#include "TestSmallScreen.moc"
