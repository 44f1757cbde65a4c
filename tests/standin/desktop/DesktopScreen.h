#pragma once

#include "standin/desktop/Overlays.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/WindowFrames.h"

#include <QImage>

namespace orvanel::standin {

class Backdrop;

/// Draws the stand-in desktop on its display: wallpaper, a panel with the status icons, the open menu, tooltips and
/// notifications, and frames around windows. Needs the xcb platform and a display of its own.
class DesktopScreen final : public QObject {
    Q_OBJECT

public:
    DesktopScreen(const DesktopLook& look, StatusArea& statusArea, NotificationServer& notifications);
    ~DesktopScreen() override;

    WindowFrames& windows() { return m_windows; }
    /// Shows the pointer on a menu entry; 0 hides it.
    void pointAt(int menuEntry);
    /// Everything that is on the screen now, including windows of other programs.
    QImage picture() const;

private:
    void arrange();
    int arrangeItem();
    void arrangeBubbles(int top);

    const DesktopLook m_look;
    StatusArea& m_statusArea;
    NotificationServer& m_notifications;
    WindowFrames m_windows{m_look};
    std::unique_ptr<Backdrop> m_backdrop;
    MenuView m_menu{m_look};
    ToolTipView m_toolTip{m_look};
    std::vector<std::unique_ptr<BubbleView>> m_bubbles;
    int m_pointedAt = 0;
};

} // namespace orvanel::standin
