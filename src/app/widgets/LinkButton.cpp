#include "app/widgets/LinkButton.h"

#include "app/widgets/Accessibility.h"
#include "app/widgets/PlainText.h"
#include "app/widgets/PushButton.h"
#include "app/widgets/StateColors.h"

#include <QPainter>

namespace orvanel {
namespace {

/// Around the text, for the ring that shows the focus.
constexpr int room = 16;

class AccessibleLink final : public QAccessibleWidget {
public:
    explicit AccessibleLink(LinkButton* button)
        : QAccessibleWidget(button, QAccessible::Link, button->text())
        , m_button(button) {}

    QStringList actionNames() const override { return QStringList{pressAction()} + QAccessibleWidget::actionNames(); }
    void doAction(const QString& action) override {
        if (action == pressAction()) {
            m_button->click();
            return;
        }
        QAccessibleWidget::doAction(action);
    }

private:
    LinkButton* const m_button;
};

} // namespace

LinkButton::LinkButton(const QString& text, QWidget* parent)
    : QPushButton(plainButtonText(text), parent) {
    describeBy<LinkButton, AccessibleLink>();
    setCursor(Qt::PointingHandCursor);
}

QSize LinkButton::sizeHint() const {
    // The link is as high as the buttons beside it.
    const int height = QPushButton::sizeHint().height() + PushButton::room.height();
    return {fontMetrics().horizontalAdvance(text()) + room, height};
}

void LinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor color = textColor(Meaning::maintenance, palette());
    QFont underlined = font();
    underlined.setUnderline(true);
    painter.setFont(underlined);
    painter.setPen(color);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
    if (hasFocus()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
    }
}

} // namespace orvanel
