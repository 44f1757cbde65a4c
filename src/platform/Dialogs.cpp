#include "platform/Dialogs.h"

namespace orvanel {

Dialogs::~Dialogs() = default;

} // namespace orvanel
