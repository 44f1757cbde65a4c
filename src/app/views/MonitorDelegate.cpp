#include "app/views/MonitorDelegate.h"

#include "app/views/HeartbeatText.h"
#include "app/views/MonitorModel.h"
#include "app/widgets/PlainText.h"
#include "app/widgets/TextStyle.h"

#include <QAbstractItemView>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace orvanel {
namespace {

constexpr int dotDiameter = 10;
constexpr int rowPadding = 4;
constexpr int pingWidth = 80;
/// More characters than any window shows. Measuring longer texts would take time.
constexpr qsizetype longestShown = 400;
/// In a window that is narrower, the strip of heartbeats makes room for the names.
constexpr int leastWindowWidth = 420;
/// Fewer bars would tell nothing.
constexpr int fewestBars = 6;
/// Room that names have beside a strip, in average characters.
constexpr int shortestNames = 16;
constexpr float dividerOpacity = 0.15F;
constexpr float selectionOpacity = 0.16F;
constexpr double selectionRadius = 4;

bool fits(const QString& text, const QFont& font, int width) {
    return text.size() <= longestShown && QFontMetrics(font).horizontalAdvance(text.simplified()) <= width;
}

/// The text in one line, cut to the width.
QString fitted(const QString& text, const QFont& font, int width) {
    return QFontMetrics(font).elidedText(text.left(longestShown).simplified(), Qt::ElideRight, width);
}

void paintSelection(QPainter* painter, const QStyleOptionViewItem& option) {
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    const bool hasFocus = (option.state & QStyle::State_HasFocus) != 0;
    if (!isSelected && !hasFocus) {
        return;
    }
    QColor shade = option.palette.color(QPalette::Active, QPalette::Highlight);
    painter->setPen(hasFocus ? QPen(shade, 1) : QPen(Qt::NoPen));
    shade.setAlphaF(isSelected ? selectionOpacity : 0);
    painter->setBrush(shade);
    painter->drawRoundedRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -1.5), selectionRadius, selectionRadius);
}

/// Aligns a text to that end of the line, whatever language it is in.
int alignedTo(Qt::Alignment end, Qt::LayoutDirection direction) {
    const Qt::Alignment visual = QStyle::visualAlignment(direction, end) | Qt::AlignAbsolute | Qt::AlignVCenter;
    return static_cast<int>(visual) | static_cast<int>(Qt::TextSingleLine);
}

} // namespace

MonitorDelegate::MonitorDelegate(QObject* parent)
    : QStyledItemDelegate(parent) {
    refreshFonts();
}

void MonitorDelegate::refreshFonts() {
    m_nameFont = fontOf(TextStyle::body);
    m_groupFont = fontOf(TextStyle::caption);
    m_pingFont = fontOf(TextStyle::monospaced);
    constexpr int divider = 1;
    m_lowRow = QFontMetrics(m_nameFont).lineSpacing() + 2 * rowPadding + divider;
    m_highRow = m_lowRow + QFontMetrics(m_groupFont).lineSpacing();
    const QFontMetrics metrics(m_nameFont);
    m_shortestNames = shortestNames * metrics.averageCharWidth();
    m_widestWord = 0;
    for (const std::int64_t status : {-1, 0, 1, 2, 3}) {
        m_widestWord = std::max(m_widestWord, metrics.horizontalAdvance(monitorStatus(status).word));
    }
}

int MonitorDelegate::rowHeight(const MonitorRow& monitor) const {
    return monitor.group.isEmpty() ? m_lowRow : m_highRow;
}

QSize MonitorDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
    // The list takes the width that it gets.
    return {0, rowHeight(static_cast<const MonitorModel*>(index.model())->monitor(index))};
}

MonitorDelegate::Columns MonitorDelegate::columnsIn(const QStyleOptionViewItem& option,
                                                    const MonitorRow& monitor) const {
    const auto visual = [&option](const QRect& place) {
        return QStyle::visualRect(option.direction, option.rect, place);
    };
    const QRect row = option.rect.adjusted(spacing::lines, 0, -spacing::lines, -1);
    const QRect dot(row.left(), row.top() + (row.height() - dotDiameter) / 2, dotDiameter, dotDiameter);
    const int pingColumn = std::max(pingWidth, QFontMetrics(m_pingFont).horizontalAdvance(pingText(monitor.ping)));
    const QRect ping(row.right() + 1 - pingColumn, row.top(), pingColumn, row.height());
    const int wordWidth = QFontMetrics(m_nameFont).horizontalAdvance(monitorStatus(monitor.status).word);
    const QRect word(ping.left() - spacing::related - wordWidth, row.top(), wordWidth, row.height());
    const int left = row.left() + dotDiameter + spacing::related;
    // Whatever the words are, the strips end at one line.
    const int stripEnd = ping.left() - spacing::related - m_widestWord - spacing::related;
    const int bars = std::min(barsIn(stripEnd - spacing::related - left, option), monitor.beats.size());
    const QRect beforeWords(left, row.top(), std::max(0, stripEnd - left), row.height());
    const HeartbeatStrip strip(visual(beforeWords), bars, option.direction);
    const int end = bars > 0 ? stripEnd - strip.rect().width() : word.left();
    const QRect names(left, row.top(), end - spacing::related - left, row.height());
    return {visual(dot), visual(names), strip, visual(word), visual(ping)};
}

