#pragma once

#include "controller/StateStore.h"
#include "process/DockerCLI.h"

namespace orvanel {

/// A log that reaches this many characters is cut.
constexpr qsizetype cappedLogLimit = 30001;

/// Appends `chunk` to `log`. A text that reaches the limit keeps only its last 20,000 characters, because downloads and
/// installations can print without end. A surrogate pair is never cut in two.
QString appendCapped(QString log, const QString& chunk);

/// An output callback for DockerCLI::run that calls `append` with a child's output, on the thread that made the feed,
/// in order. Output that comes faster than that thread takes it is joined and capped on the way, so a child that prints
/// without end costs neither memory nor a flood of calls.
DockerCLI::OutputCallback logFeed(std::function<void(const QString& text)> append);

/// A feed that appends to one of the state's logs, as long as the state exists.
DockerCLI::OutputCallback cappedLogFeed(StateStore& state, QString ControllerState::*log);

} // namespace orvanel
