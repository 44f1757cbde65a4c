#pragma once

#include <QtGlobal>

namespace orvanel {

/// What a process takes of the machine.
struct Footprint {
    /// In MiB.
    double resident = 0;
    double anonymous = 0;
    int descriptors = 0;
    int threads = 0;

    static Footprint of(qint64 processId);
    /// Without what comes and goes with each child: the least of many readings over some seconds.
    static Footprint ofQuiet(qint64 processId);
};

} // namespace orvanel
