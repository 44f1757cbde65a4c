#include "DisplayWindows.h"
#include "RunningProgram.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/VirtualDisplay.h"
#include "standin/desktop/WaylandDisplay.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// A display as the program sees it.
class Display {
public:
    virtual ~Display() = default;
    virtual void addTo(RunningProgram& program) const = 0;
    /// The minimum size that the program's main window asked for, in points of the display; none while the window is
    /// not shown.
    virtual std::optional<QSize> leastSizeOfWindow() const = 0;
};

class X11Display final : public Display {
public:
    void addTo(RunningProgram& program) const override {
        program.environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        program.environment.insert(u"DISPLAY"_s, m_display.name());
    }
    std::optional<QSize> leastSizeOfWindow() const override { return m_windows.leastSizeOf(u"Orvanel"_s); }

private:
    /// The display has room for the window at twice its size.
    standin::VirtualDisplay m_display{{1280, 1200}};
    DisplayWindows m_windows{m_display.name()};
};

/// A Wayland client cannot see the windows of others, so the test reads the program's own messages to the compositor.
class Wayland final : public Display {
public:
    explicit Wayland(int scale)
        : m_display(scale) {}

    void addTo(RunningProgram& program) const override {
        m_display.addTo(program.environment);
        program.environment.insert(u"WAYLAND_DEBUG"_s, u"client"_s);
        program.errorFile = m_folder.filePath(u"words"_s);
        // Leaks of Qt's plug-in, whose libraries are unloaded by then, cannot be told from ours.
        const auto options = u"ASAN_OPTIONS"_s;
        program.environment.insert(options, program.environment.value(options) + u":detect_leaks=0"_s);
    }
    std::optional<QSize> leastSizeOfWindow() const override {
        QFile file(m_folder.filePath(u"words"_s));
        const QString words = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        // An object and its number: "xdg_toplevel@12", since libwayland 1.23 "xdg_toplevel#12".
        static const QRegularExpression least(u"xdg_toplevel[@#]\\d+\\.set_min_size\\((\\d+), (\\d+)\\)"_s);
        // A window that is shown has a title, a name and a picture.
        static const QRegularExpression picture(u"wl_surface[@#]\\d+\\.attach\\(wl_buffer[@#]"_s);
        const auto size = least.match(words);
        if (!size.hasMatch() || !words.contains(u"set_title(\"Orvanel\")"_s) ||
            !words.contains(u"set_app_id(\"io.github.orvanel.Orvanel\")"_s) ||
            !picture.match(words, size.capturedEnd()).hasMatch()) {
            return std::nullopt;
        }
        return QSize(size.captured(1).toInt(), size.captured(2).toInt());
    }

private:
    standin::WaylandDisplay m_display;
    QTemporaryDir m_folder;
};

std::unique_ptr<Display> makeDisplay(const QString& kind, int scale) {
    if (kind == u"x11"_s) {
        return std::make_unique<X11Display>();
    }
    return std::make_unique<Wayland>(scale);
}

} // namespace

class TestDisplays : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void livesOnEachKindOfDisplay_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("scaleOfDisplay");
        QTest::addColumn<double>("scaleOfProgram");
        QTest::newRow("x11, scale 1") << u"x11"_s << 1 << 1.0;
        QTest::newRow("x11, scale 1.5") << u"x11"_s << 1 << 1.5;
        QTest::newRow("x11, scale 2") << u"x11"_s << 1 << 2.0;
        // The compositor knows only whole scales; the program's own factor adds the one between.
        QTest::newRow("wayland, scale 1") << u"wayland"_s << 1 << 1.0;
        QTest::newRow("wayland, scale 1 by 1.5") << u"wayland"_s << 1 << 1.5;
        QTest::newRow("wayland, scale 2") << u"wayland"_s << 2 << 1.0;
    }
    void livesOnEachKindOfDisplay() {
        QFETCH(const QString, kind);
        QFETCH(const int, scaleOfDisplay);
        QFETCH(const double, scaleOfProgram);
        if (kind == u"wayland"_s && !standin::WaylandDisplay::isInstalled()) {
            QSKIP("weston is not installed");
        }
        const auto display = makeDisplay(kind, scaleOfDisplay);
        RunningProgram world;
        display->addTo(world);
        world.environment.insert(u"QT_SCALE_FACTOR"_s, QString::number(scaleOfProgram));
        standin::StatusArea area(world.bus.connect());
        QVERIFY(area.open());
        QProcess& program = world.start();
        const auto quit = [&] { return area.item() != nullptr ? area.item()->menu().find(u"Quit"_s) : std::nullopt; };
        QVERIFY(waitUntil([&] { return quit().has_value(); }));
        QVERIFY(!display->leastSizeOfWindow());

        world.errorFile.clear();
        QCOMPARE(RunningProgram::exitCode(world.start()), 0);
        QVERIFY(waitUntil([&] { return display->leastSizeOfWindow().has_value(); }));
        const QSizeF least = QSizeF(560, 520) * scaleOfProgram;
        QCOMPARE(display->leastSizeOfWindow(), std::optional(least.toSize()));

        QVERIFY(area.item()->menu().press(quit()->id));
        QCOMPARE(RunningProgram::exitCode(program), 0);
    }
};

ORVANEL_TEST(TestDisplays)
#include "TestDisplays.moc"
