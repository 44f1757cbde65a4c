#pragma once

#include "ShownWindow.h"
#include "app/views/MonitorModel.h"
#include "app/views/MonitorRows.h"

#include <QAccessible>

using namespace std::chrono_literals;

namespace orvanel::test {

/// That many monitors that are up.
inline QList<MonitorRow> rows(int count) {
    QList<MonitorRow> list;
    for (int i = 0; i < count; ++i) {
        list << monitor(i, 1, u"Service %1"_s.arg(i));
    }
    return list;
}

/// The main window after one reading of a status page.
struct ListedMonitors : ShownWindow {
    explicit ListedMonitors(const QList<MonitorRow>& monitors, const QString& title = u"My services"_s) {
        world.controller().setSlug(u"home"_s);
        world.page.status = statusPage(monitors, title);
        if (!world.isPolledAsRunning()) {
            qFatal("the container should run");
        }
        world.settle();
    }

    MonitorRows* list() { return window.findChild<MonitorRows*>(); }
    MonitorModel& model() { return *static_cast<MonitorModel*>(list()->model()); }
    void nextReading(const QList<MonitorRow>& monitors) {
        world.page.status = statusPage(monitors);
        world.advance(30s);
    }
    QStringList spoken() {
        QStringList texts;
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(list());
        for (int i = 0; i < face->childCount(); ++i) {
            texts << face->child(i)->text(QAccessible::Name);
        }
        return texts;
    }
};

} // namespace orvanel::test
