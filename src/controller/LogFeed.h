#pragma once

#include "process/DockerCLI.h"

#include <functional>

namespace orvanel {

/// An output callback for DockerCLI::run that brings a child's output to a live log: `append` is called with it on the
/// thread that made the feed, in order. Output that comes faster than that thread takes it is joined and capped on the
/// way (see CappedLog.h), so that a child that prints without end costs neither memory nor a flood of calls.
DockerCLI::OutputCallback logFeed(std::function<void(const QString& text)> append);

} // namespace orvanel
