// Every value the pages can offer is one the store accepts (the schema's
// ranges), with every row at the top and at the bottom of its control.
#include <sstream>

#include "reference_platform/reference_platform.h"
#include "session_support.h"
#include "setup_data/setup_data_wrappers.h"

namespace {

using namespace session;

// Every setting of the schema with its set operation and range.
struct SchemaRow {
  const char* Name;
  INT32 SetOp;
  UINT64 Min;
  UINT64 Max;
};
constexpr SchemaRow kSchema[] = {
#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default) {#Name, SetOp, Min, Max},
#include "setup_data/settings_schema.inc"
};

const SchemaRow& Info(const std::string& Name) {
  for (const SchemaRow& row : kSchema)
    if (Name == row.Name) return row;
  ADD_FAILURE() << "no setting " << Name;
  return kSchema[0];
}

// The setting written by set operation Op, or null.
const SchemaRow* SettingWrittenBy(INT32 Op) {
  for (const SchemaRow& row : kSchema)
    if (Op >= 0 && row.SetOp == Op) return &row;
  return nullptr;
}

TEST(SchemaRanges, TheLightingTimeMaximumNeverPassesTheTimesRange) {
  // The page offers 0 .. backlight_time_maximum for backlight_lighting_time.
  EXPECT_LE(Info("backlight_time_maximum").Max, Info("backlight_lighting_time").Max);
  EXPECT_GE(Info("backlight_time_maximum").Min, Info("backlight_lighting_time").Min);
  // Scan code 0 is what every character key carries.
  EXPECT_GE(Info("hot_key_scan_code").Min, 1u);
  EXPECT_FALSE(session::SetSetting("hot_key_scan_code", 0)) << "the store refuses a hot key of 0";
}

class SchemaRangesSession : public SessionTest {
protected:
  void StoreExtremes(bool Top) {
    Run({});
    Quorvex_RefreshAllPages();
    const TableCopy* tables = kPristineTables.data();
    for (size_t t = 0; t < kPristineTables.size(); ++t) {
      SetupItem* items = tables[t].Items;
      for (UINT64 i = 0; i < *tables[t].Count; ++i) {
        SetupItem& item = items[i];
        if (item.Kind == ItemOptionCycle) SetItemState(item, Top ? 1 : 0);
        if (item.Kind == ItemDropDown) {
          const UINT64 options = Quorvex_OptionCount(item.Options);
          item.Data = Top && options > 0 ? options - 1 : 0;
        }
      }
    }
    PowerManagementPageItems[PowerRowBacklightLightingTime].Data =
        Top ? PowerBacklightTimeMaximum : 0;
    Trace.clear();
    Quorvex_StoreAllPages();
    size_t checked = 0;
    for (const std::string& line : Trace) {
      std::istringstream in(line);
      std::string op;
      INT32 number = -1;
      UINT64 value = 0;
      if (!(in >> op >> number >> value) || op != "op") continue;
      const SchemaRow* info = SettingWrittenBy(number);
      if (info == nullptr) continue;
      ++checked;
      EXPECT_GE(value, info->Min) << line << " (" << info->Name << ")";
      EXPECT_LE(value, info->Max) << line << " (" << info->Name << ")";
      EXPECT_TRUE(session::SetSetting(info->Name, value)) << "the store refuses " << line;
    }
    EXPECT_GT(checked, 30u) << "every page's settings were written";
    EXPECT_TRUE(TraceHas("op 143 " + std::to_string(Top ? PowerBacklightTimeMaximum : 0)));
  }
};

TEST_F(SchemaRangesSession, EveryOfferedValueIsInsideTheStoresRange) {
  // The platform at the top of its schema range for the time maximum.
  Settings["backlight_time_maximum"] = Info("backlight_time_maximum").Max;
  StoreExtremes(true);
  Fresh();
  StoreExtremes(false);
}

TEST_F(SchemaRangesSession, AHotKeyOfZeroFromTheServiceIsIgnored) {
  // Else every typed character would be the hot key.
  Run({Char(u'a'), kDown, Char(u'b')}, [](size_t Round) {
    if (Round == 0) HotKeyScanCode = 0;
  });
  EXPECT_EQ(TraceCount("op 11"), 0u);
}

} // namespace
