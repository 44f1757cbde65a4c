#include "Scenes.h"
#include "app/AppWindow.h"

#include <QCheckBox>
#include <QDateTime>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

std::unique_ptr<QWidget> settings(GalleryWorld& world) {
    return std::make_unique<SettingsWindow>(world.context(), world.dialogs);
}

std::unique_ptr<QWidget> inUse(GalleryWorld& world) {
    world.controller().setSlug(u"home"_s);
    world.controller().setStopOnQuit(true);
    world.loginItem.enabled = true;
    if (!world.isPolledAsRunning()) {
        qFatal("the container should run");
    }
    return settings(world);
}

std::unique_ptr<QWidget> withRelease(GalleryWorld& world, const ReleaseResult& release, const QString& pinned) {
    world.controller().setImageTag(pinned);
    world.releases.answer = release;
    auto window = inUse(world);
    world.controller().checkForUpdates();
    world.settle();
    return window;
}

std::unique_ptr<QWidget> newRelease(GalleryWorld& world) {
    return withRelease(world, LatestRelease{.version = u"2.1.0"_s, .page = u"https://example.org"_s}, u"2"_s);
}

std::unique_ptr<QWidget> majorRelease(GalleryWorld& world) {
    return withRelease(world, LatestRelease{.version = u"2.1.0"_s, .page = u"https://example.org"_s}, u"1"_s);
}

std::unique_ptr<QWidget> wayBack(GalleryWorld& world) {
    auto window =
        withRelease(world, LatestRelease{.version = u"2.1.0"_s, .page = u"https://example.org"_s}, u"1.23.16"_s);
    world.controller().updateNow();
    world.settle();
    world.dialogs.questions.takeLast().answer.complete(true);
    if (!world.operationEnds()) {
        qFatal("the update should end");
    }
    world.settle();
    return window;
}

std::unique_ptr<QWidget> failedCheck(GalleryWorld& world) {
    return withRelease(world, ReleaseError{u"Could not check for updates (HTTP 403)."_s}, u"2"_s);
}

std::unique_ptr<QWidget> strange(GalleryWorld& world) {
    world.installedDocker = u"/opt/"_s + QString(400, u'x') + u"/<b>bin</b>/docker"_s;
    auto window = withRelease(
        world, LatestRelease{.version = u"<b>3</b>&-"_s + QString(300, u'v'), .page = u"https://x"_s}, u"2"_s);
    world.controller().setSlug(u"<i>slug</i> &amp; "_s + QString(300, u's'));
    world.settle();
    return window;
}

void typeWrongPort(QWidget& window) {
    auto* port = window.findChild<QLineEdit*>();
    port->setFocus();
    port->selectAll();
    QTest::keyClicks(port, u"70000"_s);
}

/// The automatic backups on Tuesday, 5 May 2026, at noon.
std::unique_ptr<QWidget> dailyBackups(GalleryWorld& world) {
    const QDateTime noon(QDate(2026, 5, 5), QTime(12, 0));
    world.clock.setWallTime(Clock::WallTime(std::chrono::milliseconds(noon.toMSecsSinceEpoch())));
    auto window = inUse(world);
    world.controller().setDailyBackup(true);
    world.settle();
    return window;
}

std::unique_ptr<QWidget> dailyBackupsDone(GalleryWorld& world) {
    world.backups.daily.bytes = 48'500'000;
    for (int day = 1; day <= 10; ++day) {
        world.backups.daily.copies.append({.time = u"202604%1-000000"_s.arg(day + 10), .number = day});
    }
    return dailyBackups(world);
}

std::unique_ptr<QWidget> dailyBackupsWithNotes(GalleryWorld& world) {
    world.backups.daily.copies.append({.time = u"20260410-000000"_s, .isChanged = true});
    world.backups.deletedForRoom = {u"daily-20260322-000000"_s, u"daily-20260329-000000"_s};
    return dailyBackupsDone(world);
}

std::unique_ptr<QWidget> dailyBackupsWaiting(GalleryWorld& world) {
    world.page.answers = false;
    static_cast<void>(world.isPolledAsRunning());
    world.controller().setDailyBackup(true);
    return settings(world);
}

std::unique_ptr<QWidget> dailyBackupsRunning(GalleryWorld& world) {
    world.backups.holds = true;
    return dailyBackups(world);
}

std::unique_ptr<QWidget> dailyBackupsFailed(GalleryWorld& world) {
    world.backups.failure = u"/home/ann/.local/share/Orvanel/Backups: Read-only file system"_s;
    return dailyBackups(world);
}

void scrollToBackups(QWidget& window) {
    auto* area = window.findChild<QScrollArea*>();
    for (const QCheckBox* box : window.findChildren<QCheckBox*>()) {
        if (box->text() == u"Back up every day") {
            area->verticalScrollBar()->setValue(box->mapTo(area->widget(), QPoint()).y() - 60);
        }
    }
}

/// A file takes the place of the settings' folder.
std::unique_ptr<QWidget> unwritable(GalleryWorld& world) {
    world.home.write(u"file"_s, "");
    world.settingsFile = world.home.path(u"file/Orvanel.conf"_s);
    world.loginItem.failure = u"~/.config/autostart: Permission denied"_s;
    return settings(world);
}

void changeEverything(QWidget& window) {
    for (QLineEdit* field : window.findChildren<QLineEdit*>()) {
        field->setText(u"3055"_s);
    }
    for (QCheckBox* box : window.findChildren<QCheckBox*>()) {
        box->click();
    }
}

void scrollToEnd(QWidget& window) {
    QScrollBar* bar = window.findChild<QScrollArea*>()->verticalScrollBar();
    bar->setValue(bar->maximum());
}

} // namespace

std::vector<Scene> settingsScenes() {
    return {
        {"settings-first", settings, {}},
        {"settings-in-use", inUse, {}},
        {"settings-wrong-port", inUse, typeWrongPort},
        {"settings-not-saved", unwritable, changeEverything},
        {"settings-backups-off", inUse, scrollToBackups},
        {"settings-backups-waiting", dailyBackupsWaiting, scrollToBackups},
        {"settings-backups-running", dailyBackupsRunning, scrollToBackups},
        {"settings-backups-done", dailyBackupsDone, scrollToBackups},
        {"settings-backups-notes", dailyBackupsWithNotes, scrollToBackups},
        {"settings-backups-failed", dailyBackupsFailed, scrollToBackups},
        {"settings-end", inUse, scrollToEnd},
        {"settings-new-release", newRelease, scrollToEnd},
        {"settings-major-release", majorRelease, scrollToEnd},
        {"settings-way-back", wayBack, scrollToEnd},
        {"settings-failed-check", failedCheck, scrollToEnd},
        {"settings-strange-texts", strange, {}},
        {"settings-strange-texts-end", strange, scrollToEnd},
    };
}

} // namespace orvanel::test
