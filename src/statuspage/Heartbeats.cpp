#include "statuspage/Heartbeats.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace orvanel {
namespace {

constexpr std::uint32_t statusBits = 2;
constexpr std::uint32_t statusMask = (1U << statusBits) - 1;
constexpr std::uint32_t noPing = std::numeric_limits<std::uint32_t>::max() >> statusBits;

std::uint32_t keptTime(std::optional<Heartbeat::Time> time) {
    const std::int64_t seconds = time ? time->time_since_epoch().count() : 0;
    const bool fits = seconds > 0 && seconds <= std::numeric_limits<std::uint32_t>::max();
    return fits ? static_cast<std::uint32_t>(seconds) : 0;
}

std::uint32_t keptPing(std::optional<std::int64_t> ping) {
    const bool fits = ping && *ping >= 0 && *ping < noPing;
    return fits ? static_cast<std::uint32_t>(*ping) : noPing;
}

/// The number that these digits write; none when other characters are among them.
std::optional<unsigned> numberOf(QStringView digits) {
    unsigned number = 0;
    for (const QChar digit : digits) {
        if (digit < u'0' || digit > u'9') {
            return std::nullopt;
        }
        number = number * 10 + (digit.unicode() - u'0');
    }
    return number;
}

bool isFraction(QStringView text) {
    return text.isEmpty() || (text.size() > 1 && text.front() == u'.' && numberOf(text.sliced(1)).has_value());
}

} // namespace

Heartbeat::Heartbeat(std::optional<Time> time, std::int64_t status, std::optional<std::int64_t> ping)
    : m_time(keptTime(time))
    , m_statusAndPing(keptPing(ping) << statusBits | (static_cast<std::uint32_t>(status) & statusMask)) {}

std::optional<Heartbeat::Time> Heartbeat::time() const {
    return m_time != 0 ? std::optional(Time(std::chrono::seconds(m_time))) : std::nullopt;
}

std::int64_t Heartbeat::status() const {
    return m_statusAndPing & statusMask;
}

std::optional<std::int64_t> Heartbeat::ping() const {
    const std::uint32_t ping = m_statusAndPing >> statusBits;
    return ping != noPing ? std::optional<std::int64_t>(ping) : std::nullopt;
}

Heartbeats::Heartbeats(std::shared_ptr<const Block> block, std::size_t first, std::size_t count)
    : m_block(std::move(block))
    , m_first(static_cast<std::uint32_t>(first))
    , m_count(static_cast<std::uint32_t>(count)) {}

bool Heartbeats::operator==(const Heartbeats& other) const {
    return std::equal(begin(), end(), other.begin(), other.end());
}

/// By hand, because reading fifty times of thousands of monitors with QDateTime takes seconds.
std::optional<Heartbeat::Time> heartbeatTime(QStringView text) {
    constexpr qsizetype withoutFraction = 19;
    constexpr auto shape = QStringView(u"    -  -     :  :");
    if (text.size() < withoutFraction || text[10] != u' ' || !isFraction(text.sliced(withoutFraction))) {
        return std::nullopt;
    }
    for (qsizetype i = 0; i < shape.size(); ++i) {
        if (shape[i] != u' ' && shape[i] != text[i]) {
            return std::nullopt;
        }
    }
    const auto part = [text](qsizetype at, qsizetype size) { return numberOf(text.sliced(at, size)); };
    const auto [year, month, day] = std::tuple(part(0, 4), part(5, 2), part(8, 2));
    const auto [hour, minute, second] = std::tuple(part(11, 2), part(14, 2), part(17, 2));
    if (!year || !month || !day || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                                           std::chrono::day(*day));
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
           std::chrono::seconds(*second);
}

} // namespace orvanel
