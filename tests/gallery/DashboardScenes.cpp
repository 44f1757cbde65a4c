#include "Scenes.h"
#include "app/AppWindow.h"
#include "app/views/MonitorRows.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {
namespace {

/// Without heartbeats, as of a monitor that was never checked, unless `history` has letters: see heartbeats().
MonitorRow row(std::int64_t id, std::optional<std::int64_t> status, const QString& name, const QString& group = {},
               std::optional<std::int64_t> ping = {}, const QString& history = {}) {
    return {.id = id,
            .name = name,
            .group = group,
            .status = status,
            .ping = ping,
            .uptime24 = {},
            .beats = heartbeats(history, ping.value_or(40))};
}

QString letters(qsizetype count, QChar letter) {
    return QString(count, letter);
}

/// That many that are up.
QString up(qsizetype count) {
    return letters(count, u'u');
}

QList<MonitorRow> everyStatus() {
    const auto public_ = u"Public sites"_s;
    const auto home = u"At home"_s;
    return {
        row(1, 1, u"Company website"_s, public_, 84, up(50)),
        row(2, 0, u"Online shop"_s, public_, {}, up(44) + u"pp"_s + letters(4, u'd')),
        row(3, 1, u"Newsletter"_s, public_, 1207, up(17) + u"ppd"_s + up(30)),
        row(4, 3, u"Photo library"_s, home, 12, up(38) + letters(12, u'm')),
        row(5, 2, u"Backup server"_s, home, {}, up(3) + u"pp"_s),
        row(6, std::nullopt, u"Weather station"_s),
    };
}

QList<MonitorRow> withoutHeartbeats() {
    QList<MonitorRow> rows = everyStatus();
    for (MonitorRow& row : rows) {
        row.beats = {};
    }
    return rows;
}

QList<MonitorRow> allUp() {
    QList<MonitorRow> rows;
    for (const auto* name : {"Company website", "Online shop", "Newsletter", "Photo library", "Backup server"}) {
        const qsizetype id = rows.size() + 1;
        rows << row(id, 1, QString::fromLatin1(name), {}, 20 + id * 17, up(50));
    }
    return rows;
}

QList<MonitorRow> muchHappened() {
    QList<MonitorRow> rows;
    constexpr QStringView patterns[] = {u"ud", u"uuuudpuu", u"updm", u"d", u"uuuuuuuuup", u"m", u"p"};
    for (const QStringView pattern : patterns) {
        const qsizetype id = rows.size() + 1;
        const QString history = pattern.toString().repeated(50).left(50);
        const qsizetype status = QStringView(u"dupm").indexOf(history.back());
        rows << row(id, status, u"Service %1"_s.arg(id), id > 3 ? u"Rack"_s : QString(), 20 + id * 17, history);
    }
    return rows;
}

QList<MonitorRow> longNames() {
    const auto longName = u"The website of the company with the long name, as customers see it from the outside"_s;
    return {
        row(1, 1, longName, u"Everything that customers see, on all continents and at all times"_s, 84, up(50)),
        row(2, 0, longName, {}, 9999999, up(49) + u'd'),
        row(3, 1, longName, u"Not checked often"_s, 84, up(4)),
        row(4, std::nullopt, longName, u"Never checked"_s),
    };
}

QList<MonitorRow> strangeTexts() {
    return {
        row(1, 1, u"<b>bold</b> &amp; _under_ & more"_s, u"<i>group</i>"_s, 3),
        row(2, 0, u"first line\nsecond line\ttab"_s, u"a\nb"_s, 9999999),
        row(3, 1, u"\u202Eright to left\u202C and back"_s, u"\u2067mark\u2069"_s, 0),
        row(4, 7, QString(10000, u'x'), QString(500, u'W'), 12),
        row(5, std::nullopt, QString(), QString()),
        row(6, 1, u"שלום, 世界 🌍 é́́́"_s, {}, 77),
    };
}

QList<MonitorRow> many(int count) {
    QList<MonitorRow> rows;
    for (int i = 0; i < count; ++i) {
        rows << row(i, i % 17 == 3 ? 0 : 1, u"Service %1"_s.arg(i + 1), u"Rack %1"_s.arg(i / 20 + 1), 20 + i % 90,
                    i % 17 == 3 ? up(47) + u"ddd"_s : up(50));
    }
    return rows;
}

std::unique_ptr<QWidget> running(GalleryWorld& world, const QString& slug, const StatusPageResult& page) {
    world.controller().setSlug(slug);
    world.page.status = page;
    if (!world.isPolledAsRunning()) {
        qFatal("the container should run");
    }
    world.settle();
    return std::make_unique<MainWindow>(world.context());
}

std::function<std::unique_ptr<QWidget>(GalleryWorld&)> withMonitors(const QList<MonitorRow>& rows,
                                                                    const QString& title) {
    return [=](GalleryWorld& world) { return running(world, u"home"_s, statusPage(rows, title)); };
}

/// Narrower than its user can make it, as on a small screen.
void makeNarrow(QWidget& window) {
    window.setMinimumSize(0, 0);
    window.resize(400, window.height());
}

void readFromTheRight(QWidget& window) {
    window.setLayoutDirection(Qt::RightToLeft);
}

/// The fourth last heartbeat of the second row.
void chooseBeat(QWidget& window) {
    auto* list = window.findChild<MonitorRows*>();
    window.activateWindow();
    list->setFocus(Qt::TabFocusReason);
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Left, Qt::Key_Left, Qt::Key_Left, Qt::Key_Left}) {
        QTest::keyClick(list, key);
    }
}

