#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace orvanel::test {

/// The windows on an X display that has no window manager.
class DisplayWindows {
public:
    explicit DisplayWindows(const QString& display);
    ~DisplayWindows();
    DisplayWindows(const DisplayWindows&) = delete;
    DisplayWindows& operator=(const DisplayWindows&) = delete;

    /// Of those that are seen now.
    QStringList titles() const;
    /// The least size that the seen window of that title says it may have.
    std::optional<QSize> leastSizeOf(const QString& title) const;
    /// Plays a panel of the old kind, that takes icons and never shows them.
    void offerLegacyTray();
    /// Whether a program has asked that panel to take its icon.
    bool wasAskedToTakeAnIcon();

private:
    struct Seen {
        quint32 window = 0;
        QString title;
    };
    std::vector<Seen> seen() const;

    xcb_connection_t* const m_connection;
    quint32 m_root = 0;
    bool m_wasAsked = false;
};

} // namespace orvanel::test
