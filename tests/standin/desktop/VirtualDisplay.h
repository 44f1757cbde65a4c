#pragma once

#include <QProcess>
#include <QSize>
#include <QString>

namespace orvanel::standin {

/// An X server whose screen nobody sees (Xvfb), with a number that was free. Ends with the object.
class VirtualDisplay {
public:
    /// `size` is that of its screen, in pixels.
    explicit VirtualDisplay(QSize size = {1280, 800});
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// The value for the variable DISPLAY, such as ":1".
    QString name() const { return m_name; }

private:
    QProcess m_server;
    QString m_name;
};

} // namespace orvanel::standin
