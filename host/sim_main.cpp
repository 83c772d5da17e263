// quorvex-sim: the reference platform and the setup utility on the fake
// firmware, driven by a script (screenshots, pixel checks, the setup data
// operation trace) or interactively in a window.
//
//   quorvex-sim [--mode WxH]... [--settings FILE] [--script FILE] [--out DIR]
//               [--trace] [--window] [--fail-alloc N] [--hostile-service LIST]
//               [--machine-boot KINDS] [--machine-smbios VERSION]
//               [--machine-lang CODE] [--machine-lang-codes LIST]
//               [--gate] [--password KIND=TEXT]...
//
// The --machine switches give the fake firmware what a real machine's has
// (host/fake_machine.h): boot options with a BootOrder, SMBIOS tables, the
// firmware's language variables. When one is given, the run ends with a line
// "machine: BootOrder ... PlatformLang ..." on the standard error.
//
// --gate runs the reference platform's password gate before the utility;
// --password installs a password (KIND supervisor, user, hdd_master or
// hdd_user) before it starts.
//
// The last two are for robustness tests: --fail-alloc N makes the Nth pool
// allocation of the run fail (0: none) and reports at the end how many
// allocations the run made and which blocks are still held;
// --hostile-service lays hostile answers over the setup data service and the
// clock (host/hostile_service.h).
//
// Exit status: 0 at the end of the script, at `quit`, or when the utility
// leaves through the setup data service (the firmware is reset); 1 when the
// utility's entry point returns a non-zero status ("entry returned 0x...");
// 2 for a usage error (command line, script, settings); 3 when an
// expect-pixel fails.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "core/startup.h"
#include "host/fake_firmware.h"
#include "host/fake_machine.h"
#include "host/fake_script.h"
#include "host/hostile_service.h"
#include "host/sim_bench.h"
#include "host/sim_secure_boot.h"
#include "host/sim_settings.h"
#include "host/sim_window.h"
// The boot volume served from the output directory (screenshots).
#include "host/fake_volume.h"
#include "reference_platform/image_display.h"
#include "reference_platform/reference_platform.h"
#include "reference_platform/store.h"

