#pragma once

#include <QDate>

namespace orvanel {

class Heartbeat;
class Heartbeats;

/// What one heartbeat says: its time, with the date where that is not `today`, its status word and its response time.
/// What it does not tell is left out.
QString heartbeatText(const Heartbeat& beat, QDate today);

/// All of them in a few words, for a screen reader: "last 50 heartbeats: 48 up, 2 down". Empty when there are none.
QString heartbeatSummary(const Heartbeats& beats);

} // namespace orvanel
