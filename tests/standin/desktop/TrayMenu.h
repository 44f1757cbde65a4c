#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>

#include <optional>

namespace orvanel::standin {

/// One line of a menu as a person sees it.
struct MenuEntry {
    int id = 0;
    /// Without the mark of the mnemonic.
    QString text;
    bool enabled = true;
    bool separator = false;
    /// For example "Ctrl+Q"; empty if there is none.
    QString shortcut;

    bool operator==(const MenuEntry&) const = default;
};

/// The menu of a status item: a client of com.canonical.dbusmenu. Entries of submenus are not read.
class TrayMenu final : public QObject {
    Q_OBJECT

public:
    TrayMenu(QDBusConnection bus, QString service, QObject* parent = nullptr);

    /// Sets the path that the item gives for its menu; empty while unknown.
    void setPath(const QString& path);

    /// The visible entries in order, as last told by the program.
    QList<MenuEntry> entries() const { return m_entries; }
    /// The first entry with that text, or none.
    std::optional<MenuEntry> find(const QString& text) const;
    bool isOpen() const { return m_open; }

    /// Asks the program for its entries, as a click on the icon does; changed() follows when it has answered.
    void open();
    void close();
    /// Chooses an entry and closes the menu. Returns false for a disabled entry, which cannot be chosen.
    bool press(int id);

Q_SIGNALS:
    void changed();

private:
    Q_SLOT void readLayout();
    void sendEvent(int id, const QString& what);
    QDBusMessage call(const QString& method, const QVariantList& arguments) const;

    QDBusConnection m_bus;
    const QString m_service;
    QString m_path;
    QList<MenuEntry> m_entries;
    bool m_open = false;
};

} // namespace orvanel::standin
