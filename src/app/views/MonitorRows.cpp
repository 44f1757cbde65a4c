#include "app/views/MonitorRows.h"

#include "app/views/HeartbeatText.h"
#include "app/views/MonitorDelegate.h"
#include "app/views/MonitorModel.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "app/widgets/PlainText.h"

#include <QAccessible>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// The focus stays in the row, so a screen reader must be told that the row says something else.
void tellNewName(QObject* list, int row) {
    QAccessibleEvent event(list, QAccessible::NameChanged);
    event.setChild(row);
    QAccessible::updateAccessibility(&event);
}

} // namespace

MonitorRows::MonitorRows(QWidget* parent)
    : QListView(parent)
    , m_monitors(new MonitorModel(this))
    , m_delegate(new MonitorDelegate(this)) {
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Otherwise the list would take all the height that is left.
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Tab leaves the list; the arrow keys move in it.
    setTabKeyNavigation(false);
    viewport()->setAutoFillBackground(false);
    setItemDelegate(m_delegate);
    setModel(m_monitors);
}

bool MonitorRows::isEmpty() const {
    return m_monitors->isEmpty();
}

std::optional<std::int64_t> MonitorRows::currentId() const {
    return currentIndex().isValid() ? std::optional(m_monitors->monitor(currentIndex()).id) : std::nullopt;
}

MonitorRows::SeenRows MonitorRows::seenRows() const {
    const QScrollArea* const area = surroundingArea(this);
    if (area == nullptr || !isVisible()) {
        return {};
    }
    const int hidden = area->verticalScrollBar()->value() - mapTo(area->widget(), QPoint()).y();
    if (hidden <= 0 || hidden >= m_edges.last()) {
        return {};
    }
    const int first = rowAt(hidden);
    const int end = hidden + area->viewport()->height();
    SeenRows seen;
    seen.hiddenPart = hidden - topOf(first);
    for (int row = first; row < m_monitors->rowCount() && topOf(row) < end; ++row) {
        seen.ids << m_monitors->monitor(m_monitors->index(row)).id;
        seen.tops << topOf(row) - topOf(first);
    }
    return seen;
}

void MonitorRows::keepInPlace(const SeenRows& seen) {
    for (int i = 0; i < seen.ids.size(); ++i) {
        const int row = m_monitors->rowOf(seen.ids[i]);
        if (row < 0) {
            continue;
        }
        const QScrollArea* const area = surroundingArea(this);
        const int hidden = topOf(row) - seen.tops[i] + seen.hiddenPart;
        const int wanted = mapTo(area->widget(), QPoint(0, hidden)).y();
        QScrollBar* const bar = area->verticalScrollBar();
        // The layout takes note of more rows only later.
        bar->setMaximum(std::max(bar->maximum(), wanted));
        bar->setValue(wanted);
        return;
    }
}

void MonitorRows::setMonitors(const QList<MonitorRow>& monitors) {
    const SeenRows seen = seenRows();
    const std::optional<std::int64_t> current = currentId();
    const bool wasSelected = !selectedIndexes().isEmpty();
    m_isRefreshing = true;
    m_monitors->setMonitors(monitors);
    if (current && !currentIndex().isValid()) {
        const QModelIndex index = m_monitors->index(std::max(0, m_monitors->rowOf(*current)));
        const bool isSame = m_monitors->rowOf(*current) >= 0;
        selectionModel()->setCurrentIndex(index, isSame && wasSelected ? QItemSelectionModel::ClearAndSelect
                                                                       : QItemSelectionModel::NoUpdate);
    }
    m_isRefreshing = false;
    layOutRows();
    keepInPlace(seen);
}

void MonitorRows::layOutRows() {
    QList<int> edges{0};
    edges.reserve(m_monitors->rowCount() + 1);
    for (const MonitorRow& monitor : *m_monitors) {
        edges << edges.last() + m_delegate->rowHeight(monitor);
    }
    if (edges == m_edges) {
        return;
    }
    m_edges = edges;
    setFixedHeight(m_edges.last());
    scheduleDelayedItemsLayout();
}

int MonitorRows::rowAt(int y) const {
    return static_cast<int>(std::upper_bound(m_edges.begin(), m_edges.end(), y) - m_edges.begin()) - 1;
}

void MonitorRows::open(const QModelIndex& index) {
    if (m_canOpen && index.isValid()) {
        Q_EMIT opened(m_monitors->monitor(index).id);
    }
}

