// The option pages' rules: mode and port lists, the packed boot order, and in
// sessions row dependencies, lighting-time limits and Esc in lists and dialogs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/session_support.h"

namespace {

using namespace session;

TEST(SleepAndCharge, StoredModesMapToTheListAndBack) {
  const SleepChargeSupport all = {true, true, true};
  const SleepChargeSupport autoOnly = {true, false, true};
  const SleepChargeSupport typicalOnly = {false, true, true};
  const SleepChargeSupport none = {false, false, true};
  for (const SleepChargeSupport& s : {all, autoOnly, typicalOnly, none}) {
    const CHAR16* options[kAdvancedSleepChargeSlots] = {};
    const UINT64 count = Quorvex_SleepCharge_BuildOptions(s, options);
    for (UINT64 index = 0; index < count; ++index) {
      const UINT64 stored = Quorvex_SleepCharge_IndexToStored(s, index);
      EXPECT_EQ(options[index], AdvancedSleepChargeModeTexts[stored])
          << "row " << index << " stores the mode it shows";
      EXPECT_EQ(Quorvex_SleepCharge_StoredToIndex(s, stored), index);
    }
  }
  // Without alternate support the mapping still sends a stored alternate
  // mode past the list; the option array's spare slot keeps that in bounds.
  const SleepChargeSupport noAlternate = {true, true, false};
  EXPECT_EQ(Quorvex_SleepCharge_StoredToIndex(noAlternate, SleepChargeAlternate), 3u);
  EXPECT_EQ(Quorvex_SleepCharge_StoredToIndex(all, 9), 0u) << "no such mode";
}

TEST(ExternalPorts, AbsentPortsAreDroppedAndTheRestMovedUp) {
  UINT32 codes[4] = {ExternalPortAnalogRgb, ExternalPortHdmi, ExternalPortDvi,
                     ExternalPortDisplayPort};
  const UINT8 present[4] = {0, 1, 0, 1};
  ASSERT_TRUE(Quorvex_SysConfig_CompactPorts(codes, present));
  EXPECT_EQ(std::vector<UINT32>(codes, codes + 4),
            (std::vector<UINT32>{ExternalPortHdmi, ExternalPortDisplayPort, ExternalPortNone,
                                 ExternalPortNone}));
  const CHAR16* options[kSysConfigExternalDisplaySlots] = {};
  EXPECT_EQ(Quorvex_SysConfig_PortOptions(codes, options), 2u);
  EXPECT_EQ(options[0], SysConfigPortTypeTexts[ExternalPortHdmi]);
  EXPECT_EQ(options[2], nullptr);

  UINT32 none[4] = {0, 1, 2, 3};
  const UINT8 absent[4] = {0, 0, 0, 0};
  EXPECT_FALSE(Quorvex_SysConfig_CompactPorts(none, absent));

  // A code that names no port type ends the list.
  const UINT32 odd[4] = {ExternalPortDvi, 9, ExternalPortHdmi, ExternalPortNone};
  EXPECT_EQ(Quorvex_SysConfig_PortOptions(odd, options), 1u);
}

// The class order shown for a packed order: Count positions.
std::vector<UINT64> Unpacked(UINT64 Packed, UINT64 Count) {
  std::vector<UINT64> order(Count, 9);
  Quorvex_BootOrder_Unpack(Packed, Count, order.data());
  return order;
}

TEST(BootOrderPacking, PacksFourBitsPerPositionAndBrokenOrdersStillNameEveryClassOnce) {
  using V = std::vector<UINT64>;
  EXPECT_EQ(Unpacked(0x4321, 4), (V{0, 1, 2, 3}));
  const UINT64 swapped[4] = {1, 0, 2, 3};
  EXPECT_EQ(Quorvex_BootOrder_Pack(0x4321, 4, swapped), 0x4312u);
  // Two shown positions: the others' nibbles are kept as they were.
  const UINT64 two[2] = {2, 0};
  EXPECT_EQ(Quorvex_BootOrder_Pack(0x4321, 2, two), 0x4313u);

  EXPECT_EQ(Unpacked(0, 4), (V{0, 1, 2, 3})) << "empty: class order";
  EXPECT_EQ(Unpacked(0x4320, 4), (V{0, 1, 2, 3})) << "a zero first nibble empties the order";
  EXPECT_EQ(Unpacked(0x4320, 2), (V{0, 1}));
  EXPECT_EQ(Unpacked(0x1133, 4), (V{2, 0, 1, 3})) << "a repeated class ends the list";
  EXPECT_EQ(Unpacked(0x0F2, 3), (V{1, 0, 2})) << "nibble 15 names no class";
}

class PageRulesTest : public SessionTest {};

const std::vector<Key> kIntoPower = {kDown, kDown, kRight};
const std::vector<Key> kIntoAdvanced = {kDown, kDown, kDown, kRight};
std::vector<Key> IntoSubPage() {
  return Join({kIntoAdvanced, Repeat(kDown, 13), {kEnter}});
}

TEST_F(PageRulesTest, LightingTimeOnlyInTimerModeAndWithinItsLimits) {
  Settings["keyboard_backlight_mode"] = 1; // ON
  Run(Join({kIntoPower, Repeat(kDown, 12), {kF10, kEnter}}));
  EXPECT_EQ(PowerManagementPageItems[PowerRowBacklightLightingTime].Hidden, 1);
  EXPECT_EQ(PowerManagementPageItems[PowerRowInternalUsb3].Selected, 1);
  EXPECT_TRUE(TraceHas("op 143 15")) << "the hidden time is saved unchanged";

  Fresh();
  Settings["keyboard_backlight_mode"] = 0;
  Settings["backlight_lighting_time"] = 60;
  Settings["backlight_time_maximum"] = 60;
  Run(Join({kIntoPower, Repeat(kDown, 10), {Char(u'+'), Char(u'+'), Char(u'-')}}));
  EXPECT_EQ(PowerManagementPageItems[PowerRowBacklightLightingTime].Data, 59u);

  Fresh();
  Settings["backlight_lighting_time"] = 0;
  Run(Join({kIntoPower, Repeat(kDown, 10), {Char(u'-')}, {kUp, Char(u'+')}}));
  EXPECT_EQ(PowerManagementPageItems[PowerRowBacklightLightingTime].Data, 0u)
      << "'-' stops at 0 and '+' does nothing on another row";
}

TEST_F(PageRulesTest, SecureBootForcesUefiBootAndCsmShowsSataHidesTpm) {
  Settings["boot_mode"] = 1;
  Run({});
  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowBootMode].Data, 0u);
  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowBootMode].GreyedOut, 1);

  Fresh();
  Settings["secure_boot"] = 0;
  Settings["boot_mode"] = 0;
  // Into the sub-page, down to Boot Mode (SATA is hidden), choose CSM.
  Run(Join({IntoSubPage(), {kDown, kDown, kDown, kEnter, kDown, kEnter}}));
  EXPECT_EQ(States.back(), kStateAdvancedSubPage);
  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowBootMode].Data, 1u);
  EXPECT_EQ(SystemConfigurationPageItems[SysConfigRowSataControllerMode].Hidden, 0);
  EXPECT_EQ(SecurityPageItems[SecurityRowTpm].Hidden, 1);
}

