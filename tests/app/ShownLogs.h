#pragma once

#include "ControllerFixture.h"
#include "Find.h"
#include "app/views/LogsView.h"
#include "app/widgets/Switch.h"
#include "app/widgets/TextBox.h"

#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {

inline const auto logsCommand = u"logs"_s;

/// The logs of a container, in a world where a test plays Docker.
struct ShownLogs {
    ShownLogs() {
        standin::addContainer(world.docker(), "running", 3001);
        world.controller().recheck();
        world.settle();
        world.takeCommands();
    }
    ~ShownLogs() {
        view.reset();
        // Tasks that the view leaves behind use the world.
        const bool ended = world.operationEnds();
        Q_ASSERT(ended);
    }
    ShownLogs(const ShownLogs&) = delete;
    ShownLogs& operator=(const ShownLogs&) = delete;

    ControllerFixture world;
    std::unique_ptr<LogsView> view;

    void open() {
        view = std::make_unique<LogsView>(world.controller(), world.dialogs, world.clock);
        view->resize(600, 400);
        view->show();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        world.settle();
    }
    void setLog(const QString& text) { world.docker().log = text.toStdString(); }
    /// Lets the loop read that text.
    void nextReading(const QString& text) {
        setLog(text);
        world.advance(2s);
    }
    void click(const QString& text) {
        QTest::mouseClick(button(view.get(), text), Qt::LeftButton);
        world.settle();
    }
    void press(const QKeySequence& keys) {
        QTest::keySequence(view.get(), keys);
        world.settle();
    }
    TextBox& box() const { return *view->findChild<TextBox*>(); }
    QScrollBar& bar() const { return *box().verticalScrollBar(); }
    QString text() const { return box().toPlainText(); }
    Switch& follow() const { return *view->findChild<Switch*>(); }
    qsizetype readings() { return world.takeCommands().count(logsCommand); }
    bool isAtEnd() const { return bar().value() == bar().maximum(); }
    QString firstVisibleLine() const { return box().cursorForPosition(QPoint(1, 1)).block().text(); }
};

/// That many lines of a log, beginning with the line of that number.
inline QString lines(int first, int count) {
    QString text;
    for (int i = first; i < first + count; ++i) {
        text += u"2026-11-21 line %1\n"_s.arg(i);
    }
    return text;
}

} // namespace orvanel::test
