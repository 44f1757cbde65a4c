#include "Scenes.h"
#include "app/MainWindow.h"

using namespace std::chrono_literals;

namespace orvanel::test {
namespace {

MonitorRow row(std::int64_t id, std::optional<std::int64_t> status, const QString& name, const QString& group = {},
               std::optional<std::int64_t> ping = {}) {
    return {.id = id, .name = name, .group = group, .status = status, .ping = ping, .uptime24 = {}};
}

QList<MonitorRow> everyStatus() {
    const auto public_ = QStringLiteral("Public sites");
    const auto home = QStringLiteral("At home");
    return {
        row(1, 1, QStringLiteral("Company website"), public_, 84),
        row(2, 0, QStringLiteral("Online shop"), public_),
        row(3, 1, QStringLiteral("Newsletter"), public_, 1207),
        row(4, 3, QStringLiteral("Photo library"), home, 12),
        row(5, 2, QStringLiteral("Backup server"), home),
        row(6, std::nullopt, QStringLiteral("Weather station")),
    };
}

QList<MonitorRow> strangeTexts() {
    return {
        row(1, 1, QStringLiteral("<b>bold</b> &amp; _under_ & more"), QStringLiteral("<i>group</i>"), 3),
        row(2, 0, QStringLiteral("first line\nsecond line\ttab"), QStringLiteral("a\nb"), 9999999),
        row(3, 1, QStringLiteral("\u202Eright to left\u202C and back"), QStringLiteral("\u2067mark\u2069"), 0),
        row(4, 7, QString(10000, u'x'), QString(500, u'W'), 12),
        row(5, std::nullopt, QString(), QString()),
        row(6, 1, QStringLiteral("שלום, 世界 🌍 é́́́"), {}, 77),
    };
}

QList<MonitorRow> many(int count) {
    QList<MonitorRow> rows;
    for (int i = 0; i < count; ++i) {
        rows << row(i, i % 17 == 3 ? 0 : 1, QStringLiteral("Service %1").arg(i + 1),
                    QStringLiteral("Rack %1").arg(i / 20 + 1), 20 + i % 90);
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
    return [=](GalleryWorld& world) { return running(world, QStringLiteral("home"), statusPage(rows, title)); };
}

std::unique_ptr<QWidget> starting(GalleryWorld& world) {
    world.page.answers = false;
    world.controller().setSlug(QStringLiteral("home"));
    static_cast<void>(world.isPolledAsRunning());
    return std::make_unique<MainWindow>(world.context());
}

std::unique_ptr<QWidget> withError(GalleryWorld& world) {
    auto window = running(world, QStringLiteral("home"), statusPage(everyStatus(), QStringLiteral("My services")));
    world.loginItem.failure = QStringLiteral("~/.config/autostart: Permission denied");
    world.controller().setLaunchAtLogin(true);
    return window;
}

std::unique_ptr<QWidget> withoutSlug(GalleryWorld& world) {
    return running(world, {}, statusPage({}));
}

std::unique_ptr<QWidget> wrongSlug(GalleryWorld& world) {
    return running(world, QStringLiteral("hoem"),
                   StatusPageError{QStringLiteral("There is no status page with this slug.")});
}

std::unique_ptr<QWidget> longSlug(GalleryWorld& world) {
    return running(world, QString(5000, u'W'), StatusPageError{QStringLiteral("There is no such page.")});
}

} // namespace

std::vector<Scene> dashboardScenes() {
    const auto title = QStringLiteral("My services");
    return {
        {"starting", starting, {}},
        {"guide-card", withoutSlug, {}},
        {"wrong-slug", wrongSlug, {}},
        {"monitors-none", withMonitors({}, {}), {}},
        {"monitors", withMonitors(everyStatus(), title), {}},
        {"monitors-error", withError, {}},
        {"monitors-many", withMonitors(many(5000), title), {}},
        {"monitors-strange-texts", withMonitors(strangeTexts(), QStringLiteral("<u>Title</u> & more")), {}},
        {"monitors-long-title", withMonitors(everyStatus(), QStringLiteral("A very long title\n").repeated(9)), {}},
        {"wrong-long-slug", longSlug, {}},
    };
}

} // namespace orvanel::test
