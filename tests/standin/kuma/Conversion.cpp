#include "Conversion.h"

#include "Journal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace kuma {
namespace {

constexpr int days = 24;
constexpr int monitors = 12;

std::string stateIn(const std::filesystem::path& file) {
    std::string state;
    std::ifstream(file) >> state;
    return state;
}

[[noreturn]] void failForInterruption() {
    logError("SERVER", "Failed to prepare your database: Aggregate table migration is already in progress");
    std::exit(1);
}

} // namespace

Conversion::Conversion(const std::filesystem::path& folder, const Script& script)
    : m_file(folder / "kuma-conversion")
    , m_migrating(script.conversionMs)
    , m_clearing(script.clearingMs) {
    const std::string state = stateIn(m_file);
    if (script.conversionMs == 0 || state == "migrated") {
        return;
    }
    if (state == "migrating") {
        failForInterruption();
    }
    write("migrating");
    m_isUnderWay = true;
}

bool Conversion::goOn(std::chrono::milliseconds sinceStart) {
    if (!m_isUnderWay) {
        return false;
    }
    logProgress(sinceStart);
    if (sinceStart >= m_migrating && !m_isClearing) {
        m_isClearing = true;
        logInfo("DB", "Clearing non-important heartbeats");
    }
    if (sinceStart < m_migrating + m_clearing) {
        return false;
    }
    write("migrated");
    logInfo("DB", "Aggregate Table Migration Completed");
    m_isUnderWay = false;
    return true;
}

void Conversion::write(const char* state) const {
    std::ofstream(m_file) << state << '\n';
}

void Conversion::logProgress(std::chrono::milliseconds sinceStart) {
    const auto due = std::min<long long>(days, days * sinceStart.count() / std::max<long long>(m_migrating.count(), 1));
    while (m_linesWritten < due) {
        m_linesWritten += 1;
        std::array<char, 160> line{};
        std::snprintf(line.data(), line.size(),
                      "[DON'T STOP] Migrating monitor %ds' (%d of %d total) data - 2024-05-%02d - total migration "
                      "progress %.2f%%",
                      m_linesWritten, 1 + m_linesWritten * monitors / (days + 1), monitors, m_linesWritten,
                      100.0 * m_linesWritten / days);
        logInfo("DB", line.data());
    }
}

} // namespace kuma
