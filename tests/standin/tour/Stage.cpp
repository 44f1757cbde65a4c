#include "Stage.h"

#include <QDir>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

const QString buttonRole = u"push button"_s;
const QString toggleRole = u"check box"_s;

/// Puts the file in its place at once, so that nobody reads half of it.
void write(const QString& path, const QByteArray& content) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        qFatal("%s could not be written", qPrintable(path));
    }
}

/// Names the colour by its hue, because shades differ between light and dark.
QString nameOf(const QColor& color) {
    if (color.alpha() < 128) {
        return {};
    }
    if (color.hsvSaturation() < 50) {
        return u"gray"_s;
    }
    const int hue = color.hsvHue();
    if (hue < 20 || hue > 340) {
        return u"red"_s;
    }
    return hue > 85 && hue < 170 ? u"green"_s : QString();
}

} // namespace

Stage::Stage(const Setup& setup)
    : m_setup(setup)
    , m_bus(QDBusConnection::connectToBus(setup.bus, u"desktop"_s))
    , m_statusArea(m_bus)
    , m_notifications(m_bus)
    , m_screen(setup.dark ? DesktopLook::darkened() : DesktopLook::light(), m_statusArea, m_notifications)
    , m_reader(m_bus)
    , m_ready(m_statusArea.open() && m_notifications.open() && m_reader.open(setup.bus)) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(sessionBusVariable), setup.bus);
    m_program.setProcessEnvironment(environment);
    m_program.setProcessChannelMode(QProcess::MergedChannels);
    m_program.setStandardOutputFile(setup.log);
    m_program.setStandardInputFile(QProcess::nullDevice());
}

Stage::~Stage() {
    if (isRunning()) {
        m_program.terminate();
        if (!m_program.waitForFinished(5000)) {
            m_program.kill();
            m_program.waitForFinished();
        }
    }
}

void Stage::startProgram() {
    m_started = true;
    m_program.start(m_setup.program, QStringList());
}

QString Stage::end() const {
    if (!m_started || isRunning()) {
        return {};
    }
    if (m_program.error() == QProcess::FailedToStart) {
        return u"the program could not be started: "_s + m_program.errorString();
    }
    if (m_program.exitStatus() == QProcess::CrashExit) {
        return u"the program crashed (signal %1)"_s.arg(m_program.exitCode());
    }
    return u"the program ended with exit code %1"_s.arg(m_program.exitCode());
}

bool Stage::endedWell() const {
    return !end().isEmpty() && m_program.error() != QProcess::FailedToStart &&
           m_program.exitStatus() == QProcess::NormalExit && m_program.exitCode() == 0;
}

QString Stage::toolTip() const {
    const TrayItem* item = m_statusArea.item();
    return item ? item->toolTip() : QString();
}

QString Stage::iconColor() const {
    const TrayItem* item = m_statusArea.item();
    const QImage icon = item ? item->icon(22) : QImage();
    return icon.isNull() ? QString() : nameOf(icon.pixelColor(icon.rect().center()));
}

std::optional<MenuEntry> Stage::menuEntry(const QString& text) const {
    const TrayItem* item = m_statusArea.item();
    return item ? item->menu().find(text) : std::nullopt;
}

void Stage::openMenu() {
    if (TrayItem* item = m_statusArea.item()) {
        item->menu().open();
    }
}

void Stage::choose(const QString& text) {
    if (const auto entry = menuEntry(text)) {
        m_statusArea.item()->menu().press(entry->id);
        m_screen.pointAt(0);
    }
}

std::optional<ScreenElement> Stage::button(const QString& name, const QString& after) const {
    return control(buttonRole, name, after);
}

std::optional<ScreenElement> Stage::toggle(const QString& name) const {
    return control(toggleRole, name, {});
}

std::optional<ScreenElement> Stage::control(const QString& role, const QString& name, const QString& after) const {
    bool isReached = after.isEmpty();
    for (const ScreenElement& element : m_reader.elements()) {
        isReached = isReached || (element.showing && element.name == after);
        if (isReached && element.showing && element.enabled && element.role == role && element.name == name) {
            return element;
        }
    }
    return std::nullopt;
}

void Stage::setMonitors(const QString& state) {
    const QString folder = m_setup.server + u"/heartbeats"_s;
    QFile from(m_setup.site + u'/' + state + u".json"_s);
    if (!QDir().mkpath(folder) || !from.open(QIODevice::ReadOnly)) {
        qFatal("%s could not be read", qPrintable(from.fileName()));
    }
    write(folder + u"/home.json"_s, from.readAll());
}

void Stage::setServerScript(const QByteArray& script) {
    write(m_setup.server + u"/kuma-script"_s, script);
}

} // namespace orvanel::standin
