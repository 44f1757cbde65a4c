#pragma once

#include "standin/desktop/TrayMenu.h"

#include <QImage>

namespace orvanel::standin {

/// What one program shows in the status area (org.kde.StatusNotifierItem), as last read from it.
class TrayItem final : public QObject {
    Q_OBJECT

public:
    TrayItem(QDBusConnection bus, QString service, QString path, QObject* parent = nullptr);

    QString service() const { return m_service; }
    QString title() const { return m_title; }
    QString toolTip() const { return m_toolTip; }
    /// "Active", "Passive" or "NeedsAttention"; empty until the program was asked for the first time.
    QString status() const { return m_status; }
    /// All sizes that the program offers.
    QList<QImage> icons() const { return m_icons; }
    /// The smallest icon with sides of at least `size` pixels, or else the largest; null if there is none.
    QImage icon(int size) const;
    TrayMenu& menu() { return m_menu; }
    const TrayMenu& menu() const { return m_menu; }

    /// Clicks the icon with the left button, for programs that do more than show their menu.
    void activate();

Q_SIGNALS:
    /// One of the values above, or the menu, has changed.
    void changed();

private:
    Q_SLOT void read();
    void take(const QVariantMap& properties);

    QDBusConnection m_bus;
    const QString m_service;
    const QString m_path;
    QString m_title;
    QString m_toolTip;
    QString m_status;
    QList<QImage> m_icons;
    TrayMenu m_menu;
};

} // namespace orvanel::standin
