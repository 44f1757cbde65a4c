#pragma once

#include <QIcon>
#include <QWidget>

class QMenu;

namespace orvanel {

class LegacyTray;

/// The status icon in a panel of the old kind, as a window that the panel embeds. QSystemTrayIcon can do this too, but
/// would then never use a newer panel in this process.
class LegacyIcon final : public QWidget {
    Q_OBJECT

public:
    /// Asks the panel to take the icon; `tray` and `menu` must outlive it.
    LegacyIcon(LegacyTray& tray, QMenu& menu);

    void setIcon(const QIcon& icon);

Q_SIGNALS:
    void clicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QMenu& m_menu;
    QIcon m_icon;
};

} // namespace orvanel
