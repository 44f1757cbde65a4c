#include "app/views/DashboardView.h"

#include "app/Windows.h"
#include "app/views/DashboardCards.h"
#include "app/views/GuideCard.h"
#include "app/views/MonitorList.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "app/widgets/TextStyle.h"
#include "controller/KumaController.h"
#include "platform/Desktop.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Whether no status page is chosen. Line breaks do not count as blanks here.
bool isBlank(const QString& slug) {
    return std::all_of(slug.begin(), slug.end(),
                       [](QChar c) { return c == u'\t' || c.category() == QChar::Separator_Space; });
}

} // namespace

void addBackupMenu(QLayout* layout, const ViewContext& context) {
    QMenu* const backup = addMenuButton(layout, u"Backup"_s);
    addMenuEntry(backup, u"Back up now…"_s, [context] { context.controller.backUpNow(); });
    addMenuEntry(backup, u"Restore…"_s, [context] { context.controller.restoreBackup(); });
}

DashboardView::DashboardView(ViewContext context, QWidget* parent)
    : View(parent)
    , m_context(context)
    , m_startingCard(new StartingCard(context))
    , m_guide(new GuideCard(context))
    , m_statusError(new StatusErrorCard(context))
    , m_monitors(new MonitorList(context)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(spacing::items);
    column->addLayout(makeControls());
    column->addWidget(m_startingCard);
    column->addWidget(m_guide);
    column->addWidget(m_statusError);
    column->addWidget(m_monitors);
    connect(m_guide, &GuideCard::typingEnded, this, &DashboardView::render);
}

ButtonRow* DashboardView::makeControls() {
    const ViewContext context = m_context;
    auto* row = new ButtonRow;
    m_openDashboard = addDefaultButton(row, u"Open dashboard"_s,
                                       [context] { context.desktop.openAddress(context.controller.dashboardURL()); });
    addButton(row, u"Stop"_s, [context] { context.controller.stop(); });
    addButton(row, u"Restart"_s, [context] { context.controller.restart(); });
    addButton(row, u"Logs"_s, [context] { context.openWindow(windowId::logs()); });
    addBackupMenu(row, context);
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
    return row;
}

void DashboardView::render() {
    const ControllerState& state = m_context.controller.state();
    const bool hasPage = !isBlank(state.slug);
    const bool hasStatusError = state.statusError.has_value();
    // While the container keeps restarting, an earlier error of the page only confuses.
    const bool showsStatusError = hasPage && hasStatusError && state.kuma != KumaState::error;

    setUsable(m_openDashboard, state.kuma == KumaState::running);
    m_startingCard->render();
    m_startingCard->setVisible(state.kuma == KumaState::starting);
    // The first letter of a slug brings the monitors, but the next letters still go into the field.
    setShown(m_guide, !hasPage || m_guide->isBeingTypedIn());
    m_guide->setExplained(!hasPage);
    m_guide->render();
    m_statusError->setVisible(showsStatusError);
    if (showsStatusError) {
        m_statusError->render();
    } else if (hasPage && !hasStatusError) {
        m_monitors->render();
    }
    showList(hasPage && !hasStatusError);
    if (!hasPage) {
        m_left.reset();
    }
}

/// A failed reading hides the list only for a while: it comes back as it was.
void DashboardView::showList(bool shown) {
    QScrollArea* const area = surroundingArea(this);
    if (area == nullptr || shown == m_monitors->isVisibleTo(this)) {
        setShown(m_monitors, shown);
        return;
    }
    if (shown) {
        bringListBack(area);
    } else {
        hideList(area);
    }
}

void DashboardView::hideList(QScrollArea* area) {
    const int scrolledTo = area->verticalScrollBar()->value();
    QWidget* const focused = window()->focusWidget();
    setShown(m_monitors, false);
    layOutNow(area);
    m_left =
        LeftList{scrolledTo, area->verticalScrollBar()->value(), m_monitors->isAncestorOf(focused) ? focused : nullptr};
}

/// Focus and scroll position come back too, unless the user has moved on meanwhile.
void DashboardView::bringListBack(QScrollArea* area) {
    setShown(m_monitors, true);
    const std::optional<LeftList> left = std::exchange(m_left, std::nullopt);
    if (!left) {
        return;
    }
    const bool isElsewhere = area->verticalScrollBar()->value() != left->scrolledToWithout;
    if (left->focused != nullptr && window()->focusWidget() == area) {
        left->focused->setFocus(Qt::OtherFocusReason);
    }
    if (!isElsewhere) {
        layOutNow(area);
        area->verticalScrollBar()->setValue(left->scrolledTo);
    }
}

} // namespace orvanel
