#include "platform/Desktop.h"

namespace orvanel {

Desktop::~Desktop() = default;

} // namespace orvanel
