#include "controller/StatusWatch.h"

#include <chrono>

using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto statusPeriod = 30s;

QString normalised(const QString& slug) {
    return slug.trimmed().toLower();
}

} // namespace

StatusWatch::StatusWatch(StateStore& state, Clock& clock, Notifier& notifier, Fetch fetch)
    : m_state(state)
    , m_clock(clock)
    , m_notifier(notifier)
    , m_fetch(std::move(fetch)) {}

QCoro::Task<void> StatusWatch::fetchWhenDue() {
    const QString slug = normalised(m_state->slug);
    if (m_state->kuma != KumaState::running || m_state->busy || slug.isEmpty()) {
        co_return;
    }
    const Clock::TimePoint now = m_clock.now();
    if (m_lastStatusFetch && now - *m_lastStatusFetch < statusPeriod) {
        co_return;
    }
    m_lastStatusFetch = now;
    const StatusPageResult result = co_await m_fetch(m_state->port, slug);
    if (normalised(m_state->slug) == slug) {
        publish(result);
    }
}

void StatusWatch::forget() {
    m_previousStatus.clear();
    m_hasBaseline = false;
    m_lastStatusFetch = std::nullopt;
    m_state.update([](ControllerState& state) {
        state.monitors.clear();
        state.statusError = std::nullopt;
    });
}

void StatusWatch::publish(const StatusPageResult& result) {
    if (const auto* failure = std::get_if<StatusPageError>(&result)) {
        m_state.update([failure](ControllerState& state) {
            state.statusError = failure->message;
            state.monitors.clear();
        });
        return;
    }
    const auto& page = std::get<StatusPageData>(result);
    applyTransitions(page.monitors);
    m_state.update([&page, now = m_clock.wallTime()](ControllerState& state) {
        state.statusError = std::nullopt;
        state.statusTitle = page.title;
        state.lastStatusUpdate = now;
        state.monitors = page.monitors;
    });
    requestNotificationAuthIfNeeded();
}

void StatusWatch::applyTransitions(const QList<MonitorRow>& rows) {
    if (m_hasBaseline && m_notifier.mayPost()) {
        for (const MonitorNews& news : monitorNews(m_previousStatus, rows)) {
            m_notifier.post(news.title, news.body);
        }
    }
    m_previousStatus = statusesOf(rows);
    m_hasBaseline = true;
}

void StatusWatch::requestNotificationAuthIfNeeded() {
    if (m_requestedNotificationAuth || !m_notifier.mayPost()) {
        return;
    }
    m_requestedNotificationAuth = true;
    m_notifier.requestAuthorization();
}

} // namespace orvanel
