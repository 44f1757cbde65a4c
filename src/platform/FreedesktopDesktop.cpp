#include "platform/FreedesktopDesktop.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QDBusMessage showItems(const QString& path) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
                                       u"org.freedesktop.FileManager1"_s, u"ShowItems"_s);
    const QString address = QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    const QString startupId;
    call.setArguments({QStringList{address}, startupId});
    return call;
}

} // namespace

FreedesktopDesktop::FreedesktopDesktop(QDBusConnection bus, Opener opener, std::chrono::milliseconds limit)
    : m_bus(std::move(bus))
    , m_open(std::move(opener))
    , m_limit(static_cast<int>(limit.count())) {}

FreedesktopDesktop::Opener FreedesktopDesktop::defaultOpener() {
    return [](const QUrl& address) { QDesktopServices::openUrl(address); };
}

void FreedesktopDesktop::openAddress(const QUrl& address) {
    const QString scheme = address.scheme();
    const bool isWeb = scheme == u"http"_s || scheme == u"https"_s;
    if (isWeb && address.isValid() && !address.host().isEmpty()) {
        m_open(address);
    }
}

void FreedesktopDesktop::reveal(const QString& path) {
    const QFileInfo item(path);
    const auto openFolder = [open = m_open, folder = QUrl::fromLocalFile(item.absolutePath())] { open(folder); };
    // Without a bus the call would never be answered, not even by an error.
    if (!m_bus.isConnected()) {
        openFolder();
        return;
    }
    const auto call = m_bus.asyncCall(showItems(item.absoluteFilePath()), m_limit);
    auto* watcher = new QDBusPendingCallWatcher(call, &m_calls);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, openFolder] {
        watcher->deleteLater();
        if (watcher->isError()) {
            openFolder();
        }
    });
}

} // namespace orvanel
