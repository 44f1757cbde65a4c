#include "app/views/Card.h"

#include "app/widgets/Accessibility.h"
#include "app/widgets/ButtonRow.h"

#include <QHBoxLayout>
#include <QPainter>

namespace orvanel {
namespace {

constexpr double cornerRadius = 10;
constexpr float opacity = 0.12F;

} // namespace

Card::Card(const QString& name, QWidget* parent)
    : View(parent)
    , m_column(new QVBoxLayout(this)) {
    setAccessibleRole(this, QAccessible::Grouping);
    setAccessibleName(name);
    m_column->setContentsMargins(spacing::padding, spacing::padding, spacing::padding, spacing::padding);
    m_column->setSpacing(spacing::parts);
}

TextLabel* Card::addText(TextStyle style, const QString& text) {
    auto* label = new TextLabel(style, text);
    m_column->addWidget(label);
    return label;
}

TextLabel* Card::addHeading(Symbol::Kind symbol, TextStyle style, const QString& text, std::optional<Meaning> meaning) {
    auto* label = new TextLabel(style, text);
    auto* picture = new Symbol(symbol, style);
    if (meaning) {
        label->setMeaning(*meaning);
        picture->setMeaning(*meaning);
    }
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(picture, 0, Qt::AlignTop);
    row->addWidget(label, 1);
    m_column->addLayout(row);
    return label;
}

ButtonRow* Card::addButtonRow() {
    auto* row = new ButtonRow;
    m_column->addLayout(row);
    return row;
}

void Card::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0.5F, 0.5F, 0.5F, opacity));
    painter.drawRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
}

} // namespace orvanel
