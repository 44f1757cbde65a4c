#pragma once

#include "backup/DailyCopy.h"

namespace orvanel {

/// Which of the copies are no longer kept, in the order of their making, which is that of `copies`.
///
/// Of the last seven days with a copy and, before those, of the last four weeks, one stays: the last that passed its
/// check, or when none did the last. The newest of all that passed always stays, and so does what was changed since it
/// was made: somebody may have put something there. Days and weeks are those of the names, while newer and older go by
/// the number: a clock that is wrong for a while takes nothing away.
QList<DailyCopy> expiredDailyCopies(const QList<DailyCopy>& copies);

/// The weekly ones among the copies that are kept, in the same order: when there is too little room, the first goes
/// first. The newest of all that passed its check is not among them.
QList<DailyCopy> weeklyCopies(const QList<DailyCopy>& copies);

} // namespace orvanel
