#pragma once

#include <QString>
#include <QStringList>

#include <memory>

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
    /// Plays a panel of the old kind, that takes icons and never shows them.
    void offerLegacyTray();

private:
    xcb_connection_t* const m_connection;
    quint32 m_root = 0;
};

} // namespace orvanel::test
