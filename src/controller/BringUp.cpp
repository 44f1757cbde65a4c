#include "controller/BringUp.h"

using namespace std::chrono_literals;

namespace orvanel {
namespace {

/// How long the end of the program waits before it stops the container in any case.
constexpr auto patience = 30s;

} // namespace

BringUp::BringUp(Clock& clock)
    : m_clock(clock) {}

std::shared_ptr<const void> BringUp::begin() {
    const Event<> end;
    m_end = end;
    return {this, [end](const void*) { end.complete(); }};
}

QCoro::Task<void> BringUp::end() const {
    if (!m_end) {
        co_return;
    }
    const Event<> end = *m_end;
    const auto limit = m_clock.callAfter(patience, [end] { end.complete(); });
    co_await end;
}

} // namespace orvanel
