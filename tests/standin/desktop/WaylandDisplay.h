#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

namespace orvanel::standin {

/// A Wayland compositor whose screen nobody sees (weston without an output device). Ends with the object.
class WaylandDisplay {
public:
    /// Whether weston is installed on this computer.
    static bool isInstalled();

    /// `scale` is the number of screen pixels for each logical pixel.
    explicit WaylandDisplay(int scale = 1);
    ~WaylandDisplay();
    WaylandDisplay(const WaylandDisplay&) = delete;
    WaylandDisplay& operator=(const WaylandDisplay&) = delete;

    /// Makes a program use this display.
    void addTo(QProcessEnvironment& environment) const;

private:
    QTemporaryDir m_folder;
    QProcess m_server;
};

} // namespace orvanel::standin
