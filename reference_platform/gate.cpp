// The gate's run: the window, the tries and the power-off (the decisions are
// in gate_check.cpp).
#include "reference_platform/gate.h"

#include "platform/lib.h"
#include "reference_platform/gate_input.h"
#include "reference_platform/gate_screen.h"
#include "reference_platform/passwords.h"
#include "reference_platform/platform_context.h"
#include "reference_platform/serial.h"
#include "reference_platform/store.h"
#include "reference_platform/reference_platform.h"
#include "setup_data/text_constants.h"

constinit bool PlatformGateEnabled = true;

namespace {

constexpr UINTN kAnswerUnits = kPasswordMaxUnits + 1;
// The shutdown notice stays this long (in steps of a tenth of a second).
constexpr UINTN kShutdownSteps = 30;
constexpr UINTN kStepMicroseconds = 100000;

// The answer being typed. Not a pool block: a gate that could not allocate
// would have to choose between letting the start through and powering off.
// Wiped after every check, on a restart and before the gate returns.
constinit CHAR16 gAnswer[kAnswerUnits] = {};
constinit bool gPowerOnAnswered = false;
constinit volatile bool gRestartSeen = false;

void EFIAPI OnRestart(EFI_EVENT, void*) {
  gRestartSeen = true;
}

// The restart trigger's installation (the firmware asking for the screen to
// be built again) is watched while the gate runs.
EFI_EVENT WatchRestart() {
  EFI_EVENT event = nullptr;
  if (!PlatformBootServices->CreateEvent || !PlatformBootServices->RegisterProtocolNotify)
    return nullptr;
  if (EFI_ERROR(PlatformBootServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnRestart,
                                                  nullptr, &event)))
    return nullptr;
  void* registration = nullptr;
  PlatformBootServices->RegisterProtocolNotify(&kRestartTriggerGuid, event, &registration);
  return event;
}

// A damaged or unreadable record means the store runs on its defaults,
// without passwords (docs/password-store.md): said on the serial port every
// time the gate would have asked.
void ReportStore() {
  switch (Store_LastLoadResult()) {
  case StoreCorrupt:
    Serial_WriteLine("Quorvex gate: the saved settings record is damaged; its passwords are "
                     "lost and none is asked");
    break;
  case StoreUnreadable:
    Serial_WriteLine("Quorvex gate: the saved settings record cannot be read; no password is "
                     "asked");
    break;
  default:
    break;
  }
}

UINTN MaximumUnits() {
  const UINT64 platform = Store_Get(kSetting_max_password_length);
  return platform < kPasswordMaxUnits ? static_cast<UINTN>(platform) : kPasswordMaxUnits;
}

UINT32 StoredLanguage() {
  const UINT64 language = Store_Get(kSetting_language);
  if (language == 1 && Store_Get(kSetting_japanese_available)) return 1;
  if (language == 2 && Store_Get(kSetting_french_available)) return 2;
  return 0;
}

struct Session {
  GatePurpose Purpose;
  GateScreen Screen;
  bool Drawn; // a graphics output was found
  GateInput Input;
  bool Keyboard;
  UINTN Length;
  GateCursor Cursor;
};

// Drawing takes the mouse cursor down first and puts it back afterwards.
struct CursorDown {
  explicit CursorDown(Session* S) : S_(S), Was_(S->Cursor.Up) {
    if (S_->Drawn) GateCursor_Hide(S_->Screen, &S_->Cursor);
  }
  ~CursorDown() {
    if (S_->Drawn && Was_)
      GateCursor_Show(S_->Screen, &S_->Cursor, static_cast<UINT64>(S_->Input.CursorX),
                      static_cast<UINT64>(S_->Input.CursorY));
  }
  CursorDown(const CursorDown&) = delete;
  CursorDown& operator=(const CursorDown&) = delete;

private:
  Session* S_;
  bool Was_;
};

// One round of input; the cursor follows the mouse.
GateKey Read(Session* S) {
  const GateKey key = GateInput_Read(&S->Input, S->Screen);
  if (S->Drawn && S->Input.CursorMoved)
    GateCursor_Show(S->Screen, &S->Cursor, static_cast<UINT64>(S->Input.CursorX),
                    static_cast<UINT64>(S->Input.CursorY));
  return key;
}

void Wipe(Session* S) {
  MemWipe(gAnswer, sizeof(gAnswer));
  S->Length = 0;
}

void OpenScreen(Session* S) {
  S->Drawn = GateScreen_Open(&S->Screen, S->Keyboard, StoredLanguage());
  if (!S->Drawn) {
    Serial_WriteLine("Quorvex gate: no graphics output, the password is asked without a window");
  }
}

void DrawWindow(Session* S) {
  if (!S->Drawn) return;
  CursorDown down(S);
  GateScreen_DrawAll(S->Screen, GateScreen_Text(S->Screen, kText_SecurityGateEnterPassword),
                     S->Length, S->Input.Caps, S->Input.Shift);
}

// A restart: whatever was typed goes, and the window is built again on the
// screen as it now is.
void Restart(Session* S) {
  gRestartSeen = false;
  Wipe(S);
  S->Cursor.Up = false; // the screen is drawn anew: nothing to put back
  if (S->Drawn) GateScreen_Close(&S->Screen);
  OpenScreen(S);
  DrawWindow(S);
  GateInput_Drain(&S->Input);
}

