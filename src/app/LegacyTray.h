#pragma once

#include <QObject>

#include <memory>

namespace orvanel {

/// An old panel of X11 (System Tray Protocol, "XEmbed") that takes icons. It is found without QSystemTrayIcon, because
/// asking that would settle for the whole process that newer panels are never used.
class LegacyTray : public QObject {
    Q_OBJECT

public:
    /// That of the display of the application, which must be there; on a display that is not X11 there never is one.
    static std::unique_ptr<LegacyTray> ofDisplay();

    /// Asks the X server.
    virtual bool isPresent() const = 0;

Q_SIGNALS:
    /// One has come, maybe in the place of another.
    void appeared();
};

} // namespace orvanel
