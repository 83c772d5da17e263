// The restart point and the registry of what a restart releases.
#include "platform/restart.h"

JumpBuffer RestartBuffer;
UINT8 RestartPending;

namespace {

struct RestartEntry {
  RestartReleaseRoutine Release;
  void* Context;
};

// Modal windows nest a few deep at most (a page, a drop-down or password
// field, a message box over it); each registers one or two entries.
constexpr UINTN kRestartSlots = 16;

struct RestartRegistry {
  RestartEntry Entries[kRestartSlots];
};
constinit RestartRegistry Registry{};

} // namespace

UINTN Quorvex_Restart_Register(RestartReleaseRoutine Release, void* Context) {
  if (Release == nullptr) return kNoRestartSlot;
  for (UINTN i = 0; i < kRestartSlots; ++i) {
    if (Registry.Entries[i].Release == nullptr) {
      Registry.Entries[i] = {Release, Context};
      return i;
    }
  }
  return kNoRestartSlot;
}

void Quorvex_Restart_Unregister(UINTN Slot) {
  if (Slot < kRestartSlots) Registry.Entries[Slot] = {};
}

void Quorvex_Restart_ReleaseAll() {
  // Newest first: a window opened over another is released before it. A slot
  // is cleared before its routine runs, so a routine that registers or
  // unregisters cannot make it run twice.
  for (UINTN i = kRestartSlots; i-- > 0;) {
    RestartEntry entry = Registry.Entries[i];
    Registry.Entries[i] = {};
    if (entry.Release != nullptr) entry.Release(entry.Context);
  }
}

UINTN Quorvex_Restart_RegisteredCount() {
  UINTN count = 0;
  for (const RestartEntry& entry : Registry.Entries) count += entry.Release != nullptr ? 1 : 0;
  return count;
}

void CheckRestart() {
  if (RestartPending == 0) return;
  Quorvex_Restart_ReleaseAll();
  Quorvex_LongJump(&RestartBuffer, 1);
}

void Quorvex_Restart_Reset() {
  Registry = {};
  RestartPending = 0;
}
