#include "app/LegacyIcon.h"

#include "app/LegacyTray.h"

#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

// The size that such panels usually give an icon. They may resize it.
constexpr int side = 22;

} // namespace

/// The window is shown outside the screen, so it is seen only after the panel has moved it into itself.
LegacyIcon::LegacyIcon(LegacyTray& tray, QMenu& menu)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint)
    , m_menu(menu) {
    setWindowTitle(u"Orvanel status icon"_s);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_AlwaysShowToolTips);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setGeometry(-2 * side, -2 * side, side, side);
    show();
    tray.dock(winId());
}

void LegacyIcon::setIcon(const QIcon& icon) {
    m_icon = icon;
    update();
}

void LegacyIcon::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    m_icon.paint(&painter, rect());
}

void LegacyIcon::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        Q_EMIT clicked();
    } else if (event->button() == Qt::RightButton) {
        m_menu.popup(event->globalPosition().toPoint());
    }
}

} // namespace orvanel
