#pragma once

#include <QObject>

#include <memory>

namespace orvanel {

/// An X11 panel of the old kind, which embeds the windows of icons (System Tray Protocol, "XEmbed"). It is found
/// without QSystemTrayIcon, because the first use of that class decides for the whole process which kind of panel it
/// uses.
class LegacyTray : public QObject {
    Q_OBJECT

public:
    /// The panel of the application's display; the application object must exist. Other displays than X11 never have
    /// one.
    static std::unique_ptr<LegacyTray> ofDisplay();

    /// Asks the X server.
    virtual bool isPresent() const = 0;
    /// Asks the panel, if there is one, to embed that native window.
    virtual void dock(quintptr window) = 0;

Q_SIGNALS:
    /// A panel has appeared, possibly in place of another.
    void appeared();
    /// The panel that was asked last has gone.
    void disappeared();
};

} // namespace orvanel
