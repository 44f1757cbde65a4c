#include "Scenes.h"
#include "app/AppWindow.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {
namespace {

MonitorRow row(std::int64_t id, std::optional<std::int64_t> status, const QString& name, const QString& group = {},
               std::optional<std::int64_t> ping = {}) {
    return {.id = id, .name = name, .group = group, .status = status, .ping = ping, .uptime24 = {}};
}

QList<MonitorRow> everyStatus() {
    const auto public_ = u"Public sites"_s;
    const auto home = u"At home"_s;
    return {
        row(1, 1, u"Company website"_s, public_, 84), row(2, 0, u"Online shop"_s, public_),
        row(3, 1, u"Newsletter"_s, public_, 1207),    row(4, 3, u"Photo library"_s, home, 12),
        row(5, 2, u"Backup server"_s, home),          row(6, std::nullopt, u"Weather station"_s),
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
        rows << row(i, i % 17 == 3 ? 0 : 1, u"Service %1"_s.arg(i + 1), u"Rack %1"_s.arg(i / 20 + 1), 20 + i % 90);
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

std::unique_ptr<QWidget> withError(GalleryWorld& world) {
    auto window = running(world, u"home"_s, statusPage(everyStatus(), u"My services"_s));
    world.loginItem.failure = u"~/.config/autostart: Permission denied"_s;
    world.controller().setLaunchAtLogin(true);
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
        {"guide-card", withoutSlug, {}},
        {"wrong-slug", wrongSlug, {}},
        {"monitors-none", withMonitors({}, {}), {}},
        {"monitors", withMonitors(everyStatus(), title), {}},
        {"monitors-error", withError, {}},
        {"monitors-many", withMonitors(many(5000), title), {}},
        {"monitors-strange-texts", withMonitors(strangeTexts(), u"<u>Title</u> & more"_s), {}},
        {"monitors-long-title", withMonitors(everyStatus(), u"A very long title\n"_s.repeated(9)), {}},
        {"wrong-long-slug", longSlug, {}},
    };
}

} // namespace orvanel::test
