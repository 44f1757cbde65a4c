#pragma once

#include <QDate>

#include <chrono>

namespace orvanel {

/// Hours, minutes and seconds of that time as the user's locale writes them, without the time zone.
QString timeOfDay(std::chrono::system_clock::time_point time);

/// The same, after the date where that is not `today`.
QString dateAndTimeOfDay(std::chrono::system_clock::time_point time, QDate today);

} // namespace orvanel
