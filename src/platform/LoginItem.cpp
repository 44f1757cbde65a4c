#include "platform/LoginItem.h"

namespace orvanel {

LoginItem::~LoginItem() = default;

} // namespace orvanel