namespace {

constexpr const char* kUsage =
    "usage: quorvex-sim [--mode WxH]... [--settings FILE] [--script FILE] [--out DIR] [--trace] "
    "[--window]\n"
    "                   [--fail-alloc N] [--hostile-service NAME[,NAME...]]\n"
    "                   [--machine-boot KIND[,KIND...]] [--machine-smbios VERSION]\n"
    "                   [--machine-lang CODE] [--machine-lang-codes LIST]\n"
    "  --machine-boot ...     BootOrder and Boot#### options: hdd usb lan odd app shell missing\n"
    "  --machine-smbios V     SMBIOS tables with firmware version V\n"
    "  --machine-lang CODE    PlatformLang (--machine-lang-codes: PlatformLangCodes, a;b;c)\n"
    "                   [--gate] [--password KIND=TEXT]...\n"
    "  --gate                 ask for an installed password before the utility starts\n"
    "  --password KIND=TEXT   install a password (supervisor, user, hdd_master, hdd_user)\n"
    "  --fail-alloc N         the Nth pool allocation of the run fails (0: none); the run ends\n"
    "                         with the allocation count and the blocks still held\n"
    "  --hostile-service ...  hostile answers of the setup data service and the clock:\n"
    "                         ";
constexpr UINT32 kMaxModeSide = 16384;

struct CommandLine {
  std::vector<fake::Mode> Modes;
  std::string SettingsFile;
  std::string ScriptFile;
  std::string OutDir = ".";
  bool OutGiven = false;
  bool Trace = false;
  bool Window = false;
  bool FailAllocGiven = false;
  UINT64 FailAlloc = 0;
  bool Machine = false; // a --machine switch was given
  std::vector<std::string> BootKinds;
  bool SmbiosGiven = false;
  std::string SmbiosVersion;
  std::string PlatformLang;
  std::string PlatformLangCodes;
  bool Gate = false;
  std::vector<std::string> Passwords; // KIND=TEXT
};

// The state the exits need. Plain globals: the run ends from deep inside
// the utility's call stack, through Finish.
CommandLine Args;
std::FILE* TraceFile = nullptr;
std::vector<sim::SettingLine> Settings;
fake::ScriptRun Script;
bool HaveScript = false;
bool Live = false; // the window drives the input (no script, or the script is done)
EFI_HANDLE PlatformImage = nullptr;

void PrintUsage(std::FILE* Out) {
  std::fprintf(Out, "%s%s\n%s", kUsage, sim::Hostile_Names(), sim::SecureBoot_Usage());
  std::fprintf(Out, "  script commands beside the documented ones: scan CODE [CHAR], "
                    "mouse DX DY BUTTONS, touch-raw X Y BUTTONS\n");
}

[[noreturn]] void Usage(const std::string& Message) {
  std::fprintf(stderr, "quorvex-sim: %s\n", Message.c_str());
  PrintUsage(stderr);
  std::exit(2);
}

// Ends the run: flushes the trace, reports leftover pool blocks when
// tracing, closes the window and exits with Status.
[[noreturn]] void Finish(int Status, const std::string& Message) {
  sim::Bench_Mark("end");
  if (!Message.empty()) std::fprintf(stderr, "%s\n", Message.c_str());
  if (Args.Machine) std::fprintf(stderr, "machine: %s\n", fake::DescribeMachine().c_str());
  if (TraceFile) {
    std::fclose(TraceFile);
    TraceFile = nullptr;
  }
  if (Args.FailAllocGiven)
    std::fprintf(stderr, "quorvex-sim: %llu pool allocations, %llu refused\n",
                 static_cast<unsigned long long>(fake::Pool().Allocations),
                 static_cast<unsigned long long>(fake::Pool().FailedAllocations));
  if (Args.Trace || Args.FailAllocGiven) {
    // The platform's decoded pictures go first: which ones it holds depends
    // on what the run drew, and only blocks nobody accounts for are leaks.
    ImageDisplay_ClearCache();
    const fake::PoolStats pool = fake::Pool();
    std::fprintf(stderr, "quorvex-sim: %llu pool blocks outstanding (%llu bytes)\n",
                 static_cast<unsigned long long>(pool.OutstandingCount),
                 static_cast<unsigned long long>(pool.OutstandingBytes));
    const std::vector<std::string> blocks = fake::DescribeOutstanding();
    for (size_t i = 0; i < blocks.size() && i < 50; ++i)
      std::fprintf(stderr, "  %s\n", blocks[i].c_str());
    if (pool.BadFrees)
      std::fprintf(stderr, "quorvex-sim: %llu frees of memory the pool never gave out\n",
                   static_cast<unsigned long long>(pool.BadFrees));
    if (fake::Blt().Rejected)
      std::fprintf(stderr, "quorvex-sim: %llu Blt calls refused (rectangle outside the screen)\n",
                   static_cast<unsigned long long>(fake::Blt().Rejected));
  }
  std::fflush(stdout);
  std::fflush(stderr);
  if (Args.Window) {
    // The window system's libraries keep memory until the process ends; an
    // interactive run is not where leaks are checked.
    sim::Window_Close();
    std::_Exit(Status);
  }
  std::exit(Status);
}

bool ReadFile(const std::string& Path, std::string* Text) {
  std::ifstream in(Path, std::ios::binary);
  if (!in) return false;
  std::ostringstream content;
  content << in.rdbuf();
  *Text = content.str();
  return true;
}

bool ParseMode(const std::string& Text, fake::Mode* Mode) {
  const size_t x = Text.find_first_of("xX");
  if (x == std::string::npos || x == 0 || x + 1 >= Text.size()) return false;
  UINT64 side[2] = {0, 0};
  const std::string parts[2] = {Text.substr(0, x), Text.substr(x + 1)};
  for (int i = 0; i < 2; ++i) {
    if (parts[i].size() > 5) return false;
    for (char c : parts[i]) {
      if (c < '0' || c > '9') return false;
      side[i] = side[i] * 10 + static_cast<UINT64>(c - '0');
    }
    if (side[i] == 0 || side[i] > kMaxModeSide) return false;
  }
  *Mode = {static_cast<UINT32>(side[0]), static_cast<UINT32>(side[1])};
  return true;
}

void ParseCommandLine(int Argc, char** Argv) {
  bool settingsGiven = false;
  bool scriptGiven = false;
  for (int i = 1; i < Argc; ++i) {
    const std::string arg = Argv[i];
    auto value = [&](const char* Option) -> std::string {
      if (i + 1 >= Argc) Usage(std::string(Option) + " needs a value");
      return Argv[++i];
    };
    if (arg == "--mode") {
      const std::string text = value("--mode");
      fake::Mode mode;
      if (!ParseMode(text, &mode))
        Usage("bad mode '" + text + "' (expected WxH, each from 1 to 16384)");
      Args.Modes.push_back(mode);
    } else if (arg == "--settings") {
      if (settingsGiven) Usage("--settings given twice");
      settingsGiven = true;
      Args.SettingsFile = value("--settings");
    } else if (arg == "--script") {
      if (scriptGiven) Usage("--script given twice");
      scriptGiven = true;
      Args.ScriptFile = value("--script");
    } else if (arg == "--out") {
      if (Args.OutGiven) Usage("--out given twice");
      Args.OutGiven = true;
      Args.OutDir = value("--out");
    } else if (arg == "--trace") {
      Args.Trace = true;
    } else if (arg == "--window") {
      Args.Window = true;
    } else if (arg == "--fail-alloc") {
      const std::string text = value("--fail-alloc");
      if (Args.FailAllocGiven) Usage("--fail-alloc given twice");
      char* end = nullptr;
      errno = 0;
      const unsigned long long n = std::strtoull(text.c_str(), &end, 10);
      if (text.empty() || text[0] < '0' || text[0] > '9' || *end != 0 || errno != 0)
        Usage("bad allocation number '" + text + "'");
      Args.FailAllocGiven = true;
      Args.FailAlloc = n;
    } else if (arg == "--hostile-service") {
      std::string error;
      if (!sim::Hostile_Parse(value("--hostile-service"), &error)) Usage(error);
    } else if (sim::SecureBoot_IsOption(arg)) {
      std::string error;
      if (sim::SecureBoot_Option(arg, value(arg.c_str()), &error) && !error.empty()) Usage(error);
    } else if (arg == "--machine-boot") {
      std::string error;
      if (!fake::ParseBootKinds(value("--machine-boot"), &Args.BootKinds, &error)) Usage(error);
      Args.Machine = true;
    } else if (arg == "--machine-smbios") {
      Args.SmbiosVersion = value("--machine-smbios");
      Args.SmbiosGiven = Args.Machine = true;
    } else if (arg == "--machine-lang") {
      Args.PlatformLang = value("--machine-lang");
      if (Args.PlatformLang.empty()) Usage("--machine-lang needs a language code");
      Args.Machine = true;
    } else if (arg == "--machine-lang-codes") {
      Args.PlatformLangCodes = value("--machine-lang-codes");
      Args.Machine = true;
    } else if (arg == "--gate") {
      Args.Gate = true;
    } else if (arg == "--password") {
      const std::string text = value("--password");
      if (text.find('=') == std::string::npos) Usage("--password needs KIND=TEXT");
      Args.Passwords.push_back(text);
    } else if (arg == "--help" || arg == "-h") {
      PrintUsage(stdout);
      std::exit(0);
    } else {
      Usage("unknown argument '" + arg + "'");
    }
  }
  if (Args.Modes.empty()) Args.Modes.push_back({1024, 768});
}

void LoadScript() {
  if (Args.ScriptFile.empty()) return;
  std::string text;
  if (!ReadFile(Args.ScriptFile, &text)) Usage("cannot read script " + Args.ScriptFile);
  std::string error;
  if (!fake::ParseScript(text, &Script.Commands, &error)) Usage(Args.ScriptFile + ":" + error);
  Script.Name = Args.ScriptFile;
  HaveScript = true;
}

void LoadSettings() {
  if (Args.SettingsFile.empty()) return;
  std::string text;
  if (!ReadFile(Args.SettingsFile, &text)) Usage("cannot read settings " + Args.SettingsFile);
  std::string error;
  if (!sim::ParseSettings(text, &Settings, &error)) Usage(Args.SettingsFile + ":" + error);
}

// mkdir -p
void MakeOutDir() {
  std::string path;
  const std::string& dir = Args.OutDir;
  for (size_t i = 0; i <= dir.size(); ++i) {
    if (i == dir.size() || dir[i] == '/') {
      if (!path.empty() && mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
        Usage("cannot create " + path + ": " + std::strerror(errno));
    }
    if (i < dir.size()) path += dir[i];
  }
  struct stat info;
  if (stat(dir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
    Usage("--out " + dir + " is not a directory");
}

std::string OutPath(const std::string& Name) {
  return Args.OutDir.empty() || Args.OutDir.back() == '/' ? Args.OutDir + Name
                                                          : Args.OutDir + "/" + Name;
}

// The launcher calls this once its store is loaded, before the utility
// starts: the --settings lines go over the defaults.
void ApplySettings() {
  if (sim::Hostile_Active()) sim::Hostile_Install();
  for (const sim::SettingLine& s : Settings) {
    if (!Store_SetByName(s.Name.c_str(), s.Value))
      Finish(2, Args.SettingsFile + ":" + std::to_string(s.Line) + ": '" + s.Name +
                    "' is not a setting that can be set, or " + std::to_string(s.Value) +
                    " is outside its range");
  }
  for (const std::string& p : Args.Passwords) {
    const size_t equals = p.find('=');
    if (!Password_SetByName(p.substr(0, equals).c_str(), p.substr(equals + 1).c_str()))
      Finish(2, "--password " + p.substr(0, equals) +
                    ": unknown kind, or the text is not printable ASCII within the maximum length");
  }
}

void WriteTraceLine(const char* Line) {
  if (TraceFile == nullptr) return;
  std::fputs(Line, TraceFile);
  std::fputc('\n', TraceFile);
}

bool WriteShot(const std::string& Name, std::string* Error) {
  return fake::WritePng(OutPath(Name + ".png"), Error);
}

void OnIdle() {
  if (!Live) sim::Bench_Mark("idle");
  if (Live || !HaveScript) {
    // Nothing to deliver: without a window the run is over.
    if (!Args.Window) Finish(0, "");
    return;
  }
  fake::ScriptStep(Script);
}

void OnScriptEnd(int Status, const std::string& Message) {
  if (Status == 0 && Args.Window) {
    // The window stays open with the keyboard and mouse in charge.
    Live = true;
    return;
  }
  Finish(Status, Message);
}

void OnImageReturn(EFI_HANDLE Image, EFI_STATUS Status) {
  if (Image == PlatformImage) return;
  std::printf("entry returned 0x%016llX\n", static_cast<unsigned long long>(Status));
  Finish(Status == EFI_SUCCESS ? 0 : 1, "");
}

} // namespace

int main(int argc, char** argv) {
  ParseCommandLine(argc, argv);
  LoadScript();
  LoadSettings();
  MakeOutDir();

  fake::SetDefaultImageEntry(_ModuleEntryPoint);
  fake::Options options;
  options.Modes = Args.Modes;
  fake::Reset(options);
  sim::SecureBoot_Apply();
  if (!Args.BootKinds.empty()) fake::InstallBootOptions(Args.BootKinds);
  if (Args.SmbiosGiven) fake::InstallSmbios(Args.SmbiosVersion);
  if (!Args.PlatformLang.empty() || !Args.PlatformLangCodes.empty())
    fake::SetPlatformLang(Args.PlatformLang, Args.PlatformLangCodes);
  sim::Bench_Start();
  // The boot volume is the output directory: the screenshot key's pictures
  // land in DIR/screenshots/.
  fake::ServeVolumeDirectory(Args.OutDir);
  // Console text goes to stderr when tracing (the reference platform also
  // reports on its serial port, which the host build writes to stderr).
  if (Args.Trace)
    fake::SetConsoleEcho([](const std::string& Text) { std::fputs(Text.c_str(), stderr); });
  fake::SetResetHandler([](EFI_RESET_TYPE, EFI_STATUS) { Finish(0, ""); });
  fake::SetImageReturnHandler(OnImageReturn);
  fake::SetIdleHandler(OnIdle);
  Script.Shot = WriteShot;
  Script.Finish = OnScriptEnd;

  if (Args.Trace) {
    const std::string path = OutPath("trace.txt");
    TraceFile = std::fopen(path.c_str(), "w");
    if (TraceFile == nullptr) Usage("cannot write " + path + ": " + std::strerror(errno));
    // Line by line, so a run that dies still leaves the operations before it.
    std::setvbuf(TraceFile, nullptr, _IOLBF, 0);
    SetupDataTraceSink = WriteTraceLine;
  }
  PlatformStartHook = ApplySettings;
  PlatformGateEnabled = Args.Gate;

  if (Args.Window) {
    std::string error;
    if (!sim::Window_Open([] { Finish(0, ""); }, &error)) Usage("cannot open a window: " + error);
    fake::SetReadHook(sim::Window_Pump);
    if (!HaveScript) {
      Live = true;
      fake::SetClockFollowsHost(true);
    }
  }

  PlatformImage = fake::CreateImageHandle(u"\\EFI\\BOOT\\BOOTX64.EFI");
  if (Args.FailAlloc) fake::FailAllocation(Args.FailAlloc);
  const fake::RunResult result = fake::RunImage(QuorvexPlatform_EntryPoint, PlatformImage);
  // The launcher came back without the utility ending the run: it could not
  // start it.
  std::printf("platform returned 0x%016llX\n", static_cast<unsigned long long>(result.Status));
  Finish(result.Status == EFI_SUCCESS ? 0 : 1, "");
}
