#pragma once

#include "controller/StatusSummary.h"

#include <QIcon>
#include <QImage>

namespace orvanel {

/// The dot that stands for the program in the status area.
namespace StatusIcon {

/// A square image of `size` pixels a side: a filled circle, ten sixteenths of the side across, in the centre of
/// a transparent margin.
QImage image(Health health, int size = 16);

/// The image in every size that panels ask for, each drawn separately.
QIcon icon(Health health);

} // namespace StatusIcon

} // namespace orvanel