/// The names get half of the room at least.
int MonitorDelegate::barsIn(int room, const QStyleOptionViewItem& option) const {
    const int windowWidth = option.widget != nullptr ? option.widget->window()->width() : option.rect.width();
    const int bars = HeartbeatStrip::barsIn(std::min(room / 2, room - m_shortestNames));
    const bool isShown = windowWidth >= leastWindowWidth && bars >= fewestBars;
    return isShown ? std::min(bars, static_cast<int>(Heartbeats::longest)) : 0;
}

HeartbeatStrip MonitorDelegate::strip(const QStyleOptionViewItem& option, const MonitorRow& monitor) const {
    return columnsIn(option, monitor).strip;
}

bool MonitorDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                                const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid()) {
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    }
    const MonitorRow& monitor = static_cast<const MonitorModel*>(index.model())->monitor(index);
    const Columns columns = columnsIn(option, monitor);
    if (const std::optional<int> bar = columns.strip.barAt(event->pos())) {
        const QString text = heartbeatText(monitor.beats.fromNewest(*bar), QDate::currentDate());
        QToolTip::showText(event->globalPos(), plainToolTip(text), view->viewport(), columns.strip.rectOf(*bar));
        return true;
    }
    const int room = columns.names.width();
    if (fits(monitor.name, m_nameFont, room) && fits(monitor.group, m_groupFont, room)) {
        QToolTip::hideText();
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

void MonitorDelegate::paintNames(QPainter* painter, const QRect& area, const MonitorRow& monitor,
                                 const QStyleOptionViewItem& option) const {
    const int nameHeight = QFontMetrics(m_nameFont).lineSpacing();
    const int groupHeight = monitor.group.isEmpty() ? 0 : QFontMetrics(m_groupFont).lineSpacing();
    const int top = area.top() + (area.height() - nameHeight - groupHeight) / 2;
    const int flags = alignedTo(Qt::AlignLeft, option.direction);
    painter->setLayoutDirection(Qt::LayoutDirectionAuto);
    painter->setFont(m_nameFont);
    painter->setPen(option.palette.color(QPalette::WindowText));
    painter->drawText(QRect(area.left(), top, area.width(), nameHeight), flags,
                      fitted(monitor.name, m_nameFont, area.width()));
    if (groupHeight > 0) {
        painter->setFont(m_groupFont);
        painter->setPen(secondaryTextColor(option.palette));
        painter->drawText(QRect(area.left(), top + nameHeight, area.width(), groupHeight), flags,
                          fitted(monitor.group, m_groupFont, area.width()));
    }
}

/// In every language, the number comes before its unit.
void MonitorDelegate::paintPing(QPainter* painter, const QRect& area, const MonitorRow& monitor,
                                const QStyleOptionViewItem& option) const {
    painter->setLayoutDirection(Qt::LeftToRight);
    painter->setFont(m_pingFont);
    painter->setPen(option.palette.color(QPalette::WindowText));
    painter->drawText(area, alignedTo(Qt::AlignRight, option.direction), pingText(monitor.ping));
}

void MonitorDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const auto* const model = static_cast<const MonitorModel*>(index.model());
    const MonitorRow& monitor = model->monitor(index);
    const MonitorStatus status = monitorStatus(monitor.status);
    const QPalette& palette = option.palette;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintSelection(painter, option);

    const Columns columns = columnsIn(option, monitor);
    painter->setPen(Qt::NoPen);
    painter->setBrush(dotColor(status.meaning, palette));
    painter->drawEllipse(QRectF(columns.dot));
    paintPing(painter, columns.ping, monitor, option);
    painter->setFont(m_nameFont);
    painter->setPen(secondaryTextColor(palette));
    painter->drawText(columns.word, alignedTo(Qt::AlignRight, option.direction), status.word);
    paintNames(painter, columns.names, monitor, option);
    columns.strip.paint(painter, monitor.beats, palette, model->chosenBeat(index));

    QColor line = palette.color(QPalette::WindowText);
    line.setAlphaF(dividerOpacity);
    painter->fillRect(QRect(option.rect.left(), option.rect.bottom(), option.rect.width(), 1), line);
    painter->restore();
}

} // namespace orvanel
