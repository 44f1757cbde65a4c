// Measures how much anonymous memory stays with the program after a window that showed 5,000 monitors has been closed,
// and after 60 such windows, against a bare QListView that showed as many names. Prints a line a figure. To be run
// offscreen.

#include "Footprint.h"
#include "app/Windows.h"
#include "app/views/MonitorRows.h"
#include "statuspage/StatusPageResult.h"

#include <QApplication>
#include <QListView>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardItemModel>

#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

constexpr int count = 5000;
constexpr int windowCount = 60;
constexpr QSize windowSize(560, 640);
/// In MiB.
constexpr double goal = 1;

QList<MonitorRow> monitors() {
    QList<MonitorRow> list;
    for (int i = 0; i < count; ++i) {
        list << MonitorRow{.id = i,
                           .name = u"Service number %1 of this company"_s.arg(i),
                           .group = u"Group %1"_s.arg(i / 50),
                           .status = i % 7 == 0 ? 0 : 1,
                           .ping = 20 + i % 400,
                           .uptime24 = 1};
    }
    return list;
}

QWidget* makeMonitors() {
    auto* column = new QScrollArea;
    auto* const list = new MonitorRows;
    column->setWidget(list);
    column->setWidgetResizable(true);
    list->setMonitors(monitors());
    return column;
}

QWidget* makeNames() {
    auto* list = new QListView;
    auto* names = new QStandardItemModel(list);
    for (const MonitorRow& monitor : monitors()) {
        names->appendRow(new QStandardItem(monitor.name));
    }
    list->setModel(names);
    return list;
}

void handleEvents() {
    for (int turn = 0; turn < 5; ++turn) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/// Scrolls through all of it, so that everything has been shown once.
void lookThrough(QAbstractScrollArea* area) {
    QScrollBar* const bar = area->verticalScrollBar();
    for (int value = bar->minimum(); value <= bar->maximum(); value += windowSize.height()) {
        bar->setValue(value);
        handleEvents();
    }
}

double anonymous() {
    return Footprint::of(QCoreApplication::applicationPid()).anonymous;
}

struct Memory {
    double shown;
    double kept;
};

/// Of a window that is opened, looked through and closed.
Memory measure(const std::function<QWidget*()>& open) {
    const double before = anonymous();
    QWidget* const window = open();
    window->resize(windowSize);
    handleEvents();
    lookThrough(qobject_cast<QAbstractScrollArea*>(window));
    const double shown = anonymous() - before;
    window->close();
    handleEvents();
    return {shown, anonymous() - before};
}

/// What the windows after the first leave; the first brings the style and the font with it, which stay.
Memory measureMany(const std::function<QWidget*()>& open) {
    measure(open);
    const double before = anonymous();
    Memory last{};
    for (int i = 0; i < windowCount; ++i) {
        last = measure(open);
    }
    return {last.shown, anonymous() - before};
}

/// What was not shown must not pass for given back.
bool row(const char* what, Memory ours, Memory reference) {
    const bool isWell = ours.kept < goal && ours.shown > 1;
    std::printf("%-44s %10.2f %-6s %10.2f %-6s %6s   under %.0f MiB (%.2f while shown)%s\n", what, ours.kept, "MiB",
                reference.kept, "MiB", "", goal, ours.shown, isWell ? "" : "   MISSED");
    return isWell;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    Windows windows;
    windows.add(u"few"_s, [] { return new QScrollArea; });
    windows.add(u"many"_s, &makeMonitors);
    const auto few = [&windows] { return windows.open(u"few"_s); };
    const auto many = [&windows] { return windows.open(u"many"_s); };
    const auto bare = [] {
        QWidget* const window = makeNames();
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->show();
        return window;
    };
    measure(few);
    const Memory first = measure(many);
    const Memory further = measureMany(many);
    // Last: nothing gives back what this one leaves.
    const Memory bareFirst = measure(bare);
    const Memory bareFurther = measureMany(bare);
    const bool isWell = row("Kept after 5,000 monitors were shown", first, bareFirst);
    return row("Kept after 60 further windows", further, bareFurther) && isWell ? 0 : 1;
}
