#include "SoakLife.h"

#include <QDir>
#include <QSaveFile>

namespace orvanel {
namespace {

const QString mainTitle = QStringLiteral("Orvanel");
const QString logsTitle = QStringLiteral("Uptime Kuma Logs");
const QString settingsTitle = QStringLiteral("Settings");
const QString backupTitle = QStringLiteral("Back up Uptime Kuma data");

constexpr auto looks = "\tdocker\tinspect\t";
constexpr auto logReadings = "\tdocker\tlogs\t";
constexpr auto ups = "\tup\t-d";

// Of X.
constexpr quint32 keyDown = 0xff54;
constexpr quint32 keyReturn = 0xff0d;

QStringList backups() {
    return QDir::home().entryList({QStringLiteral("*.zip")}, QDir::Files);
}

} // namespace

SoakLife::SoakLife(SoakDesktop& desktop, const Places& places)
    : m_desktop(desktop)
    , m_places(places)
    , m_tools(places.tools.toStdString())
    , m_record(QString::fromStdString(m_tools.file("standin-calls.log")))
    , m_calls{{looks, 0}, {logReadings, 0}, {ups, 0}} {}

bool SoakLife::begin(const QString& program) {
    // In such haste it may miss the panel at first and open its window.
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
    m_desktop.expect(QStringLiteral("open its window"));
    return m_desktop.choose(QStringLiteral("Open window")) &&
           m_desktop.waitFor([this] { return m_desktop.hasWindow(mainTitle); });
}

bool SoakLife::closeWindow() {
    m_desktop.expect(QStringLiteral("close its window"));
    return m_desktop.closeWindow(mainTitle);
}

bool SoakLife::isRunning() const {
    return m_desktop.offers(QStringLiteral("Stop")) && m_desktop.offers(QStringLiteral("Open dashboard"));
}

bool SoakLife::start() {
    m_desktop.expect(QStringLiteral("start the container"));
    return m_desktop.choose(QStringLiteral("Start")) && m_desktop.waitFor([this] { return isRunning(); }) &&
           done("starts");
}

bool SoakLife::stop() {
    m_desktop.expect(QStringLiteral("stop the container"));
    return m_desktop.choose(QStringLiteral("Stop")) &&
           m_desktop.waitFor([this] { return m_desktop.offers(QStringLiteral("Start")); }) && done("stops");
}

bool SoakLife::restart() {
    m_desktop.expect(QStringLiteral("restart the container"));
    const int before = calls(ups);
    return m_desktop.pressButton(QStringLiteral("Restart")) &&
           m_desktop.waitFor([&] { return calls(ups) > before && isRunning(); }) && done("restarts");
}

/// The error goes with the next start.
bool SoakLife::failToStart() {
    m_desktop.expect(QStringLiteral("tell of a start that failed"));
    m_tools.change([](standin::DockerState& state) {
        state.overrides.push_back({.command = "compose up", .exitCode = 1, .times = 1});
    });
    return m_desktop.choose(QStringLiteral("Start")) && m_desktop.reads(QStringLiteral("Docker reported an error.")) &&
           m_desktop.waitFor([this] { return m_desktop.offers(QStringLiteral("Start")); }) && done("failed starts");
}

bool SoakLife::readLogs() {
    m_desktop.expect(QStringLiteral("read the logs again and again"));
    const int before = calls(logReadings);
    return m_desktop.pressButton(QStringLiteral("Logs")) &&
           m_desktop.waitFor([&] { return m_desktop.hasWindow(logsTitle) && calls(logReadings) > before + 3; }) &&
           m_desktop.closeWindow(logsTitle) && done("logs followed");
}

bool SoakLife::openSettings() {
    m_desktop.expect(QStringLiteral("show its settings"));
    return m_desktop.pressButton(settingsTitle) &&
           m_desktop.waitFor([this] { return m_desktop.hasWindow(settingsTitle); }) &&
           m_desktop.reads(QStringLiteral("Stop the container when I quit")) && m_desktop.closeWindow(settingsTitle) &&
           done("settings opened");
}

bool SoakLife::backUp() {
    m_desktop.expect(QStringLiteral("ask where the backup goes"));
    if (!m_desktop.pressButton(QStringLiteral("Backup")) ||
        !m_desktop.waitFor([this] { return m_desktop.hasMenu(mainTitle); })) {
        return false;
    }
    m_desktop.pressKey(mainTitle, keyDown);
    m_desktop.pressKey(mainTitle, keyReturn);
    if (!m_desktop.waitFor([this] { return m_desktop.hasWindow(backupTitle); })) {
        return false;
    }
    m_desktop.expect(QStringLiteral("make a backup"));
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
    m_desktop.expect(QStringLiteral("show that a monitor is down"));
    return showMonitors("one-down") && m_desktop.waitFor([this] { return m_desktop.shows(SoakDesktop::Color::red); });
}

bool SoakLife::repairMonitor() {
    m_desktop.expect(QStringLiteral("show that all monitors are up"));
    return showMonitors("all-up") && m_desktop.waitFor([this] { return m_desktop.shows(SoakDesktop::Color::green); });
}

bool SoakLife::loseDocker() {
    m_desktop.expect(QStringLiteral("notice that Docker is gone"));
    m_tools.change([](standin::DockerState& state) { state.daemon = standin::Daemon::down; });
    if (!m_desktop.waitFor([this] { return m_desktop.says(QStringLiteral("Docker is not running")); })) {
        return false;
    }
    m_desktop.expect(QStringLiteral("notice that Docker is back"));
    m_tools.change([](standin::DockerState& state) { state.daemon = standin::Daemon::up; });
    return m_desktop.waitFor([this] { return isRunning() && m_desktop.shows(SoakDesktop::Color::green); });
}

bool SoakLife::passPolls(int count) {
    m_desktop.expect(QStringLiteral("go on polling"));
    const int goal = polls() + count;
    while (polls() < goal) {
        const int before = polls();
        if (!m_desktop.waitFor([&] { return polls() > before; })) {
            return false;
        }
    }
    return true;
}

/// What the status page says from now on.
bool SoakLife::showMonitors(const char* answers) {
    QFile from(QStringLiteral("%1/%2.json").arg(m_places.site, QLatin1String(answers)));
    QSaveFile to(m_places.server + QStringLiteral("/heartbeats/home.json"));
    return from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly) && to.write(from.readAll()) > 0 &&
           to.commit();
}

bool SoakLife::done(const char* operation) {
    m_operations[QString::fromLatin1(operation)] += 1;
    return true;
}

int SoakLife::calls(const char* words) {
    if (m_record.isOpen() || m_record.open(QIODevice::ReadOnly)) {
        // Whole lines only: the last one may still be written.
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
