#include "platform/Notifier.h"

namespace orvanel {

Notifier::~Notifier() = default;

} // namespace orvanel
