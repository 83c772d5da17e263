// The idle wait between rounds: WaitForEvent on the console's key event, the
// pointer devices' input events and a one-shot poll timer.
#include "input/idle_wait.h"

#include "input/mouse.h"
#include "platform/bindings.h"

namespace {

// The console's key event, two pointer devices of each kind and the timer
// fill the list in practice; more devices are simply not waited on (the
// timer still bounds the wait).
constexpr UINT64 kMaxWaitEvents = 8;

constinit EFI_EVENT PollTimer = nullptr;

bool ArmPollTimer() {
  if (PollTimer == nullptr &&
      EFI_ERROR(BootServices->CreateEvent(EVT_TIMER, 0, nullptr, nullptr, &PollTimer))) {
    PollTimer = nullptr;
    return false;
  }
  // A timer that fired while a key ended the last wait would end this one at
  // once: its signal is cleared before it is set again.
  BootServices->CheckEvent(PollTimer);
  return !EFI_ERROR(BootServices->SetTimer(PollTimer, TimerRelative, kIdlePollPeriod100ns));
}

} // namespace

void Quorvex_IdleWait() {
  if (BootServices == nullptr || BootServices->WaitForEvent == nullptr) return;
  // Without a timer a wait could outlast the poll period: better to spin.
  if (!ArmPollTimer()) return;
  EFI_EVENT events[kMaxWaitEvents];
  UINT64 count = 0;
  events[count++] = PollTimer;
  if (SystemTable->ConIn != nullptr && SystemTable->ConIn->WaitForKey != nullptr) {
    events[count++] = SystemTable->ConIn->WaitForKey;
  }
  count += Quorvex_Mouse_WaitEvents(events + count, kMaxWaitEvents - count);
  UINTN index = 0;
  BootServices->WaitForEvent(count, events, &index);
}

void Quorvex_IdleWait_Reset() {
  PollTimer = nullptr;
}

void Quorvex_IdleWait_Stop() {
  if (PollTimer == nullptr || BootServices == nullptr) return;
  BootServices->SetTimer(PollTimer, TimerCancel, 0);
  BootServices->CloseEvent(PollTimer);
  PollTimer = nullptr;
}
