#include "reference_platform/platform_service.h"

#include "reference_platform/platform_context.h"
#include "reference_platform/store.h"

namespace {

UINT64 EFIAPI Nothing() {
  return 0;
}

UINT64 EFIAPI BatteryMayBeDisabled() {
  return Store_Get(kSetting_battery_disable_allowed) ? 1 : 0;
}

constexpr PlatformServiceOperations MakeOperations() {
  PlatformServiceOperations operations{};
  for (UINTN i = 0; i < kPlatformServiceOperationCount; ++i) operations.Operation[i] = Nothing;
  operations.Operation[kPlatformBatteryQuestion] = BatteryMayBeDisabled;
  return operations;
}

constinit PlatformServiceOperations gOperations = MakeOperations();
constinit PlatformServiceProtocol gProtocol = {1, nullptr, nullptr, nullptr, &gOperations};

} // namespace

PlatformServiceProtocol* PlatformService_Instance() {
  return &gProtocol;
}

EFI_STATUS PlatformService_Install() {
  return Platform_InstallOnNewHandle(kPlatformServiceGuid, &gProtocol);
}
