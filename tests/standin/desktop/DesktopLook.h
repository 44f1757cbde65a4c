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
    /// The background of menus, notifications and title bars.
    QColor surface;
    QColor border;
    QColor text;
    QColor secondaryText;

    static constexpr int panelHeight = 34;
    static constexpr int radius = 10;

    static DesktopLook light();
    static DesktopLook darkened();

    QFont font(double scale = 1, QFont::Weight weight = QFont::Normal) const;

    /// Paints the part of wallpaper and panel inside the painter's clip, in the coordinates of the screen.
    void paintBackground(QPainter& painter, const QRect& screen) const;
    void paintShadow(QPainter& painter, const QRect& around) const;
    /// A rounded surface with a thin border.
    void paintCard(QPainter& painter, const QRect& rect) const;
};

} // namespace orvanel::standin
