#include "SoakLife.h"

#include <QDir>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const QString mainTitle = u"Orvanel"_s;
const QString logsTitle = u"Uptime Kuma Logs"_s;
const QString settingsTitle = u"Settings"_s;
const QString backupTitle = u"Back up Uptime Kuma data"_s;

constexpr auto looks = "\tdocker\tinspect\t";
constexpr auto logReadings = "\tdocker\tlogs\t";
constexpr auto ups = "\tup\t-d";

// Key codes of X.
constexpr quint32 keyDown = 0xff54;
constexpr quint32 keyReturn = 0xff0d;

QStringList backups() {
    return QDir::home().entryList({u"*.zip"_s}, QDir::Files);
}

} // namespace

SoakLife::SoakLife(SoakDesktop& desktop, const Places& places)
    : m_desktop(desktop)
    , m_places(places)
    , m_tools(places.tools.toStdString())
    , m_record(QString::fromStdString(m_tools.file("standin-calls.log")))
    , m_calls{{looks, 0}, {logReadings, 0}, {ups, 0}} {}

bool SoakLife::begin(const QString& program) {
    // With pauses this short, the program may miss the panel at first and open its window.
    return showMonitors("all-up") && m_desktop.start(program) && openWindow() && closeWindow() && start();
}

bool SoakLife::liveForAWhile() {
    const bool followed = openWindow() && restart() && readLogs() && openSettings() && backUp() && breakMonitor() &&
                          repairMonitor() && stop() && failToStart() && start() && closeWindow();
    if (!followed) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        if (!stop() || !start()) {
            return false;
        }
    }
    return loseDocker();
}

bool SoakLife::openWindow() {
    m_desktop.expect(u"open its window"_s);
    return m_desktop.choose(u"Open window"_s) && m_desktop.waitFor([this] { return m_desktop.hasWindow(mainTitle); });
}

bool SoakLife::closeWindow() {
    m_desktop.expect(u"close its window"_s);
    return m_desktop.closeWindow(mainTitle);
}

bool SoakLife::isRunning() const {
    return m_desktop.offers(u"Stop"_s) && m_desktop.offers(u"Open dashboard"_s);
}

bool SoakLife::start() {
    m_desktop.expect(u"start the container"_s);
    return m_desktop.choose(u"Start"_s) && m_desktop.waitFor([this] { return isRunning(); }) && done("starts");
}

bool SoakLife::stop() {
    m_desktop.expect(u"stop the container"_s);
    return m_desktop.choose(u"Stop"_s) && m_desktop.waitFor([this] { return m_desktop.offers(u"Start"_s); }) &&
           done("stops");
}

bool SoakLife::restart() {
    m_desktop.expect(u"restart the container"_s);
    const int before = calls(ups);
    return m_desktop.pressButton(u"Restart"_s) &&
           m_desktop.waitFor([&] { return calls(ups) > before && isRunning(); }) && done("restarts");
}

/// The next start takes the error away.
bool SoakLife::failToStart() {
    m_desktop.expect(u"tell of a start that failed"_s);
    m_tools.change([](standin::DockerState& state) {
        state.overrides.push_back({.command = "compose up", .exitCode = 1, .times = 1});
    });
    return m_desktop.choose(u"Start"_s) && m_desktop.reads(u"Docker reported an error."_s) &&
           m_desktop.waitFor([this] { return m_desktop.offers(u"Start"_s); }) && done("failed starts");
}

bool SoakLife::readLogs() {
    m_desktop.expect(u"read the logs again and again"_s);
    const int before = calls(logReadings);
    return m_desktop.pressButton(u"Logs"_s) &&
           m_desktop.waitFor([&] { return m_desktop.hasWindow(logsTitle) && calls(logReadings) > before + 3; }) &&
           m_desktop.closeWindow(logsTitle) && done("logs followed");
}

bool SoakLife::openSettings() {
    m_desktop.expect(u"show its settings"_s);
    return m_desktop.pressButton(settingsTitle) &&
           m_desktop.waitFor([this] { return m_desktop.hasWindow(settingsTitle); }) &&
           m_desktop.reads(u"Stop the container when I quit"_s) && m_desktop.closeWindow(settingsTitle) &&
           done("settings opened");
}

bool SoakLife::backUp() {
    m_desktop.expect(u"ask where the backup goes"_s);
    if (!m_desktop.pressButton(u"Backup"_s) || !m_desktop.waitFor([this] { return m_desktop.hasMenu(mainTitle); })) {
        return false;
    }
    m_desktop.pressKey(mainTitle, keyDown);
    m_desktop.pressKey(mainTitle, keyReturn);
    if (!m_desktop.waitFor([this] { return m_desktop.hasWindow(backupTitle); })) {
        return false;
    }
    m_desktop.expect(u"make a backup"_s);
    m_desktop.pressKey(backupTitle, keyReturn);
    if (!m_desktop.waitFor([this] { return !backups().isEmpty() && isRunning(); })) {
        return false;
    }
    for (const QString& file : backups()) {
        QDir::home().remove(file);
    }
    return done("backups");
}

bool SoakLife::breakMonitor() {
    m_desktop.expect(u"show that a monitor is down"_s);
    return showMonitors("one-down") && m_desktop.waitFor([this] { return m_desktop.shows(SoakDesktop::Color::red); });
}

bool SoakLife::repairMonitor() {
    m_desktop.expect(u"show that all monitors are up"_s);
    return showMonitors("all-up") && m_desktop.waitFor([this] { return m_desktop.shows(SoakDesktop::Color::green); });
}

bool SoakLife::loseDocker() {
    m_desktop.expect(u"notice that Docker is gone"_s);
    m_tools.change([](standin::DockerState& state) { state.daemon = standin::Daemon::down; });
    if (!m_desktop.waitFor([this] { return m_desktop.says(u"Docker is not running"_s); })) {
        return false;
    }
    m_desktop.expect(u"notice that Docker is back"_s);
    m_tools.change([](standin::DockerState& state) { state.daemon = standin::Daemon::up; });
    return m_desktop.waitFor([this] { return isRunning() && m_desktop.shows(SoakDesktop::Color::green); });
}

bool SoakLife::passPolls(int count) {
    m_desktop.expect(u"go on polling"_s);
    const int goal = polls() + count;
    while (polls() < goal) {
        const int before = polls();
        if (!m_desktop.waitFor([&] { return polls() > before; })) {
            return false;
        }
    }
    return true;
}

/// Sets what the status page says from now on.
bool SoakLife::showMonitors(const char* answers) {
    QFile from(u"%1/%2.json"_s.arg(m_places.site, QLatin1String(answers)));
    QSaveFile to(m_places.server + u"/heartbeats/home.json"_s);
    return from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly) && to.write(from.readAll()) > 0 &&
           to.commit();
}

bool SoakLife::done(const char* operation) {
    m_operations[QString::fromLatin1(operation)] += 1;
    return true;
}

int SoakLife::calls(const char* words) {
    if (m_record.isOpen() || m_record.open(QIODevice::ReadOnly)) {
        // Counts whole lines only, because the last one may still be being written.
        QByteArray text = m_begun + m_record.readAll();
        const qsizetype whole = text.lastIndexOf('\n') + 1;
        m_begun = text.mid(whole);
        text.truncate(whole);
        for (auto count = m_calls.begin(); count != m_calls.end(); ++count) {
            count.value() += static_cast<int>(text.count(count.key()));
        }
    }
    return m_calls.value(words);
}

} // namespace orvanel
