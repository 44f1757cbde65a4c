#include "backup/Retention.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace orvanel {
namespace {

constexpr std::size_t dailyOnes = 7;
constexpr std::size_t weeklyOnes = 4;

using Period = std::pair<int, int>;

Period dayOf(const DailyCopy& copy) {
    const QDate date = copy.day();
    return {date.year(), date.dayOfYear()};
}

Period weekOf(const DailyCopy& copy) {
    int year = 0;
    const int week = copy.day().weekNumber(&year);
    return {year, week};
}

std::optional<int> newestGood(const QList<DailyCopy>& copies) {
    const auto found =
        std::find_if(copies.rbegin(), copies.rend(), [](const DailyCopy& copy) { return copy.isGood(); });
    return found == copies.rend() ? std::nullopt : std::optional(found->number);
}

/// The numbers of the best copies of the last periods that have any, up to `most` of them. Removes all copies of these
/// periods from `copies`.
template <class PeriodOf>
std::set<int> takeBest(QList<DailyCopy>& copies, std::size_t most, PeriodOf periodOf) {
    std::map<Period, const DailyCopy*> best;
    for (auto copy = copies.crbegin(); copy != copies.crend(); ++copy) {
        const Period period = periodOf(*copy);
        const auto known = best.find(period);
        if (known == best.end() && best.size() < most) {
            best.emplace(period, &*copy);
        } else if (known != best.end() && copy->isGood() && !known->second->isGood()) {
            known->second = &*copy;
        }
    }
    std::set<int> numbers;
    for (const auto& entry : best) {
        numbers.insert(entry.second->number);
    }
    copies.removeIf([&](const DailyCopy& copy) { return best.contains(periodOf(copy)); });
    return numbers;
}

struct Kept {
    std::set<int> daily;
    std::set<int> weekly;
};

Kept keptOf(const QList<DailyCopy>& copies) {
    QList<DailyCopy> rest = copies;
    rest.removeIf([](const DailyCopy& copy) { return copy.isChanged; });
    Kept kept;
    kept.daily = takeBest(rest, dailyOnes, dayOf);
    kept.weekly = takeBest(rest, weeklyOnes, weekOf);
    return kept;
}

} // namespace

QList<DailyCopy> expiredDailyCopies(const QList<DailyCopy>& copies) {
    const Kept kept = keptOf(copies);
    const std::optional<int> good = newestGood(copies);
    QList<DailyCopy> expired = copies;
    expired.removeIf([&](const DailyCopy& copy) {
        return copy.isChanged || copy.number == good || kept.daily.contains(copy.number) ||
               kept.weekly.contains(copy.number);
    });
    return expired;
}

QList<DailyCopy> weeklyCopies(const QList<DailyCopy>& copies) {
    const Kept kept = keptOf(copies);
    const std::optional<int> good = newestGood(copies);
    QList<DailyCopy> weekly = copies;
    weekly.removeIf([&](const DailyCopy& copy) { return copy.number == good || !kept.weekly.contains(copy.number); });
    return weekly;
}

} // namespace orvanel
