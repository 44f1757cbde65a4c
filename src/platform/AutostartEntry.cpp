#include "platform/AutostartEntry.h"

#include "platform/AppIdentity.h"
#include "platform/DesktopEntry.h"
#include "platform/UserFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString fileIn(const QString& folder) {
    return u"%1/%2.desktop"_s.arg(folder, identity::desktopId());
}

// True for a broken link as well: it hides the system's file like any other file.
bool isThere(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

std::optional<DesktopEntry> readEntry(const QString& path) {
    const auto content = readSmallFile(path);
    return content ? DesktopEntry::parse(*content) : std::nullopt;
}

/// The file that a command runs; empty when there is none.
QString resolved(const QString& command) {
    const QString path = QDir::isAbsolutePath(command) ? command : QStandardPaths::findExecutable(command);
    return QFileInfo(path).canonicalFilePath();
}

// Any argument counts, not only the first, so that wrappers such as "env" may stand before the program.
bool execNames(const DesktopEntry& entry, const QString& program) {
    const QString own = resolved(program);
    const QStringList arguments = execline::arguments(entry.value("Exec").value_or(QString()));
    return std::any_of(arguments.begin(), arguments.end(), [&](const QString& argument) {
        return argument == program || (!own.isEmpty() && resolved(argument) == own);
    });
}

bool canStart(const DesktopEntry& entry) {
    const auto needed = entry.value("TryExec");
    return !needed || needed->isEmpty() || QFileInfo(resolved(*needed)).isExecutable();
}

bool isMeantFor(const QStringList& desktops, const DesktopEntry& entry) {
    const auto isNamedIn = [&](const char* key) {
        const QStringList named = entry.list(key);
        return std::any_of(desktops.begin(), desktops.end(),
                           [&](const QString& desktop) { return named.contains(desktop); });
    };
    return (!entry.value("OnlyShowIn") || isNamedIn("OnlyShowIn")) && !isNamedIn("NotShowIn");
}

void switchOn(DesktopEntry& entry, const QString& program, const QStringList& desktops) {
    entry.setDefault("Type", u"Application"_s);
    entry.setDefault("Name", identity::applicationName());
    entry.setDefault("Icon", identity::iconName());
    if (!execNames(entry, program)) {
        entry.setValue("Exec", execline::quoted(program));
    }
    entry.setValue("TryExec", program);
    if (!isMeantFor(desktops, entry)) {
        entry.remove("OnlyShowIn");
        entry.remove("NotShowIn");
    }
    entry.setValue("Hidden", u"false"_s);
    entry.setValue("X-GNOME-Autostart-enabled", u"true"_s);
    // The status area should be there before the icon.
    entry.setDefault("X-GNOME-Autostart-Delay", u"3"_s);
    entry.setDefault("X-KDE-autostart-after", u"panel"_s);
    entry.setDefault("X-LXQt-Need-Tray", u"true"_s);
}

// Sets both keys: some desktops read only one, some only the other.
void switchOff(DesktopEntry& entry) {
    entry.setDefault("Type", u"Application"_s);
    entry.setDefault("Name", identity::applicationName());
    entry.setValue("Hidden", u"true"_s);
    entry.setValue("X-GNOME-Autostart-enabled", u"false"_s);
}

} // namespace

AutostartEntry::Places AutostartEntry::Places::ofThisUser() {
    const QString below = u"/autostart"_s;
    Places places{folders::configuration() + below, {}, qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':')};
    const QStringList all = QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    for (const QString& folder : all.mid(1)) {
        places.systemFolders << folder + below;
    }
    return places;
}

AutostartEntry::AutostartEntry()
    : AutostartEntry(QCoreApplication::applicationFilePath(), Places::ofThisUser()) {}

AutostartEntry::AutostartEntry(QString program, Places places)
    : m_program(std::move(program))
    , m_places(std::move(places)) {}

bool AutostartEntry::isEnabled() const {
    const auto entry = readEntry(entryThatCounts());
    if (!entry || entry->isTrue("Hidden") || entry->isFalse("X-GNOME-Autostart-enabled")) {
        return false;
    }
    return isMeantFor(m_places.desktops, *entry) && canStart(*entry) && execNames(*entry, m_program);
}

std::optional<QString> AutostartEntry::setEnabled(bool enabled) {
    if (!enabled && entryThatCounts().isEmpty()) {
        return std::nullopt;
    }
    auto entry = readEntry(userFile()).value_or(DesktopEntry());
    if (enabled) {
        switchOn(entry, m_program, m_places.desktops);
    } else {
        switchOff(entry);
    }
    return write(entry.content());
}

QString AutostartEntry::userFile() const {
    return fileIn(m_places.userFolder);
}

QString AutostartEntry::entryThatCounts() const {
    QStringList candidates{userFile()};
    for (const QString& folder : m_places.systemFolders) {
        candidates << fileIn(folder);
    }
    const auto first = std::find_if(candidates.begin(), candidates.end(), isThere);
    return first == candidates.end() ? QString() : *first;
}

std::optional<QString> AutostartEntry::write(const QByteArray& content) const {
    if (!QDir().mkpath(m_places.userFolder)) {
        return u"The folder %1 could not be created."_s.arg(m_places.userFolder);
    }
    // The file may be a link to the program's entry in the application menu. QSaveFile would write through the link,
    // and "Hidden" would hide the program in the menu as well; a new file replaces the link and leaves its target
    // alone.
    QTemporaryFile file(userFile() + u".XXXXXX"_s);
    file.setAutoRemove(true);
    if (!file.open() || file.write(content) != content.size() || !file.flush() ||
        !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther)) {
        return u"The file %1 could not be written: %2."_s.arg(userFile(), file.errorString());
    }
    if (std::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(userFile()).constData()) != 0) {
        const QString reason = qt_error_string(errno);
        return u"The file %1 could not be written: %2."_s.arg(userFile(), reason);
    }
    file.setAutoRemove(false);
    return std::nullopt;
}

} // namespace orvanel
