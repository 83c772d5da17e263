// Scripts for the simulator: one command per line, parsed up front (an error
// names its line) and then run one step each time the utility is idle.
//
//   key NAME [COUNT]        up down left right enter esc tab backspace pgup pgdn
//                           f1 ... f12 space capslock; COUNT separate key
//                           presses
//   type TEXT               one key press per character (UTF-8, BMP only)
//   click X Y               mouse moved to (X, Y), left button pressed, released
//   touch X Y               touch-panel tap at (X, Y)
//   move X Y                mouse moved to (X, Y)
//   time YYYY-MM-DD HH:MM:SS   sets the clock
//   tick SECONDS            advances the clock
//   restart                 installs the restart trigger protocol
//   shot NAME               writes OUT/NAME.png
//   expect-pixel X Y RRGGBB fails the run (status 3) unless the pixel matches
//   quit                    ends the run (status 0)
//   scan CODE [CHAR]        one key press with any scan code and character
//                           (decimal or 0x hex, 0 to 0xFFFF each)
//   mouse DX DY BUTTONS     one raw mouse state: relative counts (-100000 to
//                           100000), buttons bit 0 left, bit 1 right
//   touch-raw X Y BUTTONS   one raw touch-panel state in panel units (0 to
//                           0xFFFFFFFF each axis), active buttons (0 to 0xFF)
//
// '#' at the start of a line, or after a blank, starts a comment (in `type`
// too, so a typed text cannot contain " #").
//
// Each step runs the commands that only look at the screen (shot,
// expect-pixel) and then one command the utility has to react to (an input,
// a clock change, a restart, quit), so a shot that follows a key shows the
// screen after that key was handled.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/efi.h"

namespace fake {

enum class Verb {
  Key,
  CapsLock,
  Click,
  Touch,
  Move,
  Time,
  Tick,
  Restart,
  Shot,
  ExpectPixel,
  Quit,
  MouseState,
  TouchState
};

struct ScriptCommand {
  Verb Kind = Verb::Quit;
  int Line = 0;
  std::string Source;           // the line as written, for messages
  UINT16 ScanCode = 0;          // Key
  CHAR16 Char = 0;              // Key
  UINT32 X = 0, Y = 0;          // Click, Touch, Move, ExpectPixel
  UINT32 Rgb = 0;               // ExpectPixel
  EFI_TIME Time = {};           // Time
  UINT64 Seconds = 0;           // Tick
  std::string Name;             // Shot
  INT32 DeltaX = 0, DeltaY = 0; // MouseState
  UINT64 RawX = 0, RawY = 0;    // TouchState
  UINT32 Buttons = 0;           // MouseState, TouchState
};

// Parses a whole script. On error returns false and sets Error to
// "LINE: message".
bool ParseScript(const std::string& Text, std::vector<ScriptCommand>* Commands, std::string* Error);

struct ScriptRun {
  std::string Name; // the script's file name, for messages
  std::vector<ScriptCommand> Commands;
  size_t Next = 0;
  // Writes a screenshot; returns false with a reason on failure.
  std::function<bool(const std::string& Name, std::string* Error)> Shot;
  // Ends the run: 0 at quit or the end of the script, 3 for a failed
  // expect-pixel, 2 when a shot cannot be written. Message is empty for 0.
  // Expected not to return (the simulator exits; tests throw).
  std::function<void(int Status, const std::string& Message)> Finish;
};

// One idle step (see above). Calls Finish at quit, at the end of the script
// and on a failure.
void ScriptStep(ScriptRun& Run);

} // namespace fake
