#pragma once

#include "standin/desktop/DesktopLook.h"
#include "standin/desktop/NotificationServer.h"
#include "standin/desktop/TrayMenu.h"

#include <QWidget>

#include <functional>

namespace orvanel::standin {

/// A rounded surface that lies above all windows.
class Overlay : public QWidget {
    Q_OBJECT

public:
    explicit Overlay(const DesktopLook& look);

protected:
    void paintEvent(QPaintEvent* event) override;
    virtual void paintContent(QPainter& painter) = 0;

    const DesktopLook& look() const { return m_look; }

private:
    const DesktopLook& m_look;
};

/// An open menu.
class MenuView final : public Overlay {
    Q_OBJECT

public:
    using Overlay::Overlay;

    /// Shows these entries and resizes to fit them; `marked` is the id of the entry under the pointer, or 0.
    void setEntries(const QList<MenuEntry>& entries, int marked);

protected:
    void paintContent(QPainter& painter) override;

private:
    void paintEntry(QPainter& painter, const QRect& row, const MenuEntry& entry) const;

    QList<MenuEntry> m_entries;
    int m_marked = 0;
};

/// The tooltip of a status item.
class ToolTipView final : public Overlay {
    Q_OBJECT

public:
    using Overlay::Overlay;

    void setText(const QString& text);

protected:
    void paintContent(QPainter& painter) override;

private:
    QString m_text;
};

/// One notification.
class BubbleView final : public Overlay {
    Q_OBJECT

public:
    using Overlay::Overlay;

    void setNotification(const Notification& notification);

protected:
    void paintContent(QPainter& painter) override;

private:
    using LineCallback = std::function<void(int top, const QFont& font, const QColor& color, const QString& text)>;

    /// Calls `line` for each line of text; returns where the last one ends.
    int layOut(const LineCallback& line) const;

    Notification m_notification;
};

} // namespace orvanel::standin