// Reads one answer into gAnswer; returns when Enter is pressed or tapped.
void Ask(Session* S) {
  Wipe(S);
  DrawWindow(S);
  GateInput_Drain(&S->Input);
  const UINTN maximum = MaximumUnits();
  for (;;) {
    if (gRestartSeen) Restart(S);
    const GateKey key = Read(S);
    if (S->Input.KeyboardRedraw) {
      S->Input.KeyboardRedraw = false;
      CursorDown down(S);
      if (S->Drawn) GateScreen_DrawKeyboard(S->Screen, S->Input.Caps, S->Input.Shift);
    }
    switch (key.Kind) {
    case GateKeyEnter:
      return;
    case GateKeyCharacter:
      // Over-long input stops at the maximum: further keys type nothing.
      if (S->Length < maximum) {
        gAnswer[S->Length++] = key.Character;
        gAnswer[S->Length] = 0;
        CursorDown down(S);
        if (S->Drawn) GateScreen_DrawField(S->Screen, S->Length);
      }
      break;
    case GateKeyBackspace:
      if (S->Length > 0) {
        gAnswer[--S->Length] = 0;
        CursorDown down(S);
        if (S->Drawn) GateScreen_DrawField(S->Screen, S->Length);
      }
      break;
    default:
      break;
    }
  }
}

// The red notice after a wrong answer; Enter or a tap anywhere goes on.
void NoticeWrong(Session* S) {
  if (S->Drawn) {
    CursorDown down(S);
    GateScreen_DrawMessage(S->Screen, GateScreen_Text(S->Screen, kText_SecurityVerifyError),
                           GateScreen_Text(S->Screen, kText_SecurityPressEnterToContinue),
                           GateScreen_Text(S->Screen, kText_SecurityEnterButton));
  }
  GateInput_Drain(&S->Input);
  for (;;) {
    if (gRestartSeen) return; // the next Ask builds the window again
    const GateKey key = Read(S);
    S->Input.KeyboardRedraw = false;
    if (key.Kind == GateKeyEnter || S->Input.Tapped) return;
  }
}

[[noreturn]] void PowerOff(Session* S) {
  Serial_WriteLine("Quorvex gate: too many wrong passwords, powering off");
  if (S->Drawn) {
    GateCursor_Hide(S->Screen, &S->Cursor);
    GateScreen_DrawMessage(S->Screen, GateScreen_Text(S->Screen, kText_SecurityVerifyError),
                           GateScreen_Text(S->Screen, kText_SecuritySystemShuttingDown),
                           GateScreen_Text(S->Screen, kText_CommonOk));
  }
  for (UINTN step = 0; step < kShutdownSteps; ++step) {
    // Input is read and dropped: the notice cannot be answered.
    GateInput_Read(&S->Input, S->Screen);
    if (PlatformBootServices->Stall) PlatformBootServices->Stall(kStepMicroseconds);
  }
  if (PlatformRuntimeServices && PlatformRuntimeServices->ResetSystem)
    PlatformRuntimeServices->ResetSystem(EfiResetShutdown, EFI_SECURITY_VIOLATION, 0, nullptr);
  // A firmware that does not power off still never starts anything.
  for (;;) {
    if (PlatformBootServices->Stall) PlatformBootServices->Stall(kStepMicroseconds);
  }
}

} // namespace

GateOutcome Gate_Run(GatePurpose Purpose) {
  ReportStore();
  if (Purpose == GatePurposePowerOn && gPowerOnAnswered) return GateOutcomeNotAsked;
  if (!PlatformBootServices || !Gate_Needed(Purpose)) {
    Gate_Grant(Purpose, GateOutcomeNotAsked);
    return GateOutcomeNotAsked;
  }
  Session session;
  MemFill(&session, 0, sizeof(session));
  session.Purpose = Purpose;
  const bool touch = GateInput_Open(&session.Input);
  session.Keyboard = touch && Store_Get(kSetting_virtual_keyboard_enabled) != 0;
  gRestartSeen = false;
  OpenScreen(&session);
  EFI_EVENT restart = WatchRestart();
  Serial_WriteLine(Purpose == GatePurposePowerOn ? "Quorvex gate: power-on password asked"
                                                 : "Quorvex gate: password asked before the setup");

  const UINT32 tries = Gate_Tries();
  GateAnswer answer = GateAnswerWrong;
  for (UINT32 wrong = 0;;) {
    Ask(&session);
    answer = Gate_Check(Purpose, gAnswer);
    Wipe(&session);
    if (session.Drawn) {
      CursorDown down(&session);
      GateScreen_DrawField(session.Screen, 0);
    }
    if (answer != GateAnswerWrong) break;
    AsciiLine line;
    AsciiLine_Start(&line, "Quorvex gate: wrong password (");
    AsciiLine_AppendDecimal(&line, ++wrong);
    AsciiLine_Append(&line, " of ");
    AsciiLine_AppendDecimal(&line, tries);
    AsciiLine_Append(&line, ")");
    Serial_WriteLine(line.Text);
    if (wrong >= tries) PowerOff(&session);
    NoticeWrong(&session);
  }

  if (restart && PlatformBootServices->CloseEvent) PlatformBootServices->CloseEvent(restart);
  if (session.Drawn) {
    GateCursor_Hide(session.Screen, &session.Cursor);
    GateScreen_Close(&session.Screen);
  }
  MemWipe(&session, sizeof(session));
  const GateOutcome outcome =
      answer == GateAnswerSupervisor ? GateOutcomeSupervisor : GateOutcomeUser;
  Serial_WriteLine(outcome == GateOutcomeSupervisor ? "Quorvex gate: supervisor password given"
                                                    : "Quorvex gate: user password given");
  if (Purpose == GatePurposePowerOn) gPowerOnAnswered = true;
  Gate_Grant(Purpose, outcome);
  return outcome;
}

void Gate_Reset() {
  MemWipe(gAnswer, sizeof(gAnswer));
  gPowerOnAnswered = false;
  gRestartSeen = false;
}
