#include "app/widgets/Focus.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLayout>
#include <QScrollArea>

namespace orvanel {

QScrollArea* surroundingArea(const QWidget* widget) {
    for (QWidget* parent = widget->parentWidget(); parent != nullptr; parent = parent->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(parent)) {
            return area;
        }
    }
    return nullptr;
}

void layOutNow(QScrollArea* area) {
    area->widget()->layout()->activate();
    QEvent request(QEvent::LayoutRequest);
    QCoreApplication::sendEvent(area, &request);
}

void giveUpFocus(const QWidget* leaving) {
    QWidget* const focused = leaving->window()->focusWidget();
    if (focused == nullptr || (focused != leaving && !leaving->isAncestorOf(focused))) {
        return;
    }
    if (QScrollArea* const area = surroundingArea(leaving)) {
        area->setFocus(Qt::OtherFocusReason);
    } else {
        focused->clearFocus();
    }
}

void hideSafely(QWidget* widget) {
    giveUpFocus(widget);
    widget->hide();
}

void setShown(QWidget* widget, bool shown) {
    if (shown) {
        widget->show();
    } else {
        hideSafely(widget);
    }
}

void setUsable(QWidget* widget, bool usable) {
    if (!usable) {
        giveUpFocus(widget);
    }
    widget->setEnabled(usable);
}

} // namespace orvanel
