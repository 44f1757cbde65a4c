#include "standin/desktop/StatusArea.h"

#include <QDBusContext>
#include <QDBusMessage>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

const QString watcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;
const QString usualItemPath = u"/StatusNotifierItem"_s;

/// The status area's object on the bus.
class Watcher final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    explicit Watcher(StatusArea* area)
        : QObject(area)
        , m_area(area) {}

    QStringList items() const { return m_area->registeredItems(); }
    bool hasHost() const { return m_area->hasHost(); }
    int protocolVersion() const { return 0; }

    // NOLINTBEGIN(readability-identifier-naming): the names of the bus
    Q_SLOT void RegisterStatusNotifierItem(const QString& service) {
        m_area->registerItem(service, message().service());
    }
    Q_SLOT void RegisterStatusNotifierHost(const QString&) { Q_EMIT StatusNotifierHostRegistered(); }

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString& service);
    void StatusNotifierItemUnregistered(const QString& service);
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();
    // NOLINTEND(readability-identifier-naming)

private:
    StatusArea* const m_area;
};

} // namespace

StatusArea::StatusArea(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus)) {
    m_services.setConnection(m_bus);
    m_services.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_services, &QDBusServiceWatcher::serviceUnregistered, this, &StatusArea::unregisterItem);
}

StatusArea::~StatusArea() {
    close();
}

bool StatusArea::open() {
    m_watcherObject = new Watcher(this);
    const auto exports =
        QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals | QDBusConnection::ExportAllProperties;
    if (m_bus.registerObject(watcherPath, m_watcherObject, exports) && m_bus.registerService(watcherName)) {
        return true;
    }
    close();
    return false;
}

void StatusArea::close() {
    if (!m_watcherObject) {
        return;
    }
    m_bus.unregisterService(watcherName);
    m_bus.unregisterObject(watcherPath);
    delete std::exchange(m_watcherObject, nullptr);
    m_items.clear();
}

void StatusArea::setHasHost(bool hasHost) {
    m_hasHost = hasHost;
    if (auto* watcher = static_cast<Watcher*>(m_watcherObject)) {
        if (hasHost) {
            Q_EMIT watcher->StatusNotifierHostRegistered();
        } else {
            Q_EMIT watcher->StatusNotifierHostUnregistered();
        }
    }
}

std::vector<TrayItem*> StatusArea::items() const {
    std::vector<TrayItem*> items;
    items.reserve(m_items.size());
    for (const auto& item : m_items) {
        items.push_back(item.get());
    }
    return items;
}

void StatusArea::registerItem(const QString& name, const QString& sender) {
    const bool isPath = name.startsWith(u'/');
    const QString service = isPath ? sender : name;
    unregisterItem(service);
    m_items.push_back(std::make_unique<TrayItem>(m_bus, service, isPath ? name : usualItemPath));
    connect(m_items.back().get(), &TrayItem::changed, this, &StatusArea::changed);
    m_services.addWatchedService(service);
    Q_EMIT static_cast<Watcher*>(m_watcherObject)->StatusNotifierItemRegistered(service);
    Q_EMIT changed();
}

void StatusArea::unregisterItem(const QString& service) {
    const auto gone = [&](const auto& item) { return item->service() == service; };
    if (std::erase_if(m_items, gone) == 0) {
        return;
    }
    m_services.removeWatchedService(service);
    if (m_watcherObject) {
        Q_EMIT static_cast<Watcher*>(m_watcherObject)->StatusNotifierItemUnregistered(service);
    }
    Q_EMIT changed();
}

QStringList StatusArea::registeredItems() const {
    QStringList services;
    for (const auto& item : m_items) {
        services += item->service();
    }
    return services;
}

} // namespace orvanel::standin

#include "StatusArea.moc"
