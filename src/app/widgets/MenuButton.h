#pragma once

#include "app/widgets/PushButton.h"

namespace orvanel {

/// A push button that opens a menu below it. QPushButton::setMenu() would run a nested event loop while the menu is
/// open.
class MenuButton final : public PushButton {
    Q_OBJECT

public:
    explicit MenuButton(const QString& text, QWidget* parent = nullptr);

    QMenu* popupMenu() const { return m_menu; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void initStyleOption(QStyleOptionButton* option) const override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void openMenu();
    QPoint menuPlace() const;
    int arrowWidth() const;

    QMenu* m_menu;
};

} // namespace orvanel
