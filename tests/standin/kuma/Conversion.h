#pragma once

#include "Script.h"

#include <atomic>
#include <chrono>
#include <filesystem>

namespace kuma {

/// The conversion that a new major version makes of older data before it starts, as the script wants it: its log, and
/// what it leaves in FOLDER/kuma-conversion ("migrating" or "migrated"), by which a later start notices one that was
/// interrupted.
class Conversion {
public:
    /// Begins it where the script asks for one and the data is not converted yet. Ends the program as the real one
    /// does when an earlier conversion was interrupted.
    Conversion(const std::filesystem::path& folder, const Script& script);

    bool isUnderWay() const { return m_isUnderWay; }
    /// Goes on with it, as far as it should be `sinceStart`. True when it has just ended.
    bool goOn(std::chrono::milliseconds sinceStart);

private:
    void write(const char* state) const;
    void logProgress(std::chrono::milliseconds sinceStart);

    const std::filesystem::path m_file;
    const std::chrono::milliseconds m_migrating;
    const std::chrono::milliseconds m_clearing;
    std::atomic<bool> m_isUnderWay = false;
    bool m_isClearing = false;
    int m_linesWritten = 0;
};

} // namespace kuma