std::unique_ptr<QWidget> starting(GalleryWorld& world) {
    world.page.answers = false;
    world.controller().setSlug(u"home"_s);
    static_cast<void>(world.isPolledAsRunning());
    return std::make_unique<MainWindow>(world.context());
}

std::unique_ptr<QWidget> converting(GalleryWorld& world) {
    world.page.exactAnswer = PageAnswer::converting;
    world.docker().log = "[DB] INFO: [DON'T STOP] Migrating monitor 7s' (3 of 12 total) data - 2024-05-01 - total "
                         "migration progress 41.67%\n";
    world.controller().setSlug(u"home"_s);
    static_cast<void>(world.isPolledAsRunning());
    return std::make_unique<MainWindow>(world.context());
}

std::unique_ptr<QWidget> backupWaits(GalleryWorld& world) {
    auto window = converting(world);
    world.controller().backUpNow();
    world.dialogs.pathQuestions.takeLast().answer.complete(u"/home/ann/kuma.zip"_s);
    world.settle();
    return window;
}

std::unique_ptr<QWidget> interruptedConversion(GalleryWorld& world) {
    standin::addContainer(world.docker(), "restarting");
    world.docker().log = "[SERVER] ERROR: Failed to prepare your database: Aggregate table migration is already in "
                         "progress\n";
    world.controller().setSlug(u"home"_s);
    world.poll();
    return std::make_unique<MainWindow>(world.context());
}

std::unique_ptr<QWidget> interruptedAfterUpdate(GalleryWorld& world) {
    auto window = running(world, u"home"_s, statusPage(everyStatus(), u"My services"_s));
    world.releases.answer = LatestRelease{.version = u"2.1.0"_s};
    world.controller().setImageTag(u"1.23.16"_s);
    world.controller().checkForUpdates();
    world.settle();
    world.controller().updateNow();
    world.settle();
    world.dialogs.questions.takeLast().answer.complete(true);
    if (!world.operationEnds()) {
        qFatal("the update should end");
    }
    world.docker().container->state = "restarting";
    world.docker().log = "[SERVER] ERROR: Failed to prepare your database: Aggregate table migration is already in "
                         "progress\n";
    world.advance(3s);
    return window;
}

std::unique_ptr<QWidget> withError(GalleryWorld& world) {
    auto window = running(world, u"home"_s, statusPage(everyStatus(), u"My services"_s));
    world.loginItem.failure = u"~/.config/autostart: Permission denied"_s;
    world.controller().setLaunchAtLogin(true);
    return window;
}

std::unique_ptr<QWidget> withFailedDailyBackup(GalleryWorld& world) {
    auto window = running(world, u"home"_s, statusPage(everyStatus(), u"My services"_s));
    world.backups.databaseProblem = u"row 7 missing from index sqlite_autoindex_setting_1"_s;
    world.controller().setDailyBackup(true);
    world.settle();
    return window;
}

std::unique_ptr<QWidget> withoutSlug(GalleryWorld& world) {
    return running(world, {}, statusPage({}));
}

std::unique_ptr<QWidget> wrongSlug(GalleryWorld& world) {
    return running(world, u"hoem"_s, StatusPageError{u"There is no status page with this slug."_s});
}

std::unique_ptr<QWidget> longSlug(GalleryWorld& world) {
    return running(world, QString(5000, u'W'), StatusPageError{u"There is no such page."_s});
}

} // namespace

std::vector<Scene> dashboardScenes() {
    const auto title = u"My services"_s;
    return {
        {"starting", starting, {}},
        {"converting", converting, {}},
        {"converting-backup-waits", backupWaits, {}},
        {"conversion-interrupted", interruptedConversion, {}},
        {"conversion-interrupted-way-back", interruptedAfterUpdate, {}},
        {"guide-card", withoutSlug, {}},
        {"wrong-slug", wrongSlug, {}},
        {"monitors-none", withMonitors({}, {}), {}},
        {"monitors", withMonitors(everyStatus(), title), {}},
        {"monitors-all-up", withMonitors(allUp(), title), {}},
        {"monitors-much-happened", withMonitors(muchHappened(), title), {}},
        {"monitors-long-names", withMonitors(longNames(), title), {}},
        {"monitors-narrow", withMonitors(everyStatus(), title), makeNarrow},
        {"monitors-right-to-left", withMonitors(everyStatus(), title), readFromTheRight},
        {"monitors-without-heartbeats", withMonitors(withoutHeartbeats(), title), {}},
        {"monitors-heartbeat-chosen", withMonitors(everyStatus(), title), chooseBeat},
        {"monitors-error", withError, {}},
        {"monitors-daily-backup-failed", withFailedDailyBackup, {}},
        {"monitors-many", withMonitors(many(5000), title), {}},
        {"monitors-strange-texts", withMonitors(strangeTexts(), u"<u>Title</u> & more"_s), {}},
        {"monitors-long-title", withMonitors(everyStatus(), u"A very long title\n"_s.repeated(9)), {}},
        {"wrong-long-slug", longSlug, {}},
    };
}

} // namespace orvanel::test
