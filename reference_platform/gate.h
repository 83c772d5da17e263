// The password gate: before the setup utility starts (and, in a firmware
// image, before any boot option starts) the platform asks for an installed
// password in a window of the utility's look. A right answer lets the start
// go on; after the last wrong one (setting password_tries, 3 by default) the
// machine is powered off. Nothing tells which password a wrong answer was
// closer to: every answer is checked against both hashes.
//
// The answer lives only in one pool buffer, wiped before it is freed and
// before the window closes; it never reaches the serial port, a trace or a
// screenshot (the gate runs before the utility and its screenshot key).
#pragma once

#include "platform/efi.h"

enum GatePurpose : UINT32 {
  // Before the setup utility: asked when a supervisor or user password is
  // installed; the answer decides the access the utility gets (operation 8).
  GatePurposeSetup,
  // Before a boot option: asked when a user password is installed; the user
  // or the supervisor password lets the boot go on; no access level. Asked
  // once per boot: a later call after a right answer returns at once.
  GatePurposePowerOn,
};

enum GateAnswer : UINT32 {
  GateAnswerWrong,
  GateAnswerSupervisor,
  GateAnswerUser,
};

enum GateOutcome : UINT32 {
  GateOutcomeNotAsked,   // no password to ask for (or already answered this boot)
  GateOutcomeSupervisor, // the supervisor password was given
  GateOutcomeUser,       // the user password was given
};

// Whether the gate asks anything for this purpose.
bool Gate_Needed(GatePurpose Purpose);
// Checks one answer against both installed hashes (always both, so the time
// taken does not tell which one matched). An empty answer is wrong.
GateAnswer Gate_Check(GatePurpose Purpose, const CHAR16* Answer);
// Sets what the setup utility is told (operation 8: 1 full access as the
// supervisor, 0 access by "BIOS Access Rights"): a user password opens with
// full access when no supervisor password is installed. Nothing changes
// when nothing was asked.
void Gate_Grant(GatePurpose Purpose, GateOutcome Outcome);
// The number of answers before the machine is powered off.
UINT32 Gate_Tries();

// The whole gate: the window, the tries, the check and the power-off.
// Returns only when the start may go on; after the last wrong answer it
// asks the firmware to power off and never returns.
GateOutcome Gate_Run(GatePurpose Purpose);

// Host tests: forget that the power-on password was answered this boot.
void Gate_Reset();
