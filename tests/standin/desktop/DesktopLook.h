#pragma once

#include <QColor>
#include <QFont>
#include <QPainter>

namespace orvanel::standin {

/// The colours and measures of the stand-in desktop.
struct DesktopLook {
    bool dark = false;
    QColor wallpaperTop;
    QColor wallpaperBottom;
    QColor panel;
    QColor panelText;
    /// Menus, notifications, title bars.
    QColor surface;
    QColor border;
    QColor text;
    QColor secondaryText;

    static constexpr int panelHeight = 34;
    static constexpr int radius = 10;

    static DesktopLook light();
    static DesktopLook darkened();

    QFont font(double scale = 1, QFont::Weight weight = QFont::Normal) const;

    /// Paints wallpaper and panel as far as they lie in the painter's clip, in the coordinates of the screen.
    void paintBackground(QPainter& painter, const QRect& screen) const;
    void paintShadow(QPainter& painter, const QRect& around) const;
    /// A rounded surface with a thin border.
    void paintCard(QPainter& painter, const QRect& rect) const;
};

} // namespace orvanel::standin
