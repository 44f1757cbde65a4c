#include "SoakDesktop.h"

#include "support/Await.h"

#include <QSaveFile>

#include <algorithm>
#include <cstdlib>

namespace orvanel {
namespace {

using test::waitUntil;

const QString title = QStringLiteral("Orvanel");
constexpr int red = 0;
constexpr int green = 120;

/// The time between two polls becomes 10 ms, and that between two readings of the status page 100 ms.
constexpr auto haste = "300";

} // namespace

SoakDesktop::SoakDesktop(const Places& places)
    : m_places(places)
    , m_area(QDBusConnection::sessionBus())
    , m_notifications(QDBusConnection::sessionBus())
    , m_calls(places.calls) {
    m_program.setProcessChannelMode(QProcess::ForwardedChannels);
    m_program.setStandardInputFile(QProcess::nullDevice());
}

SoakDesktop::~SoakDesktop() {
    m_program.kill();
    m_program.waitForFinished();
}

bool SoakDesktop::startProgram() {
    auto bus = QDBusConnection::sessionBus();
    const auto listen = [&](const char* interface, const char* name) {
        return bus.connect({}, {}, QString::fromLatin1(interface), QString::fromLatin1(name), this, SLOT(onNews()));
    };
    m_last = QStringLiteral("take the places of a desktop on the session bus");
    if (!m_area.open() || !m_notifications.open() || !listen("org.kde.StatusNotifierItem", "NewIcon") ||
        !listen("org.kde.StatusNotifierItem", "NewToolTip") || !listen("com.canonical.dbusmenu", "LayoutUpdated") ||
        !listen("com.canonical.dbusmenu", "ItemsPropertiesUpdated") || !monitors("all-up")) {
        return false;
    }
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ORVANEL_HASTE"), QString::fromLatin1(haste));
    m_program.setProcessEnvironment(environment);
    m_program.start(m_places.program, {});
    m_last = QStringLiteral("show its icon");
    // In such haste it may miss the panel at first and open its window.
    return waitUntil([this] { return offers("Start"); }) && openWindow() && closeWindow() && startContainer();
}

QString SoakDesktop::trouble() const {
    if (m_program.state() != QProcess::Running) {
        return QStringLiteral("it ended when it should %1").arg(m_last);
    }
    QStringList menu;
    if (m_area.item() != nullptr) {
        for (const standin::MenuEntry& entry : m_area.item()->menu().entries()) {
            menu << (entry.enabled ? entry.text : QStringLiteral("[%1]").arg(entry.text));
        }
    }
    return QStringLiteral("it did not %1; its menu says: %2").arg(m_last, menu.join(QStringLiteral(", ")));
}

bool SoakDesktop::openWindow() {
    return press("Open window") && waitUntil([this] { return m_frames.find(title) != nullptr; });
}

bool SoakDesktop::closeWindow() {
    m_operations += 1;
    m_last = QStringLiteral("close its window");
    const standin::WindowFrame* frame = m_frames.find(title);
    if (frame == nullptr) {
        return false;
    }
    m_frames.close(*frame);
    return waitUntil([this] { return m_frames.find(title) == nullptr; });
}

bool SoakDesktop::startContainer() {
    return press("Start") && waitUntil([this] { return offers("Stop") && offers("Open dashboard"); });
}

bool SoakDesktop::stopContainer() {
    return press("Stop") && waitUntil([this] { return offers("Start"); });
}

bool SoakDesktop::breakMonitor() {
    return monitors("one-down") && waitUntil([this] { return showsColor(red); });
}

bool SoakDesktop::repairMonitor() {
    return monitors("all-up") && waitUntil([this] { return showsColor(green); });
}

bool SoakDesktop::passPolls(int count) {
    m_last = QStringLiteral("go on polling");
    const int goal = polls() + count;
    while (polls() < goal) {
        const int before = m_polls;
        if (!waitUntil([&] { return polls() > before; })) {
            return false;
        }
    }
    return true;
}

int SoakDesktop::quit() {
    if (!press("Quit") || !waitUntil([this] { return m_program.state() == QProcess::NotRunning; })) {
        return -1;
    }
    return m_program.exitStatus() == QProcess::NormalExit ? m_program.exitCode() : -1;
}

int SoakDesktop::polls() {
    if (m_calls.isOpen() || m_calls.open(QIODevice::ReadOnly)) {
        m_polls += static_cast<int>(m_calls.readAll().count("\tdocker\tinspect\t"));
    }
    return m_polls;
}

bool SoakDesktop::press(const char* text) {
    m_operations += 1;
    m_last = QStringLiteral("follow \"%1\"").arg(QLatin1String(text));
    if (!waitUntil([&] { return offers(text); })) {
        return false;
    }
    auto& menu = m_area.item()->menu();
    return menu.press(menu.find(QString::fromLatin1(text))->id);
}

bool SoakDesktop::offers(const char* text) {
    auto* const item = m_area.item();
    const auto entry = item != nullptr ? item->menu().find(QString::fromLatin1(text)) : std::nullopt;
    return entry && entry->enabled;
}

bool SoakDesktop::showsColor(int hue) {
    const QImage icon = m_area.item() != nullptr ? m_area.item()->icon(22) : QImage();
    if (icon.isNull()) {
        return false;
    }
    const QColor color = icon.pixelColor(icon.width() / 2, icon.height() / 2);
    const int distance = std::abs(color.hsvHue() - hue);
    return color.hsvSaturation() > 50 && std::min(distance, 360 - distance) < 40;
}

/// What the status page says from now on.
bool SoakDesktop::monitors(const char* answers) {
    m_operations += 1;
    m_last = QStringLiteral("show what the status page says");
    QFile from(QStringLiteral("%1/%2.json").arg(m_places.site, QLatin1String(answers)));
    QSaveFile to(m_places.server + QStringLiteral("/heartbeats/home.json"));
    return from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly) && to.write(from.readAll()) > 0 &&
           to.commit();
}

} // namespace orvanel
