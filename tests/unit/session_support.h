// Runs the whole product (reference platform launcher, then the utility) on a
// fresh fake firmware, one key per idle round as the simulator delivers its
// script, and collects the setup data trace and the page state after each
// key. Every utility module is put back to its power-on state first, the
// page tables included.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "input/keyboard.h"
#include "core/main_loop.h"
#include "core/startup.h"
#include "graphics/graphics_state.h"
#include "graphics/windows.h"
#include "host/fake_firmware_fixture.h"
#include "input/mouse.h"
#include "input/virtual_keyboard.h"
#include "pages/advanced_page.h"
#include "pages/boot_order.h"
#include "pages/main_page.h"
#include "pages/page_common.h"
#include "pages/pages.h"
#include "pages/security_page.h"
#include "pages/sysconfig_page.h"
#include "reference_platform/image_display.h"
#include "reference_platform/platform_reset.h"
#include "reference_platform/reference_platform.h"
#include "setup_data/advanced_page_table.h"
#include "setup_data/exit_page_table.h"
#include "setup_data/main_page_table.h"
#include "setup_data/power_page_table.h"
#include "setup_data/security_page_table.h"
#include "setup_data/sysconfig_page_table.h"
#include "setup_data/text_table.h"

namespace session {

// A page table as the program starts with it.
struct TableCopy {
  SetupItem* Items;
  UINT64* Count;
  std::vector<SetupItem> Rows;
  UINT64 CountValue;
};

inline TableCopy Copy(SetupItem* Items, UINT64* Count) {
  return {Items, Count, std::vector<SetupItem>(Items, Items + *Count), *Count};
}

// Taken during static initialisation, before any test changes a table.
inline const std::vector<TableCopy> kPristineTables = {
    Copy(MainPageItems, &MainPageItemCount),
    Copy(SecurityPageItems, &SecurityPageItemCount),
    Copy(PowerManagementPageItems, &PowerManagementPageItemCount),
    Copy(AdvancedPageItems, &AdvancedPageItemCount),
    Copy(SystemConfigurationPageItems, &SystemConfigurationPageItemCount),
    Copy(ExitPageItems, &ExitPageItemCount),
};
inline const std::vector<const CHAR16*> kPristineLanguages(MainLanguageOptions,
                                                           MainLanguageOptions + 4);
inline const std::vector<const CHAR16*> kPristineSleepCharge(AdvancedSleepChargeOptions,
                                                             AdvancedSleepChargeOptions +
                                                                 kAdvancedSleepChargeSlots);
inline const std::vector<const CHAR16*> kPristinePorts(SysConfigExternalDisplayOptions,
                                                       SysConfigExternalDisplayOptions +
                                                           kSysConfigExternalDisplaySlots);

inline void RestoreUtility() {
  for (const TableCopy& table : kPristineTables) {
    std::copy(table.Rows.begin(), table.Rows.end(), table.Items);
    *table.Count = table.CountValue;
  }
  std::copy(kPristineLanguages.begin(), kPristineLanguages.end(), MainLanguageOptions);
  std::copy(kPristineSleepCharge.begin(), kPristineSleepCharge.end(), AdvancedSleepChargeOptions);
  std::copy(kPristinePorts.begin(), kPristinePorts.end(), SysConfigExternalDisplayOptions);
  Quorvex_Utility_Reset();
  Platform_ResetAll();
}

struct Key {
  UINT16 Scan;
  CHAR16 Char;
};
constexpr Key kUp{SCAN_UP, 0};
constexpr Key kDown{SCAN_DOWN, 0};
constexpr Key kRight{SCAN_RIGHT, 0};
constexpr Key kLeft{SCAN_LEFT, 0};
constexpr Key kPageUp{SCAN_PAGE_UP, 0};
constexpr Key kPageDown{SCAN_PAGE_DOWN, 0};
constexpr Key kEnter{0, CHAR_CARRIAGE_RETURN};
constexpr Key kEsc{SCAN_ESC, 0};
constexpr Key kTab{0, CHAR_TAB};
constexpr Key kF1{SCAN_F1, 0};
constexpr Key kF9{SCAN_F9, 0};
constexpr Key kF10{SCAN_F10, 0};
constexpr Key kF12{SCAN_F12, 0};
constexpr Key Char(CHAR16 C) {
  return {0, C};
}

inline std::vector<Key> Repeat(Key K, size_t N) {
  return std::vector<Key>(N, K);
}
inline std::vector<Key> Join(std::initializer_list<std::vector<Key>> Parts) {
  std::vector<Key> all;
  for (const auto& part : Parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

inline std::vector<std::string>*& TraceSink() {
  static std::vector<std::string>* sink = nullptr;
  return sink;
}
inline void CollectTrace(const char* Line) {
  if (TraceSink()) TraceSink()->push_back(Line);
}
inline std::map<std::string, UINT64>*& SettingsSource() {
  static std::map<std::string, UINT64>* settings = nullptr;
  return settings;
}

// Sets one setting in the store by its schema name (session_settings.cpp:
// the store's header and the Security page's both name a PasswordKind).
bool SetSetting(const std::string& Name, UINT64 Value);

} // namespace session

class SessionTest : public FakeFirmwareTest {
protected:
  void SetUp() override {
    FakeFirmwareTest::SetUp();
    // Runs are stopped inside the utility's loops, which legitimately still
    // hold their long-lived blocks (saved tab pixels, cursor save-under).
    CheckPool = false;
    session::RestoreUtility();
    session::TraceSink() = &Trace;
    SetupDataTraceSink = session::CollectTrace;
    session::SettingsSource() = &Settings;
    PlatformStartHook = [] {
      for (const auto& [name, value] : *session::SettingsSource()) {
        ASSERT_TRUE(session::SetSetting(name, value)) << name;
      }
    };
  }

  // Frees what the graphics modules and the platform's picture cache hold
  // while their firmware still lives.
  static void ReleaseFirmwareState() {
    Quorvex_Graphics_Reset();
    ImageDisplay_ClearCache();
    Quorvex_Mouse_RemoveWrappers();
  }

  void TearDown() override {
    ReleaseFirmwareState();
    // Later tests see the tables and globals as the program starts.
    session::RestoreUtility();
    SetupDataTraceSink = nullptr;
    PlatformStartHook = nullptr;
    session::TraceSink() = nullptr;
    session::SettingsSource() = nullptr;
    FakeFirmwareTest::TearDown();
  }

  // A new firmware and a utility at its power-on state, for a second session
  // in the same test. The trace is emptied; the settings stay.
  void Fresh() {
    ReleaseFirmwareState();
    fake::Reset(FirmwareOptions());
    session::RestoreUtility();
    Trace.clear();
  }

  // Starts the product and hands it Keys one per idle round; stops at the
  // idle after the last key. States[i] is PageState before key i (and, last,
  // after every key). OnIdle, when set, runs at every idle round first.
  fake::RunResult Run(const std::vector<session::Key>& Keys,
                      std::function<void(size_t Round)> OnIdle = nullptr) {
    States.clear();
    return RunUntilIdle(QuorvexPlatform_EntryPoint, static_cast<int>(Keys.size()) + 2,
                        [&](int Round) {
                          const size_t round = static_cast<size_t>(Round);
                          States.push_back(PageState);
                          if (OnIdle) OnIdle(round);
                          if (round < Keys.size())
                            fake::PushKey(Keys[round].Scan, Keys[round].Char);
                        });
  }

  bool TraceHas(const std::string& Line) const {
    return std::find(Trace.begin(), Trace.end(), Line) != Trace.end();
  }
  size_t TraceCount(const std::string& Prefix) const {
    size_t n = 0;
    for (const std::string& line : Trace) {
      if (line == Prefix || line.rfind(Prefix + " ", 0) == 0) ++n;
    }
    return n;
  }

  std::map<std::string, UINT64> Settings;
  std::vector<std::string> Trace;
  std::vector<UINT32> States;
};