TEST_F(PageRulesTest, EscInAListRestoresTheValueHeldAtOpeningOrAfterF9) {
  Settings["boot_speed"] = 1;
  Run(Join({kIntoAdvanced, {kEnter, kUp, kEsc}}));
  EXPECT_EQ(AdvancedPageItems[AdvancedRowBootSpeed].Data, 1u);
  EXPECT_EQ(AdvancedPageItems[AdvancedRowBootSpeed].Value & 0xFF, 0u) << "the list is closed";

  Fresh();
  Run(Join({kIntoAdvanced, {kEnter, kF9, kEnter, kDown, kEsc}}));
  EXPECT_EQ(AdvancedPageItems[AdvancedRowBootSpeed].Data, 0u)
      << "after F9, Esc goes back to the defaulted value";
}

TEST_F(PageRulesTest, EscInTheBootOrderDialogRestoresTheOrder) {
  const std::vector<Key> toDialog = Join({kIntoAdvanced, Repeat(kDown, 12), {kEnter}});
  Run(Join({toDialog, {Char(u'-'), Char(u'-'), kEsc}}));
  EXPECT_EQ(BootOrderPacked, 0x4321u) << "Esc restores the order held on entry";
  EXPECT_EQ(States.back(), kStateAdvancedPage);
}

} // namespace
