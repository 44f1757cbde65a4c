#include "app/views/MonitorRowView.h"

#include "app/views/MonitorStatus.h"
#include "app/widgets/AccessibleRole.h"
#include "app/widgets/Divider.h"
#include "app/widgets/Dot.h"
#include "app/widgets/TextLabel.h"

#include <QHBoxLayout>

namespace orvanel {
namespace {

constexpr int dotDiameter = 10;
constexpr int rowPadding = 6;

} // namespace

MonitorRowView::MonitorRowView(QWidget* parent)
    : QWidget(parent)
    , m_dot(new Dot(dotDiameter))
    , m_name(new TextLabel(TextStyle::body))
    , m_word(new TextLabel(TextStyle::body)) {
    setAccessibleRole(this, QAccessible::ListItem);
    m_word->setSecondary();
    m_word->setWordWrap(false);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, rowPadding, 0, rowPadding);
    row->setSpacing(spacing::related);
    row->addWidget(m_dot);
    row->addWidget(m_name, 1);
    row->addWidget(m_word);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addLayout(row);
    column->addWidget(new Divider);
}

void MonitorRowView::setMonitor(const MonitorRow& monitor) {
    const MonitorStatus status = monitorStatus(monitor.status);
    m_dot->setState(status.meaning, status.word);
    m_name->setContent(monitor.name);
    m_word->setContent(status.word);
    const QString spoken = QStringLiteral("%1, %2").arg(monitor.name, status.word);
    if (spoken != accessibleName()) {
        setAccessibleName(spoken);
    }
}

} // namespace orvanel
