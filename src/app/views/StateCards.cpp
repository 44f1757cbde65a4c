#include "app/views/StateCards.h"

#include "app/Windows.h"
#include "app/views/DashboardView.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "app/widgets/Progress.h"
#include "app/widgets/TextBox.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

StateCard stateCardFor(const ControllerState& state) {
    if (state.setupBusy) {
        return StateCard::setup;
    }
    if (state.dockerState == DockerState::missing) {
        return StateCard::dockerMissing;
    }
    if (state.dockerState == DockerState::notRunning) {
        return StateCard::dockerNotRunning;
    }
    if (state.pulling) {
        return StateCard::pull;
    }
    if (operationShown(state)) {
        return StateCard::busy;
    }
    if (state.kuma == KumaState::stopped || state.dockerState == DockerState::unknown) {
        return StateCard::start;
    }
    return StateCard::dashboard;
}

SetupCard::SetupCard(ViewContext context, QWidget* parent)
    : Card(u"Runtime setup in progress"_s, parent)
    , m_context(context)
    , m_step(addText(TextStyle::title3))
    , m_log(new LogBox(u"Output of the setup"_s, u"Waiting for output…"_s)) {
    column()->addWidget(new BusyBar(u"Setup in progress"_s));
    addButton(addButtonRow(), u"Cancel"_s, [context] { context.controller.cancelSetup(); });
    column()->addWidget(m_log);
}

void SetupCard::render() {
    m_step->setContent(m_context.controller.state().setupBusy.value_or(QString()));
    m_log->setLog(m_context.controller.state().setupLog);
}

PullCard::PullCard(ViewContext context, QWidget* parent)
    : Card(u"Downloading the Uptime Kuma image"_s, parent)
    , m_context(context)
    , m_log(new LogBox(u"Output of the download"_s, u"Waiting for Docker…"_s)) {
    addText(TextStyle::title3, u"Downloading the Uptime Kuma image"_s);
    addText(TextStyle::body, u"This is a few hundred MB and only happens the first time."_s);
    column()->addWidget(new BusyBar(u"Download in progress"_s));
    addButton(addButtonRow(), u"Cancel"_s, [context] { context.controller.cancelOperation(); });
    column()->addWidget(m_log);
}

void PullCard::render() {
    m_log->setLog(m_context.controller.state().pullLog);
}

BusyCard::BusyCard(ViewContext context, QWidget* parent)
    : Card(u"Operation in progress"_s, parent)
    , m_context(context)
    , m_text(new TextLabel(TextStyle::body)) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(new Spinner);
    row->addWidget(m_text, 1);
    m_cancel = addButton(row, u"Cancel"_s, [context] { context.controller.cancelOperation(); });
    column()->addLayout(row);
}

void BusyCard::render() {
    const ControllerState& state = m_context.controller.state();
    m_text->setContent(operationShown(state).value_or(QString()));
    setUsable(m_cancel, state.busy.has_value());
}

StartCard::StartCard(ViewContext context, QWidget* parent)
    : Card(u"Uptime Kuma is stopped"_s, parent)
    , m_context(context) {
    m_heading = addHeading(Symbol::Kind::playCircle, TextStyle::title3);
    m_explanation = addText(TextStyle::body);
    ButtonRow* const row = addButtonRow();
    m_start = addDefaultButton(row, u"Start Uptime Kuma"_s, [context] { context.controller.start(); });
    addButton(row, u"Settings"_s, [context] { context.openWindow(windowId::settings()); });
    // A new computer needs no running server to get its data back.
    addBackupMenu(row, context);
}

void StartCard::render() {
    const ControllerState& state = m_context.controller.state();
    const QString heading = state.isPaused ? u"Uptime Kuma is paused"_s : u"Uptime Kuma is stopped"_s;
    m_heading->setContent(heading);
    if (accessibleName() != heading) {
        setAccessibleName(heading);
    }
    m_explanation->setContent(
        state.isPaused
            ? u"Another program has paused the container of Uptime Kuma. One click lets it go on."_s
            : u"One click starts Uptime Kuma in Docker. It is only reachable from this Mac (127.0.0.1:%1)."_s.arg(
                  state.port));
    setUsable(m_start, state.dockerState == DockerState::ready);
}

} // namespace orvanel
