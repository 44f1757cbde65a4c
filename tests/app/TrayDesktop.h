#pragma once

#include "DisplayWindows.h"
#include "RunningProgram.h"
#include "app/widgets/StateColors.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/VirtualDisplay.h"
#include "support/Await.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace orvanel::test {

inline const auto title = u"Orvanel"_s;
inline const auto isStopped = u"Uptime Kuma is stopped"_s;

/// The program on a desktop with a display and, once it is open, a status area.
struct TrayDesktop {
    TrayDesktop()
        : windows(display.name())
        , area(program.bus.connect()) {
        program.environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        program.environment.insert(u"DISPLAY"_s, display.name());
    }

    standin::VirtualDisplay display;
    RunningProgram program;
    DisplayWindows windows;
    standin::StatusArea area;

    /// Makes the program's pauses ten times shorter, for tests that wait for them.
    void hurry() { program.environment.insert(u"ORVANEL_HASTE"_s, u"10"_s); }

    standin::TrayItem* item() { return area.item(); }
    bool saysInTheTray(const QString& text) {
        return waitUntil([&] { return item() != nullptr && item()->toolTip() == text && entry(text).has_value(); });
    }
    std::optional<standin::MenuEntry> entry(const QString& text) {
        return item() != nullptr ? item()->menu().find(text) : std::nullopt;
    }
    void press(const char* text) {
        const auto found = entry(QString::fromLatin1(text));
        QVERIFY(found && found->enabled);
        QVERIFY(item()->menu().press(found->id));
    }
    bool showsDot(Meaning meaning) {
        return waitUntil([&] {
            const QImage icon = item() != nullptr ? item()->icon(22) : QImage();
            return !icon.isNull() && icon.pixelColor(11, 11) == statusDotColor(meaning);
        });
    }
    bool showsWindow() {
        return waitUntil([&] { return windows.titles().contains(title); });
    }
    /// The menu as a person sees it, with disabled entries in brackets.
    QStringList menu() {
        QStringList lines;
        for (const standin::MenuEntry& one : item()->menu().entries()) {
            lines << (one.separator ? u"-"_s : one.enabled ? one.text : u"[%1]"_s.arg(one.text));
        }
        return lines;
    }
};

} // namespace orvanel::test
