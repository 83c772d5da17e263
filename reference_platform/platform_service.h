// The platform service: entry 22 of its operation table answers whether the
// built-in battery may be disabled now (the store's battery_disable_allowed);
// the other entries belong to the platform and answer 0.
#pragma once

#include "platform/vendor_protocols.h"

PlatformServiceProtocol* PlatformService_Instance();
EFI_STATUS PlatformService_Install();
