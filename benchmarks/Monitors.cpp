// Measures what a refresh of 5,000 monitors with 50 heartbeats each and a turn of the wheel cost the main thread,
// painting included, against a bare QListView with a QStandardItemModel that shows as many names, and what the
// heartbeats take of the memory. Prints a line a figure. To be run offscreen.

#include "app/views/MonitorRows.h"
#include "statuspage/StatusPageResult.h"

#include <QApplication>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardItemModel>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <malloc.h>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

constexpr int count = 5000;
constexpr int rounds = 31;
constexpr QSize windowSize(640, 640);
constexpr double refreshGoal = 5;
constexpr double scrollGoal = 2;
constexpr double memoryGoal = 8;

/// Fifty a monitor, one a minute; each round is a minute later.
std::shared_ptr<const Heartbeats::Block> heartbeats(int round) {
    const auto block = std::make_shared<Heartbeats::Block>();
    block->reserve(count * Heartbeats::longest);
    const Heartbeat::Time start = std::chrono::sys_days(std::chrono::year(2026) / 11 / 21);
    for (int i = 0; i < count; ++i) {
        for (int beat = 0; beat < static_cast<int>(Heartbeats::longest); ++beat) {
            const int number = i + round + beat;
            block->emplace_back(start + std::chrono::minutes(round + beat), number % 7 == 0 ? 0 : 1, 20 + number % 400);
        }
    }
    return block;
}

/// Every round has other figures.
QList<MonitorRow> monitors(int round, bool withHeartbeats = true) {
    const auto block = withHeartbeats ? heartbeats(round) : nullptr;
    QList<MonitorRow> list;
    list.reserve(count);
    for (int i = 0; i < count; ++i) {
        MonitorRow row;
        row.id = i;
        row.name = u"Service %1"_s.arg(i);
        row.group = u"Group %1"_s.arg(i / 50);
        row.status = (i + round) % 7 == 0 ? 0 : 1;
        row.ping = 20 + (i * 7 + round * 13) % 400;
        if (block) {
            row.beats = {block, static_cast<std::size_t>(i) * Heartbeats::longest, Heartbeats::longest};
        }
        list << row;
    }
    return list;
}

/// What is not painted must not pass for quick.
class Painted final : public QObject {
public:
    explicit Painted(const QAbstractItemView& list) { list.viewport()->installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

/// Of this thread: what other programs do meanwhile does not count.
double milliseconds(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
    };
    const double start = now();
    work();
    return now() - start;
}

struct Costs {
    double middle;
    double most;
};

/// `work` gets the number of the round; all that it causes, painting too, is done within it.
Costs measure(const std::function<void(int)>& work) {
    std::vector<double> costs;
    for (int round = -1; round < rounds; ++round) {
        const double cost = milliseconds([&] {
            work(round);
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
        });
        if (round >= 0) {
            costs.push_back(cost);
        }
    }
    std::sort(costs.begin(), costs.end());
    return {costs[costs.size() / 2], costs.back()};
}

/// In MiB, of all that is allocated.
double memory() {
    const auto info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

bool row(const char* what, Costs ours, Costs reference, double goal) {
    const bool isWell = ours.middle < goal;
    std::printf("%-44s %10.2f %-6s %10.2f %-6s %6.2f   under %.0f ms (worst %.2f, reference %.2f)%s\n", what,
                ours.middle, "ms", reference.middle, "ms", ours.middle / reference.middle, goal, ours.most,
                reference.most, isWell ? "" : "   MISSED");
    return isWell;
}

/// The column of the window, with the list as high as all its rows: what scrolls is the column around it.
struct Shown {
    explicit Shown(const QList<MonitorRow>& rows)
        : list(new MonitorRows) {
        column.setWidget(list);
        column.setWidgetResizable(true);
        column.resize(windowSize);
        list->setMonitors(rows);
        column.show();
        QCoreApplication::processEvents();
    }

    QScrollArea column;
    MonitorRows* list;
};

/// What the heartbeats take where the page is kept, and what an open window takes more than one without them.
bool measureMemory() {
    const double before = memory();
    const QList<MonitorRow> plain = monitors(0, false);
    const double withRows = memory();
    const QList<MonitorRow> full = monitors(0);
    const double kept = (memory() - withRows) - (withRows - before);
    const auto windowOf = [](const QList<MonitorRow>& rows) {
        const double closed = memory();
        const Shown window(rows);
        return memory() - closed;
    };
    // What Qt keeps of the first window is nobody's share.
    windowOf(plain);
    const double window = windowOf(full) - windowOf(plain);
    const double closed = memory();
    windowOf(full);
    const double left = memory() - closed;
    const bool isWell = kept + window < memoryGoal && left < 0.1;
    std::printf("%-44s %10.2f %-6s %10s %-6s %6s   under %.0f MiB (a window %.2f more, %.2f left of it)%s\n",
                "Heartbeats of 5,000 monitors", kept, "MiB", "", "", "", memoryGoal, window, left,
                isWell ? "" : "   MISSED");
    return isWell;
}

void scroll(QScrollBar* bar, int round) {
    bar->setValue(bar->minimum() + (bar->maximum() - bar->minimum()) / rounds * (round + 1));
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);

    bool isWell = measureMemory();
    const Shown shown(monitors(0));
    MonitorRows* const list = shown.list;

    QListView bare;
    QStandardItemModel names;
    for (int i = 0; i < count; ++i) {
        names.appendRow(new QStandardItem(u"Service %1"_s.arg(i)));
    }
    bare.setModel(&names);
    bare.setUniformItemSizes(true);
    bare.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    bare.resize(windowSize);
    bare.show();
    QCoreApplication::processEvents();

    // Each with words of its own, as each answer of the page brings them.
    std::vector<QList<MonitorRow>> different;
    std::vector<QList<MonitorRow>> equal;
    for (int round = 0; round <= rounds; ++round) {
        different.push_back(monitors(round));
        equal.push_back(monitors(rounds));
    }
    const auto index = [](int round) {
        const int place = round + 1;
        return static_cast<std::size_t>(place);
    };

    const Painted ours(*list);
    const Painted reference(bare);
    const Costs changed = measure([&](int round) { list->setMonitors(different[index(round)]); });
    const Costs bareChanged = measure([&](int round) {
        for (int i = 0; i < count; ++i) {
            names.item(i)->setText(u"Service %1, %2 ms"_s.arg(i).arg(round));
        }
    });
    if (std::min(ours.count, reference.count) < rounds) {
        std::fputs("bench-monitors: not all changes were painted\n", stderr);
        return 1;
    }
    const Costs same = measure([&](int round) { list->setMonitors(equal[index(round)]); });
    const Costs scrolled = measure([&](int round) { scroll(shown.column.verticalScrollBar(), round); });
    const Costs bareScrolled = measure([&](int round) { scroll(bare.verticalScrollBar(), round); });

    if (std::min(ours.count, reference.count) < 2 * rounds) {
        std::fputs("bench-monitors: not all scrolling was painted\n", stderr);
        return 1;
    }
    isWell = row("Refresh of 5,000 monitors, all changed", changed, bareChanged, refreshGoal) && isWell;
    isWell = row("The same, nothing changed", same, bareChanged, refreshGoal) && isWell;
    isWell = row("Scrolling among them by a thirtieth", scrolled, bareScrolled, scrollGoal) && isWell;
    return isWell ? 0 : 1;
}
