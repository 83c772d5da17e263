#include "setup_data/access_level.h"

UINT64 AccessLevel = kAccessLevelUnset;
