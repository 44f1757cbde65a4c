#include "statuspage/StatusPageClient.h"
