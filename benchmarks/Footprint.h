#pragma once

#include <QtGlobal>

namespace orvanel {

/// The resources that a process uses.
struct Footprint {
    /// In MiB.
    double resident = 0;
    double anonymous = 0;
    int descriptors = 0;
    int threads = 0;

    /// How often its threads have gone to sleep by themselves so far. A timer that is never stopped shows up here.
    static qint64 wakeUps(qint64 processId);
    static Footprint of(qint64 processId);
    /// The footprint without what comes and goes with each child: the lowest of many readings over some seconds.
    static Footprint ofQuiet(qint64 processId);
};

} // namespace orvanel
