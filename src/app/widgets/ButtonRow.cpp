#include "app/widgets/ButtonRow.h"

#include "app/widgets/TextStyle.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace orvanel {
namespace {

/// Smaller than layouts usually make a button: the size of its text.
QSize leastSize(QLayoutItem* item) {
    QWidget* const widget = item->widget();
    return widget != nullptr ? widget->minimumSizeHint() : item->minimumSize();
}

} // namespace

ButtonRow::ButtonRow(QWidget* parent)
    : QLayout(parent) {
    setContentsMargins({});
    setSpacing(spacing::related);
}

ButtonRow::~ButtonRow() {
    qDeleteAll(m_items);
}

void ButtonRow::addItem(QLayoutItem* item) {
    m_items.append(item);
    invalidate();
}

QLayoutItem* ButtonRow::takeAt(int index) {
    if (index < 0 || index >= m_items.size()) {
        return nullptr;
    }
    QLayoutItem* const item = m_items.takeAt(index);
    invalidate();
    return item;
}

int ButtonRow::heightForWidth(int width) const {
    return arrange(QRect(0, 0, width, 0), [](QLayoutItem*, const QRect&) {});
}

/// The size of all items in one row.
QSize ButtonRow::sizeHint() const {
    QSize size;
    for (const QLayoutItem* item : m_items) {
        if (!item->isEmpty()) {
            const int gap = size.width() > 0 ? spacing() : 0;
            size = QSize(size.width() + gap + item->sizeHint().width(),
                         std::max(size.height(), item->sizeHint().height()));
        }
    }
    return size;
}

/// The width of the widest item.
QSize ButtonRow::minimumSize() const {
    QSize size;
    for (QLayoutItem* item : m_items) {
        if (!item->isEmpty()) {
            size = size.expandedTo(leastSize(item));
        }
    }
    return size;
}

void ButtonRow::setGeometry(const QRect& area) {
    QLayout::setGeometry(area);
    arrange(area, [](QLayoutItem* item, const QRect& place) { item->setGeometry(place); });
}

/// Whether all fit into one row only if none is wider than it must be.
bool ButtonRow::isTight(int width) const {
    int usual = -spacing();
    int least = -spacing();
    for (QLayoutItem* item : m_items) {
        if (!item->isEmpty()) {
            usual += item->sizeHint().width() + spacing();
            least += leastSize(item).width() + spacing();
        }
    }
    return usual > width && least <= width;
}

int ButtonRow::arrange(const QRect& area, const std::function<void(QLayoutItem*, const QRect&)>& place) const {
    const Qt::LayoutDirection direction =
        parentWidget() != nullptr ? parentWidget()->layoutDirection() : Qt::LeftToRight;
    const bool tight = isTight(area.width());
    QPoint corner = area.topLeft();
    int rowHeight = 0;
    for (QLayoutItem* item : m_items) {
        if (item->isEmpty()) {
            continue;
        }
        const QSize size = tight ? leastSize(item) : item->sizeHint();
        const bool fits = corner.x() + size.width() <= area.left() + area.width();
        if (!fits && corner.x() > area.left()) {
            corner = QPoint(area.left(), corner.y() + rowHeight + spacing());
            rowHeight = 0;
        }
        place(item, QStyle::visualRect(direction, area, QRect(corner, size)));
        corner.rx() += size.width() + spacing();
        rowHeight = std::max(rowHeight, size.height());
    }
    return corner.y() + rowHeight - area.top();
}

} // namespace orvanel
