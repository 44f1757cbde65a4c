#include "app/widgets/MenuButton.h"

#include "app/widgets/Accessibility.h"

#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScreen>
#include <QStyleOptionButton>

namespace orvanel {
namespace {

constexpr int narrowArrowRoom = 16;

/// The same to a screen reader as a QPushButton with a menu.
class MenuButtonFace final : public QAccessibleWidget {
public:
    explicit MenuButtonFace(MenuButton* button)
        : QAccessibleWidget(button, QAccessible::ButtonMenu)
        , m_button(button) {}

    QString text(QAccessible::Text kind) const override {
        const QString text = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && text.isEmpty() ? m_button->text() : text;
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = true;
        return state;
    }
    QStringList actionNames() const override {
        return QStringList(showMenuAction()) + QAccessibleWidget::actionNames();
    }
    void doAction(const QString& name) override {
        if (name == showMenuAction()) {
            m_button->click();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

private:
    MenuButton* const m_button;
};

bool isHeldKey(const QEvent& event) {
    return event.type() == QEvent::KeyPress && static_cast<const QKeyEvent&>(event).isAutoRepeat();
}

bool choosesEntry(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter || event.key() == Qt::Key_Space;
}

} // namespace

MenuButton::MenuButton(const QString& text, QWidget* parent)
    : PushButton(text, Kind::plain, parent)
    , m_menu(new QMenu(this)) {
    describeBy<MenuButton, MenuButtonFace>();
    m_menu->installEventFilter(this);
    connect(this, &QPushButton::clicked, this, &MenuButton::openMenu);
    connect(m_menu, &QMenu::aboutToHide, this, [this] { setDown(false); });
}

int MenuButton::arrowWidth() const {
    QStyleOptionButton option;
    initStyleOption(&option);
    return style()->pixelMetric(QStyle::PM_MenuButtonIndicator, &option, this);
}

QSize MenuButton::sizeHint() const {
    return PushButton::sizeHint() + QSize(arrowWidth(), 0);
}

QSize MenuButton::minimumSizeHint() const {
    return PushButton::minimumSizeHint() + QSize(narrowArrowRoom, 0);
}

void MenuButton::initStyleOption(QStyleOptionButton* option) const {
    PushButton::initStyleOption(option);
    option->features |= QStyleOptionButton::HasMenu;
}

void MenuButton::openMenu() {
    m_menu->popup(menuPlace());
    setDown(true);
}

/// The menu opens below the button, or above it where the screen ends.
QPoint MenuButton::menuPlace() const {
    const QSize size = m_menu->sizeHint();
    const int x = isRightToLeft() ? width() - size.width() : 0;
    const QPoint below = mapToGlobal(QPoint(x, height()));
    const QPoint above = mapToGlobal(QPoint(x, -size.height()));
    const QRect room = screen()->availableGeometry();
    return below.y() + size.height() > room.bottom() && above.y() >= room.top() ? above : below;
}

/// The button may be hidden while its menu is open.
void MenuButton::hideEvent(QHideEvent* event) {
    PushButton::hideEvent(event);
    m_menu->hide();
}

bool MenuButton::eventFilter(QObject* watched, QEvent* event) {
    // The key that opened the menu must not choose an entry while it is held down.
    if (watched == m_menu && isHeldKey(*event) && choosesEntry(*static_cast<QKeyEvent*>(event))) {
        return true;
    }
    // A click on the button closes the open menu. If it reached the button too, the menu would open again.
    if (watched == m_menu && event->type() == QEvent::MouseButtonPress &&
        rect().contains(mapFromGlobal(static_cast<QMouseEvent*>(event)->globalPosition().toPoint()))) {
        m_menu->setAttribute(Qt::WA_NoMouseReplay);
    }
    return PushButton::eventFilter(watched, event);
}

} // namespace orvanel
