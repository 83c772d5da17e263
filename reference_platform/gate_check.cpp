// What the gate decides: whether it asks, whether an answer is right, and
// the access the setup utility is then told.
#include "platform/lib.h"
#include "reference_platform/gate.h"
#include "reference_platform/passwords.h"
#include "reference_platform/store.h"

bool Gate_Needed(GatePurpose Purpose) {
  if (Purpose == GatePurposePowerOn) return Password_Installed(PasswordUser);
  return Password_Installed(PasswordSupervisor) || Password_Installed(PasswordUser);
}

GateAnswer Gate_Check(GatePurpose, const CHAR16* Answer) {
  if (!Answer || Answer[0] == 0) return GateAnswerWrong;
  // Password_Verify of a kind without a password accepts only the empty
  // answer, which never gets here.
  const bool supervisor = Password_Verify(PasswordSupervisor, Answer);
  const bool user = Password_Verify(PasswordUser, Answer);
  if (supervisor) return GateAnswerSupervisor;
  if (user) return GateAnswerUser;
  return GateAnswerWrong;
}

void Gate_Grant(GatePurpose Purpose, GateOutcome Outcome) {
  // Without a password the stored answer stands: its default is 1, and only
  // a user's session (which a supervisor password gates) can store 0.
  if (Purpose != GatePurposeSetup || Outcome == GateOutcomeNotAsked) return;
  const bool full = Outcome != GateOutcomeUser || !Password_Installed(PasswordSupervisor);
  Store_Set(kSetting_supervisor_access, full ? 1 : 0);
}

UINT32 Gate_Tries() {
  const UINT64 tries = Store_Get(kSetting_password_tries);
  return tries == 0 ? 1 : static_cast<UINT32>(tries);
}
