#pragma once

#include <QStringView>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace orvanel {

/// One check of a monitor, as the server recorded it. Eight bytes, because a page can have many thousands of them.
class Heartbeat {
public:
    using Time = std::chrono::sys_seconds;

    /// Whether it is a status that heartbeats have: 0 down, 1 up, 2 pending, 3 maintenance.
    static constexpr bool isStatus(std::int64_t code) { return code >= 0 && code <= 3; }

    /// `status` must be one. A time outside 1970 to 2105, and a response time below zero or of twelve days and more,
    /// are taken as none.
    Heartbeat(std::optional<Time> time, std::int64_t status, std::optional<std::int64_t> ping);

    std::optional<Time> time() const;
    std::int64_t status() const;
    /// Response time in milliseconds.
    std::optional<std::int64_t> ping() const;

    bool operator==(const Heartbeat&) const = default;

private:
    /// Seconds since 1970; 0 stands for none.
    std::uint32_t m_time;
    /// Two bits for the status, the others for the response time; with all of these set, it is none.
    std::uint32_t m_statusAndPing;
};

/// The last heartbeats of a monitor, oldest first. Copies share them: the heartbeats of all monitors of a page lie in
/// one block, which is freed with the last monitor that refers to it.
class Heartbeats {
public:
    using Block = std::vector<Heartbeat>;

    /// How many of a monitor's heartbeats are kept.
    static constexpr std::size_t longest = 50;

    Heartbeats() = default;
    /// Those of the block from `first` on; it may still grow, but not shrink.
    Heartbeats(std::shared_ptr<const Block> block, std::size_t first, std::size_t count);

    int size() const { return static_cast<int>(m_count); }
    bool isEmpty() const { return m_count == 0; }
    const Heartbeat* begin() const { return m_count == 0 ? nullptr : m_block->data() + m_first; }
    const Heartbeat* end() const { return begin() + m_count; }
    /// The newest is 0, the one before it 1, and so on.
    const Heartbeat& fromNewest(int place) const { return *(end() - 1 - place); }

    bool operator==(const Heartbeats& other) const;

private:
    std::shared_ptr<const Block> m_block;
    std::uint32_t m_first = 0;
    std::uint32_t m_count = 0;
};

/// Reads a time as Uptime Kuma writes it, in UTC: "2026-11-21 03:08:27.601". None for any other text.
std::optional<Heartbeat::Time> heartbeatTime(QStringView text);

} // namespace orvanel
