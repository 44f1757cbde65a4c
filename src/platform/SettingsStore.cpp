#include "platform/SettingsStore.h"
