#pragma once

#include <QColor>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace orvanel::test {

/// The windows on an X display without a window manager.
class DisplayWindows {
public:
    explicit DisplayWindows(const QString& display);
    ~DisplayWindows();
    DisplayWindows(const DisplayWindows&) = delete;
    DisplayWindows& operator=(const DisplayWindows&) = delete;

    /// Titles of the windows that are visible now.
    QStringList titles() const;
    /// The minimum size that the visible window of that title asks for.
    std::optional<QSize> leastSizeOf(const QString& title) const;
    /// Plays a panel of the old kind, which embeds icons.
    void offerLegacyTray();
    /// Ends that panel; the icon's window goes back to its program.
    void withdrawLegacyTray();
    bool legacyTrayHasIcon();
    /// The colour in the middle of the icon's place in the panel.
    std::optional<QColor> legacyIconColor();
    void clickLegacyIcon();
    /// The user presses Escape in the window that has the keys.
    void pressEscape();

private:
    struct Seen {
        quint32 window = 0;
        QString title;
    };
    std::vector<Seen> seen() const;
    void readRequests();

    xcb_connection_t* const m_connection;
    quint32 m_root = 0;
    quint32 m_panel = 0;
};

} // namespace orvanel::test
