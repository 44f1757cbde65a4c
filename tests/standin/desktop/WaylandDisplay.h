#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

namespace orvanel::standin {

/// A Wayland compositor that shows nothing to anybody (weston without a screen). Ends with the object.
class WaylandDisplay {
public:
    /// Whether there is one on this machine.
    static bool isInstalled();

    /// `scale`: how many pixels of the screen stand for one.
    explicit WaylandDisplay(int scale = 1);
    ~WaylandDisplay();
    WaylandDisplay(const WaylandDisplay&) = delete;
    WaylandDisplay& operator=(const WaylandDisplay&) = delete;

    /// Makes a program show itself there.
    void addTo(QProcessEnvironment& environment) const;

private:
    QTemporaryDir m_folder;
    QProcess m_server;
};

} // namespace orvanel::standin
