#include "controller/Operations.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// How long the text of an operation stays at most while no probe has found out what it changed.
constexpr std::chrono::seconds longestSettling{10};

} // namespace

QString backingUpText() {
    return u"Backing up…"_s;
}

Operations::Operations(StateStore& state, Clock& clock, TaskScope& tasks, Refresh refresh)
    : m_state(state)
    , m_clock(clock)
    , m_tasks(tasks)
    , m_refresh(std::move(refresh))
    , m_slot(tasks) {}

void Operations::run(const QString& label, OperationSlot::Body body) {
    if (m_slot.isTaken()) {
        return;
    }
    m_text = label;
    m_state.update([&label](ControllerState& state) {
        state.busy = label;
        state.settling = std::nullopt;
        state.error = std::nullopt;
        state.suggestedPort = std::nullopt;
    });
    m_slot.begin(label, std::move(body), [this](const Outcome& outcome, const std::stop_token&) { ended(outcome); });
}

void Operations::show(const QString& text) {
    m_text = text;
    m_state.set(&ControllerState::busy, text);
}

void Operations::ended(const Outcome& outcome) {
    m_state.update([this, &outcome](ControllerState& state) {
        state.busy = std::nullopt;
        state.settling = m_text;
        state.pulling = false;
        if (outcome) {
            state.error = outcome->error;
            state.suggestedPort = outcome->suggestedPort;
        }
    });
    m_patience = m_clock.callAfter(longestSettling, [this] { m_state.set(&ControllerState::settling, std::nullopt); });
    m_tasks.start(refreshAfterwards(), u"refresh after an operation"_s);
}

void Operations::settled() {
    m_state.set(&ControllerState::settling, std::nullopt);
    m_patience.reset();
}

/// Also after a cancelled operation, which may have stopped the container already.
QCoro::Task<void> Operations::refreshAfterwards() {
    const std::stop_token never;
    co_await m_refresh(never);
    if (!m_slot.isTaken()) {
        showBackups();
    }
}

void Operations::backupBegan() {
    m_backups += 1;
    m_state.set(&ControllerState::busy, backingUpText());
}

void Operations::backupEnded(const std::optional<OpError>& error) {
    m_backups -= 1;
    showBackups();
    if (error) {
        replaceError(m_state, *error);
    }
}

/// If an operation runs beside the backups, its text is shown; otherwise the backups' text is.
void Operations::showBackups() {
    std::optional<QString> text;
    if (m_slot.isTaken()) {
        text = m_text;
    } else if (m_backups > 0) {
        text = backingUpText();
    }
    m_state.set(&ControllerState::busy, text);
}

} // namespace orvanel
