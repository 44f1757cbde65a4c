// Takes Orvanel through days in minutes, and checks that it does not grow or slow down:
//
//     bench-soak --program P --minutes N --tools FOLDER --site FOLDER --server FOLDER [--sanitized]
//
// It plays the desktop around the program: the status area, through which it chooses from the menu; the screen reader,
// through which it presses buttons; the notification server; and the window manager. The session bus, the display and
// the home must be used by nothing else. --tools is the folder of the stand-in docker's state. The answers of the
// stand-in Uptime Kuma are copied from --site to --server. With --sanitized, memory and speed are not measured. The
// exit code is 1 if a check fails.

#include "Footprint.h"
#include "SoakDesktop.h"
#include "SoakLife.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDeadlineTimer>

#include <algorithm>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace std::chrono_literals;

namespace {

constexpr double mebibyte = 1;

bool allIsWell = true;

void judge(bool isWell) {
    allIsWell = allIsWell && isWell;
    std::puts(isWell ? "" : "   MISSED");
}

void row(const char* what, double early, double late, const char* unit, double limit) {
    const double growth = late - early;
    std::printf("%-44s %10.1f %-6s %10.1f %-6s %+6.1f   at most %+.1f", what, early, unit, late, unit, growth, limit);
    judge(growth <= limit);
}

void rowAtLeast(const QString& what, double value, double goal) {
    std::printf("%-44s %10.0f   at least %.0f", qPrintable(what), value, goal);
    judge(value >= goal);
}

/// Polls during which nothing happens, and what the program does during them.
struct Quiet {
    int polls = 0;
    int news = 0;
    qint64 wakeUps = 0;

    double wakeUpsOfPoll() const { return static_cast<double>(wakeUps) / std::max(polls, 1); }
};

/// The program's figures at one moment.
struct Shot {
    Footprint footprint;
    Quiet quiet;
    /// Signals to the panel in the busy period before.
    int livelyNews = 0;
};

class Soak {
public:
    Soak(SoakDesktop& desktop, SoakLife& life, bool isSanitized)
        : m_desktop(desktop)
        , m_life(life)
        , m_isSanitized(isSanitized) {}

    /// Returns false if the program did not follow.
    bool run(std::chrono::minutes duration) {
        const QDeadlineTimer warmUp(duration / 10);
        const QDeadlineTimer end(duration);
        while (!end.hasExpired() || !m_late) {
            auto shot = round();
            if (!shot) {
                return false;
            }
            m_rounds += 1;
            m_quiet.polls += shot->quiet.polls;
            m_quiet.news += shot->quiet.news;
            m_leastNews = m_rounds == 1 ? shot->livelyNews : std::min(m_leastNews, shot->livelyNews);
            if (!m_early && warmUp.hasExpired()) {
                shot->footprint = Footprint::ofQuiet(m_desktop.processId());
                m_early = shot;
            } else if (m_early) {
                m_late = shot;
            }
        }
        m_late->footprint = Footprint::ofQuiet(m_desktop.processId());
        return true;
    }

    void report(std::chrono::minutes duration) {
        const Footprint& early = m_early->footprint;
        const Footprint& late = m_late->footprint;
        if (!m_isSanitized) {
            row("Resident memory", early.resident, late.resident, "MiB", mebibyte);
            row("Anonymous memory", early.anonymous, late.anonymous, "MiB", mebibyte);
            row("Wake-ups a poll while nothing changes", m_early->quiet.wakeUpsOfPoll(), m_late->quiet.wakeUpsOfPoll(),
                "", 1);
        }
        row("Descriptors", early.descriptors, late.descriptors, "", 0);
        row("Threads", early.threads, late.threads, "", 0);
        // At both times, the same windows were open and the same programs were listening.
        row("Signals to the panel in a busy period", m_early->livelyNews, m_late->livelyNews, "",
            m_early->livelyNews * 0.5);
        row("The same while nothing changes", m_early->quiet.news, m_late->quiet.news, "", 0);

        const double minutes = static_cast<double>(duration.count());
        rowAtLeast(u"Fewest signals in any busy period"_s, m_leastNews, 1);
        rowAtLeast(u"Polls"_s, m_life.polls(), m_isSanitized ? 1 : 3000 * minutes);
        double operations = 0;
        for (auto kind = m_life.operations().begin(); kind != m_life.operations().end(); ++kind) {
            operations += kind.value();
            rowAtLeast(u"  "_s + kind.key(), kind.value(), m_rounds);
        }
        rowAtLeast(u"Operations in all"_s, operations, m_isSanitized ? 1 : 100 * minutes);
        std::printf("%-44s %10d   exactly 0", "Signals to the panel while nothing changed", m_quiet.news);
        judge(m_quiet.news == 0);
        std::printf("%-44s %10d\n", "Polls in which nothing changed", m_quiet.polls);
        const int code = m_desktop.quit();
        std::printf("%-44s %10d   exactly 0", "Exit code", code);
        judge(code == 0);
    }

private:
    std::optional<Shot> round() {
        Shot shot;
        const int before = m_desktop.news();
        if (!m_life.liveForAWhile()) {
            return std::nullopt;
        }
        shot.livelyNews = m_desktop.news() - before;
        constexpr int untilAllIsQuiet = 20;
        if (!m_life.passPolls(untilAllIsQuiet)) {
            return std::nullopt;
        }
        const int newsBefore = m_desktop.news();
        const int pollsBefore = m_life.polls();
        const qint64 wakeUpsBefore = Footprint::wakeUps(m_desktop.processId());
        if (!m_life.passPolls(m_isSanitized ? 100 : 300)) {
            return std::nullopt;
        }
        shot.quiet.wakeUps = Footprint::wakeUps(m_desktop.processId()) - wakeUpsBefore;
        shot.quiet.polls = m_life.polls() - pollsBefore;
        shot.quiet.news = m_desktop.news() - newsBefore;
        return shot;
    }

    SoakDesktop& m_desktop;
    SoakLife& m_life;
    const bool m_isSanitized;
    Quiet m_quiet;
    int m_rounds = 0;
    int m_leastNews = 0;
    std::optional<Shot> m_early;
    std::optional<Shot> m_late;
};

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QCommandLineParser parser;
    const QString value = u"value"_s;
    for (const char* name : {"program", "minutes", "tools", "site", "server"}) {
        parser.addOption({QString::fromLatin1(name), QString(), value});
    }
    const QCommandLineOption sanitized(u"sanitized"_s);
    parser.addOption(sanitized);
    parser.process(application);

    const std::chrono::minutes duration(parser.value(u"minutes"_s).toInt());
    SoakDesktop desktop;
    SoakLife life(desktop, {
                               parser.value(u"tools"_s),
                               parser.value(u"site"_s),
                               parser.value(u"server"_s),
                           });
    Soak soak(desktop, life, parser.isSet(sanitized));
    if (duration < 1min || !life.begin(parser.value(u"program"_s)) || !soak.run(duration)) {
        std::fprintf(stderr, "bench-soak: the program did not follow: %s\n", qPrintable(desktop.trouble()));
        return 1;
    }
    soak.report(duration);
    return allIsWell ? 0 : 1;
}
