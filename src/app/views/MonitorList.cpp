#include "app/views/MonitorList.h"

#include "app/views/MonitorRowView.h"
#include "app/widgets/AccessibleRole.h"
#include "app/widgets/TextLabel.h"
#include "controller/KumaController.h"

#include <QVBoxLayout>

namespace orvanel {

MonitorList::MonitorList(ViewContext context, QWidget* parent)
    : View(parent)
    , m_context(context)
    , m_title(new TextLabel(TextStyle::title3))
    , m_emptyText(new TextLabel(TextStyle::body,
                                QStringLiteral("The status page has no monitors yet, or the first reading is still "
                                               "loading. Add monitors to the status page in the dashboard.")))
    , m_rows(new QVBoxLayout) {
    setAccessibleRole(this, QAccessible::List);
    m_emptyText->setSecondary();
    auto* note = new TextLabel(TextStyle::caption,
                               QStringLiteral("Status pages are cached by Uptime Kuma for up to a minute, so changes "
                                              "can show up with a delay."));
    note->setSecondary();

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(spacing::related);
    column->addWidget(m_title);
    column->addWidget(m_emptyText);
    column->addLayout(m_rows);
    column->addWidget(note);
    m_rows->setSpacing(0);
}

void MonitorList::render() {
    const KumaController& controller = m_context.controller;
    const QString title = controller.statusTitle();
    m_title->setContent(title.isEmpty() ? QStringLiteral("Monitors") : title);
    setAccessibleName(m_title->text());

    const QList<MonitorRow> monitors = controller.monitors();
    m_emptyText->setVisible(monitors.isEmpty());
    while (m_rowViews.size() > monitors.size()) {
        delete m_rowViews.takeLast();
    }
    while (m_rowViews.size() < monitors.size()) {
        auto* view = new MonitorRowView;
        m_rows->addWidget(view);
        m_rowViews << view;
    }
    for (qsizetype i = 0; i < monitors.size(); ++i) {
        m_rowViews[i]->setMonitor(monitors[i]);
    }
}

} // namespace orvanel