bool MonitorRows::chooseNextBeat(bool isOlder) {
    const QModelIndex row = currentIndex();
    if (!row.isValid()) {
        return false;
    }
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(row);
    const HeartbeatStrip strip = m_delegate->strip(option, m_monitors->monitor(row));
    if (strip.bars() == 0) {
        return false;
    }
    // From either side, the first step leads to the bar at that side.
    const int outside = isOlder ? -1 : strip.bars();
    const int step = isOlder ? 1 : -1;
    const int bar = std::clamp(m_monitors->chosenBeat(row).value_or(outside) + step, 0, strip.bars() - 1);
    m_monitors->chooseBeat(row, bar);
    tellNewName(this, row.row());
    const QRect place = strip.rectOf(bar);
    const QString text = heartbeatText(m_monitors->monitor(row).beats.fromNewest(bar), QDate::currentDate());
    QToolTip::showText(viewport()->mapToGlobal(place.center()), plainToolTip(text), viewport(), place);
    return true;
}

void MonitorRows::leaveBeat() {
    if (m_monitors->forgetBeat()) {
        QToolTip::hideText();
    }
}

void MonitorRows::keyPressEvent(QKeyEvent* event) {
    const bool isLeft = event->key() == Qt::Key_Left;
    if ((isLeft || event->key() == Qt::Key_Right) && chooseNextBeat(isLeft != isRightToLeft())) {
        return;
    }
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && m_canOpen && currentIndex().isValid()) {
        if (!event->isAutoRepeat()) {
            open(currentIndex());
        }
        return;
    }
    if (event->key() == Qt::Key_Escape && m_monitors->chosenBeat(currentIndex())) {
        leaveBeat();
        tellNewName(this, currentIndex().row());
        return;
    }
    QListView::keyPressEvent(event);
}

void MonitorRows::mouseDoubleClickEvent(QMouseEvent* event) {
    QListView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton) {
        open(indexAt(event->position().toPoint()));
    }
}

void MonitorRows::contextMenuEvent(QContextMenuEvent* event) {
    const bool isMouse = event->reason() == QContextMenuEvent::Mouse;
    const QModelIndex index = isMouse ? indexAt(event->pos()) : currentIndex();
    if (!index.isValid()) {
        return;
    }
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addMenuEntry(menu, u"Open in dashboard"_s,
                 [this, id = m_monitors->monitor(index).id] { open(m_monitors->index(m_monitors->rowOf(id))); });
    menu->actions().first()->setEnabled(m_canOpen);
    menu->popup(isMouse ? event->globalPos() : viewport()->mapToGlobal(visualRect(index).center()));
}

void MonitorRows::focusOutEvent(QFocusEvent* event) {
    QListView::focusOutEvent(event);
    leaveBeat();
}

void MonitorRows::changeEvent(QEvent* event) {
    QListView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_delegate->refreshFonts();
        layOutRows();
    }
}

/// The list itself is always in view as a whole, so a page is the part that the window shows.
QModelIndex MonitorRows::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    const QScrollArea* const area = surroundingArea(this);
    const bool isPage = action == MovePageDown || action == MovePageUp;
    if (!isPage || area == nullptr || isEmpty()) {
        return QListView::moveCursor(action, modifiers);
    }
    // One row of the page before stays in view.
    const int last = m_monitors->rowCount() - 1;
    const int current = std::max(0, currentIndex().row());
    const int page = area->viewport()->height();
    if (action == MovePageDown) {
        const int row = rowAt(std::min(topOf(current) + page, m_edges.last() - 1)) - 1;
        return m_monitors->index(std::min(std::max(row, current + 1), last));
    }
    const int above = topOf(current + 1) - page - 1;
    const int row = above < 0 ? 0 : rowAt(above) + 1;
    return m_monitors->index(std::clamp(row, 0, std::max(0, current - 1)));
}

/// The window scrolls, not the list.
void MonitorRows::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

/// A row chosen with the keys comes into view. A row chosen with the mouse is in view, and must not move under it.
void MonitorRows::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QListView::currentChanged(current, previous);
    if (!m_isRefreshing) {
        leaveBeat();
    }
    QScrollArea* const area = surroundingArea(this);
    const bool isPressed = QGuiApplication::mouseButtons() != Qt::NoButton;
    if (area == nullptr || !current.isValid() || m_isRefreshing || isPressed) {
        return;
    }
    const int height = topOf(current.row() + 1) - topOf(current.row());
    const QPoint middle = mapTo(area->widget(), QPoint(0, topOf(current.row()) + height / 2));
    area->ensureVisible(0, middle.y(), 0, height);
}

} // namespace orvanel
