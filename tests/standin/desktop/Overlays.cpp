#include "standin/desktop/Overlays.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QScreen>
#include <QTextDocument>

#include <algorithm>

namespace orvanel::standin {
namespace {

constexpr int rowHeight = 30;
constexpr int separatorHeight = 11;
constexpr int rowMargin = 14;
constexpr int bubbleWidth = 340;
constexpr int bubbleMargin = 14;

int heightOf(const MenuEntry& entry) {
    return entry.separator ? separatorHeight : rowHeight;
}

} // namespace

Overlay::Overlay(const DesktopLook& look)
    : QWidget(nullptr, Qt::FramelessWindowHint | Qt::BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus)
    , m_look(look) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void Overlay::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Paints what is behind the round corners.
    painter.translate(-pos());
    m_look.paintBackground(painter, screen()->geometry());
    m_look.paintShadow(painter, geometry());
    painter.resetTransform();
    m_look.paintCard(painter, rect());
    paintContent(painter);
}

void MenuView::setEntries(const QList<MenuEntry>& entries, int marked) {
    m_entries = entries;
    m_marked = marked;
    const QFontMetrics metrics(look().font());
    int width = 200;
    int height = 12;
    for (const MenuEntry& entry : entries) {
        const int shortcut = entry.shortcut.isEmpty() ? 0 : metrics.horizontalAdvance(entry.shortcut) + 30;
        width = std::max(width, metrics.horizontalAdvance(entry.text) + shortcut + 2 * rowMargin + 12);
        height += heightOf(entry);
    }
    resize(width, height);
    update();
}

void MenuView::paintContent(QPainter& painter) {
    int top = 6;
    for (const MenuEntry& entry : m_entries) {
        const QRect row(6, top, width() - 12, heightOf(entry));
        paintEntry(painter, row, entry);
        top += row.height();
    }
}

void MenuView::paintEntry(QPainter& painter, const QRect& row, const MenuEntry& entry) const {
    if (entry.separator) {
        QColor line = look().secondaryText;
        line.setAlphaF(0.35F);
        painter.fillRect(QRect(row.left() + 6, row.center().y(), row.width() - 12, 1), line);
        return;
    }
    if (entry.id == m_marked) {
        QColor mark = look().text;
        mark.setAlphaF(0.09F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(mark);
        painter.drawRoundedRect(row, 6, 6);
    }
    const QRect text = row.adjusted(rowMargin - 4, 0, 4 - rowMargin, 0);
    painter.setFont(look().font());
    painter.setPen(entry.enabled ? look().text : look().secondaryText);
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, entry.text);
    painter.setPen(look().secondaryText);
    painter.drawText(text, Qt::AlignVCenter | Qt::AlignRight | Qt::TextSingleLine, entry.shortcut);
}

void ToolTipView::setText(const QString& text) {
    m_text = text;
    const QFontMetrics metrics(look().font());
    resize(metrics.horizontalAdvance(text) + 26, metrics.height() + 14);
    update();
}

void ToolTipView::paintContent(QPainter& painter) {
    painter.setFont(look().font());
    painter.setPen(look().text);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, m_text);
}

void BubbleView::setNotification(const Notification& notification) {
    m_notification = notification;
    const int bottom = layOut([](int, const QFont&, const QColor&, const QString&) {});
    resize(bubbleWidth, bottom + bubbleMargin);
    update();
}

void BubbleView::paintContent(QPainter& painter) {
    layOut([&](int top, const QFont& font, const QColor& color, const QString& text) {
        const int width = bubbleWidth - 2 * bubbleMargin;
        const QFontMetrics metrics(font);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QRect(bubbleMargin, top, width, metrics.lineSpacing()), Qt::TextSingleLine,
                         metrics.elidedText(text, Qt::ElideRight, width));
    });
}

int BubbleView::layOut(const LineCallback& line) const {
    int top = bubbleMargin - 2;
    const auto next = [&](int space, const QFont& font, const QColor& color, const QString& text) {
        top += space;
        line(top, font, color, text);
        top += QFontMetrics(font).lineSpacing();
    };
    next(0, look().font(0.85), look().secondaryText, m_notification.program);
    next(6, look().font(1.05, QFont::Bold), look().text, m_notification.summary);
    if (!m_notification.body.isEmpty()) {
        QTextDocument body;
        body.setHtml(m_notification.body);
        next(3, look().font(), look().text, body.toPlainText());
    }
    return top;
}

} // namespace orvanel::standin
