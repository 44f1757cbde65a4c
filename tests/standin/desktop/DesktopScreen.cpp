#include "standin/desktop/DesktopScreen.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace orvanel::standin {
namespace {

constexpr int iconSize = 22;
constexpr int edge = 12;
constexpr int gap = 8;

QRect screenRect() {
    return qGuiApp->primaryScreen()->geometry();
}

QRect iconRect(int index) {
    const int right = screenRect().right() - edge - index * (iconSize + gap);
    return {right - iconSize, (DesktopLook::panelHeight - iconSize) / 2, iconSize, iconSize};
}

} // namespace

/// The lowest layer of the screen: wallpaper, panel and icons, and the shadows of everything above.
class Backdrop final : public QWidget {
    Q_OBJECT

public:
    explicit Backdrop(const DesktopLook& look)
        : QWidget(nullptr, Qt::FramelessWindowHint | Qt::BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus)
        , m_look(look) {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setGeometry(screenRect());
    }

    void setContent(const QList<QImage>& icons, const QList<QRect>& raised) {
        m_icons = icons;
        m_raised = raised;
        update();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        m_look.paintBackground(painter, rect());
        for (qsizetype i = 0; i < m_icons.size(); ++i) {
            painter.drawImage(iconRect(static_cast<int>(i)), m_icons[i]);
        }
        painter.setClipRect(rect().adjusted(0, DesktopLook::panelHeight, 0, 0));
        for (const QRect& rect : m_raised) {
            m_look.paintShadow(painter, rect);
        }
    }

private:
    const DesktopLook& m_look;
    QList<QImage> m_icons;
    QList<QRect> m_raised;
};

DesktopScreen::DesktopScreen(const DesktopLook& look, StatusArea& statusArea, NotificationServer& notifications)
    : m_look(look)
    , m_statusArea(statusArea)
    , m_notifications(notifications)
    , m_backdrop(std::make_unique<Backdrop>(m_look)) {
    connect(&m_statusArea, &StatusArea::changed, this, &DesktopScreen::arrange);
    connect(&m_notifications, &NotificationServer::changed, this, &DesktopScreen::arrange);
    connect(&m_windows, &WindowFrames::changed, this, &DesktopScreen::arrange);
    m_backdrop->show();
    m_backdrop->lower();
}

DesktopScreen::~DesktopScreen() = default;

void DesktopScreen::pointAt(int menuEntry) {
    m_pointedAt = menuEntry;
    arrange();
}

QImage DesktopScreen::picture() const {
    return qGuiApp->primaryScreen()->grabWindow(0).toImage();
}

void DesktopScreen::arrange() {
    arrangeBubbles(arrangeItem() + gap);
    QList<QImage> icons;
    for (const TrayItem* item : m_statusArea.items()) {
        icons += item->icon(iconSize);
    }
    QList<QRect> raised;
    for (const WindowFrame* frame : m_windows.frames()) {
        raised += frame->geometry();
    }
    for (const QWidget* overlay : {static_cast<QWidget*>(&m_menu), static_cast<QWidget*>(&m_toolTip)}) {
        if (overlay->isVisible()) {
            raised += overlay->geometry();
        }
    }
    for (const auto& bubble : m_bubbles) {
        raised += bubble->geometry();
    }
    m_backdrop->setContent(icons, raised);
}

/// Places the menu or tooltip of the first item; returns where it ends.
int DesktopScreen::arrangeItem() {
    const TrayItem* item = m_statusArea.item();
    const bool menuOpen = item && item->menu().isOpen();
    const bool toolTipOpen = item && !menuOpen && !item->toolTip().isEmpty();
    const int top = DesktopLook::panelHeight + 6;
    const int right = screenRect().right() - edge + 4;
    int bottom = top;
    const auto show = [&](Overlay& overlay) {
        overlay.move(right - overlay.width(), top);
        overlay.show();
        overlay.raise();
        bottom = overlay.geometry().bottom() + 1;
    };
    m_menu.setVisible(menuOpen);
    m_toolTip.setVisible(toolTipOpen);
    if (menuOpen) {
        m_menu.setEntries(item->menu().entries(), m_pointedAt);
        show(m_menu);
    }
    if (toolTipOpen) {
        m_toolTip.setText(item->toolTip());
        show(m_toolTip);
    }
    return bottom;
}

void DesktopScreen::arrangeBubbles(int top) {
    const auto shown = m_notifications.shown();
    m_bubbles.resize(static_cast<size_t>(shown.size()));
    for (size_t i = 0; i < m_bubbles.size(); ++i) {
        auto& bubble = m_bubbles[i];
        if (!bubble) {
            bubble = std::make_unique<BubbleView>(m_look);
        }
        bubble->setNotification(shown[static_cast<qsizetype>(i)]);
        bubble->move(screenRect().right() - edge + 4 - bubble->width(), top);
        bubble->show();
        bubble->raise();
        top = bubble->geometry().bottom() + 1 + gap;
    }
}

} // namespace orvanel::standin

#include "DesktopScreen.moc"
