// Lets Orvanel live through days in minutes and looks whether it stays what it was:
//
//     bench-soak --program P --minutes N --calls LOG --site FOLDER --server FOLDER [--sanitized]
//
// It plays the desktop around the program: the status area through which it presses the entries of the menu, the server
// of notifications, and the frames of its windows. The session bus and the display must be nobody else's. LOG is the
// stand-in docker's record; the answers of the stand-in Uptime Kuma come from `site` and go to `server`. A program with
// a sanitizer in it is not measured for its memory. Exit code 1 when something is not as it should be.

#include "Footprint.h"
#include "SoakDesktop.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDeadlineTimer>

#include <cstdio>
#include <optional>

using namespace orvanel;
using namespace std::chrono_literals;

namespace {

constexpr int quietPolls = 600;
constexpr double mebibyte = 1;

bool allIsWell = true;

void row(const char* what, double before, double after, const char* unit, double limit) {
    const double growth = after - before;
    const bool isWell = growth <= limit;
    allIsWell = allIsWell && isWell;
    std::printf("%-44s %10.1f %-6s %10.1f %-6s %+6.1f   at most %+.1f%s\n", what, before, unit, after, unit, growth,
                limit, isWell ? "" : "   MISSED");
}

void rowAtLeast(const char* what, double value, double goal) {
    const bool isWell = value >= goal;
    allIsWell = allIsWell && isWell;
    std::printf("%-44s %10.0f   at least %.0f%s\n", what, value, goal, isWell ? "" : "   MISSED");
}

void rowExactly(const char* what, double value, double goal) {
    const bool isWell = value == goal;
    allIsWell = allIsWell && isWell;
    std::printf("%-44s %10.0f   exactly %.0f%s\n", what, value, goal, isWell ? "" : "   MISSED");
}

/// What a user and the world do in a while; false when the program did not follow.
bool liveForAWhile(SoakDesktop& desktop) {
    for (int i = 0; i < 3; ++i) {
        const bool followed = desktop.openWindow() && desktop.stopContainer() && desktop.startContainer() &&
                              desktop.breakMonitor() && desktop.repairMonitor() && desktop.closeWindow() &&
                              desktop.stopContainer() && desktop.startContainer();
        if (!followed) {
            return false;
        }
    }
    return true;
}

/// Polls in which nothing happens, and what the program tells the panel all the same.
struct Quiet {
    int polls = 0;
    int news = 0;
};

bool rest(SoakDesktop& desktop, Quiet& quiet) {
    if (!desktop.passPolls(20)) {
        return false;
    }
    const int newsBefore = desktop.news();
    if (!desktop.passPolls(quietPolls)) {
        return false;
    }
    quiet.polls += quietPolls;
    quiet.news += desktop.news() - newsBefore;
    return true;
}

int soak(SoakDesktop& desktop, std::chrono::minutes duration, bool isSanitized) {
    const QDeadlineTimer warmUp(duration / 10);
    const QDeadlineTimer end(duration);
    std::optional<Footprint> before;
    Quiet quiet;
    int rounds = 0;
    while (!end.hasExpired() || rounds < 2) {
        if (!liveForAWhile(desktop) || !rest(desktop, quiet)) {
            std::fprintf(stderr, "bench-soak: the program did not follow: %s\n", qPrintable(desktop.trouble()));
            return 1;
        }
        rounds += 1;
        if (!before && warmUp.hasExpired()) {
            before = Footprint::ofQuiet(desktop.processId());
        }
    }
    const Footprint after = Footprint::ofQuiet(desktop.processId());
    const double minutes = static_cast<double>(duration.count());
    rowAtLeast("Polls", desktop.polls(), isSanitized ? 1 : 3000 * minutes);
    rowAtLeast("Operations", desktop.operations(), isSanitized ? 1 : 100 * minutes);
    if (!isSanitized) {
        row("Resident memory", before->resident, after.resident, "MiB", mebibyte);
        row("Anonymous memory", before->anonymous, after.anonymous, "MiB", mebibyte);
    }
    row("Descriptors", before->descriptors, after.descriptors, "", 0);
    row("Threads", before->threads, after.threads, "", 0);
    rowExactly("News to the panel while nothing changed", quiet.news, 0);
    std::printf("%-44s %10d\n", "Polls in which nothing changed", quiet.polls);
    rowExactly("Exit code", desktop.quit(), 0);
    return allIsWell ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QCommandLineParser parser;
    const QString value = QStringLiteral("value");
    for (const char* name : {"program", "minutes", "calls", "site", "server"}) {
        parser.addOption({QString::fromLatin1(name), QString(), value});
    }
    const QCommandLineOption sanitized(QStringLiteral("sanitized"));
    parser.addOption(sanitized);
    parser.process(application);

    const std::chrono::minutes duration(parser.value(QStringLiteral("minutes")).toInt());
    SoakDesktop desktop({
        parser.value(QStringLiteral("program")),
        parser.value(QStringLiteral("calls")),
        parser.value(QStringLiteral("site")),
        parser.value(QStringLiteral("server")),
    });
    if (duration < 1min || !desktop.startProgram()) {
        std::fprintf(stderr, "bench-soak: the program did not start: %s\n", qPrintable(desktop.trouble()));
        return 1;
    }
    return soak(desktop, duration, parser.isSet(sanitized));
}
