#pragma once

#include "platform/Desktop.h"

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <functional>

namespace orvanel {

/// The browser and the file manager of a freedesktop session.
class FreedesktopDesktop final : public Desktop {
public:
    /// Hands an address (web page or folder) to the desktop.
    using Opener = std::function<void(const QUrl&)>;

    /// `limit` bounds the wait for the file manager, which may have to start first.
    explicit FreedesktopDesktop(QDBusConnection bus = QDBusConnection::sessionBus(), Opener opener = defaultOpener(),
                                std::chrono::milliseconds limit = std::chrono::seconds(5));

    void openAddress(const QUrl& address) override;
    /// Through org.freedesktop.FileManager1.
    void reveal(const QString& path) override;

private:
    static Opener defaultOpener();

    QDBusConnection m_bus;
    const Opener m_open;
    const int m_limit;
    QObject m_calls;
};

} // namespace orvanel
