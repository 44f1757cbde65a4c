#pragma once

#include "standin/desktop/TrayItem.h"

#include <QDBusServiceWatcher>

#include <memory>
#include <vector>

namespace orvanel::standin {

/// The status area of a desktop: org.kde.StatusNotifierWatcher with its host, on the given bus.
class StatusArea final : public QObject {
    Q_OBJECT

public:
    explicit StatusArea(QDBusConnection bus, QObject* parent = nullptr);
    ~StatusArea() override;

    /// Takes the watcher's name on the bus; false if another desktop has it.
    [[nodiscard]] bool open();
    /// Leaves the bus, as a panel that crashes does; open() makes programs register again.
    void close();

    /// The items, in the order in which they registered.
    std::vector<TrayItem*> items() const;
    /// The first item, or nullptr.
    TrayItem* item() const { return m_items.empty() ? nullptr : m_items.front().get(); }

    /// Called by the object on the bus. `name` is the service, whose object is then at the usual path, or the object's
    /// path on `sender`.
    void registerItem(const QString& name, const QString& sender);
    QStringList registeredItems() const;

    /// Whether a panel shows the items; true unless set otherwise.
    bool hasHost() const { return m_hasHost; }
    void setHasHost(bool hasHost);

Q_SIGNALS:
    /// An item came, went or changed.
    void changed();

private:
    void unregisterItem(const QString& service);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_services;
    QObject* m_watcherObject = nullptr;
    bool m_hasHost = true;
    std::vector<std::unique_ptr<TrayItem>> m_items;
};

} // namespace orvanel::standin
