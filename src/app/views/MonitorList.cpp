#include "app/views/MonitorList.h"

#include "app/views/MonitorRows.h"
#include "app/widgets/Focus.h"
#include "app/widgets/LocalTime.h"
#include "app/widgets/TextLabel.h"
#include "controller/KumaController.h"
#include "platform/Desktop.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

MonitorList::MonitorList(ViewContext context, QWidget* parent)
    : View(parent)
    , m_context(context)
    , m_title(new TextLabel(TextStyle::title3))
    , m_updated(new TextLabel(TextStyle::caption))
    , m_emptyText(new TextLabel(TextStyle::body, u"The status page has no monitors yet, or the first reading is still "
                                                 "loading. Add monitors to the status page in the dashboard."_s))
    , m_rows(new MonitorRows) {
    m_title->setElided();
    m_updated->setSecondary();
    m_updated->setWordWrap(false);
    m_emptyText->setSecondary();
    auto* note =
        new TextLabel(TextStyle::caption, u"Status pages are cached by Uptime Kuma for up to a minute, so changes "
                                          "can show up with a delay."_s);
    note->setSecondary();

    auto* heading = new QHBoxLayout;
    heading->setSpacing(spacing::related);
    heading->addWidget(m_title, 1);
    heading->addWidget(m_updated, 0, Qt::AlignBottom);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(spacing::related);
    column->addLayout(heading);
    column->addWidget(m_emptyText);
    column->addWidget(m_rows);
    column->addWidget(note);
    connect(m_rows, &MonitorRows::opened, this,
            [context](qint64 id) { context.desktop.openAddress(context.controller.monitorURL(id)); });
}

void MonitorList::render() {
    const ControllerState& state = m_context.controller.state();
    const QString given = state.statusTitle.simplified();
    const QString title = given.isEmpty() ? u"Monitors"_s : given;
    m_title->setOutsideText(title);
    if (m_rows->accessibleName() != title) {
        m_rows->setAccessibleName(title);
    }

    const std::optional<Clock::WallTime> updated = state.lastStatusUpdate;
    if (updated) {
        m_updated->setContent(u"Updated %1"_s.arg(timeOfDay(*updated)));
    }
    m_updated->setVisible(updated.has_value());

    m_rows->setMonitors(state.monitors);
    m_rows->setCanOpen(state.kuma == KumaState::running);
    setShown(m_rows, !m_rows->isEmpty());
    m_emptyText->setVisible(m_rows->isEmpty());
}

} // namespace orvanel
