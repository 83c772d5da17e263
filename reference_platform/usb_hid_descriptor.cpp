// HID report-descriptor parser (see usb_hid_descriptor.h).
//
// A descriptor is a sequence of items. A short item is a prefix byte (size in
// bits 0-1: 0, 1, 2 or 4 data bytes; type in bits 2-3: main, global, local;
// tag in bits 4-7) and its data, little endian. A long item (prefix 0xFE)
// carries its data size in the next byte and is skipped. Global items set
// state that holds until changed (usage page, logical range, report size,
// count and ID) and can be pushed and popped; local items (usages) apply to
// the next main item only. Input main items lay fields into the report of
// the current report ID, one after the other.
#include "reference_platform/usb_hid_descriptor.h"

namespace {

constexpr UINT32 kMaxUsages = 16;
constexpr UINT32 kMaxStackDepth = 8;
constexpr UINT32 kMaxCollectionDepth = 32;
constexpr UINT64 kMaxReportBits = 8ull * 4096;

enum ItemType : UINT8 { kMain = 0, kGlobal = 1, kLocal = 2, kReserved = 3 };

// Main item tags.
constexpr UINT8 kInput = 0x8;
constexpr UINT8 kOutput = 0x9;
constexpr UINT8 kCollection = 0xA;
constexpr UINT8 kFeature = 0xB;
constexpr UINT8 kEndCollection = 0xC;

// Global item tags.
constexpr UINT8 kUsagePage = 0x0;
constexpr UINT8 kLogicalMin = 0x1;
constexpr UINT8 kLogicalMax = 0x2;
constexpr UINT8 kPhysicalMin = 0x3;
constexpr UINT8 kPhysicalMax = 0x4;
constexpr UINT8 kUnitExponent = 0x5;
constexpr UINT8 kUnit = 0x6;
constexpr UINT8 kReportSize = 0x7;
constexpr UINT8 kReportId = 0x8;
constexpr UINT8 kReportCount = 0x9;
constexpr UINT8 kPush = 0xA;
constexpr UINT8 kPop = 0xB;

// Local item tags.
constexpr UINT8 kUsage = 0x0;
constexpr UINT8 kUsageMin = 0x1;
constexpr UINT8 kUsageMax = 0x2;

// Input item flags.
constexpr UINT32 kFlagConstant = 0x1;
constexpr UINT32 kFlagVariable = 0x2;
constexpr UINT32 kFlagRelative = 0x4;

constexpr UINT8 kCollectionApplication = 1;

struct GlobalState {
  UINT32 UsagePage;
  INT32 LogicalMin;
  INT32 LogicalMax;
  UINT32 LogicalMaxUnsigned; // the maximum's bytes read unsigned
  INT32 PhysicalMin;
  INT32 PhysicalMax;
  INT8 UnitExponent;
  UINT32 Unit;
  UINT32 ReportSize;
  UINT32 ReportCount;
  UINT8 ReportId;
};

// A usage as written: Explicit when it carried its own page (4 data bytes);
// otherwise the usage page in force at the main item applies.
struct LocalUsage {
  UINT32 Value;
  bool Explicit;
};

struct LocalState {
  LocalUsage Usages[kMaxUsages];
  UINT32 UsageCount;
  LocalUsage UsageMin;
  LocalUsage UsageMax;
  bool HaveMin;
  bool HaveMax;
};

// A field found in the pointer collection, with the report it lives in.
struct Candidate {
  HidField Field;
  UINT8 ReportId;
  bool Found;
};

enum Role : UINT32 {
  kRoleX,
  kRoleY,
  kRoleWheel,
  kRoleTip,
  kRoleInRange,
  kRoleButton1,
  kRoleButton2,
  kRoleButton3,
  kRoleCount
};

struct Parser {
  GlobalState Global;
  GlobalState Stack[kMaxStackDepth];
  UINT32 StackDepth;
  LocalState Local;
  UINT32 CollectionDepth;
  bool InPointerApplication;
  UINT32 PointerDepth;
  UINT32 PointerApplication;
  bool SawReportId;
  bool Committed;
  Candidate Roles[kRoleCount];
  // Input bits laid so far in each report ID's report.
  UINT32 InputBits[256];
  UINT32 FeatureBits[256];
  HidPointerLayout* Out;
};

UINT32 Resolve(const LocalUsage& Usage, UINT32 Page) {
  return Usage.Explicit ? Usage.Value : (Page << 16) | (Usage.Value & 0xFFFF);
}

bool IsPointerApplication(UINT32 Usage) {
  return Usage == kHidUsageGenericDesktopMouse || Usage == kHidUsageGenericDesktopPointer ||
         Usage == kHidUsageDigitizer || Usage == kHidUsagePen || Usage == kHidUsageTouchScreen;
}

int RoleOf(UINT32 Usage) {
  switch (Usage) {
  case kHidUsageX:
    return kRoleX;
  case kHidUsageY:
    return kRoleY;
  case kHidUsageWheel:
    return kRoleWheel;
  case kHidUsageTipSwitch:
    return kRoleTip;
  case kHidUsageInRange:
    return kRoleInRange;
  case kHidUsageButton1:
    return kRoleButton1;
  case kHidUsageButton1 + 1:
    return kRoleButton2;
  case kHidUsageButton1 + 2:
    return kRoleButton3;
  default:
    return -1;
  }
}

// The usage of field Index of the current main item; false when it has none.
bool FieldUsage(const Parser& P, UINT32 Index, UINT32* Usage) {
  const UINT32 page = P.Global.UsagePage;
  if (P.Local.HaveMin && P.Local.HaveMax) {
    const UINT32 first = Resolve(P.Local.UsageMin, page);
    const UINT32 last = Resolve(P.Local.UsageMax, page);
    if (last < first || Index > last - first) return false;
    *Usage = first + Index;
    return true;
  }
  if (P.Local.UsageCount == 0) return false;
  const UINT32 i = Index < P.Local.UsageCount ? Index : P.Local.UsageCount - 1;
  *Usage = Resolve(P.Local.Usages[i], page);
  return true;
}

// The logical range of the current globals: a maximum written with its top
// bit set next to a non-negative minimum (0x25 0xFF for 0..255) is read
// unsigned, as devices mean it. False when no sensible range remains.
bool LogicalRange(const GlobalState& G, INT32* Min, INT32* Max) {
  INT32 max = G.LogicalMax;
  if (G.LogicalMin >= 0 && max < G.LogicalMin && G.LogicalMaxUnsigned <= 0x7FFFFFFFu)
    max = static_cast<INT32>(G.LogicalMaxUnsigned);
  if (max < G.LogicalMin) return false;
  *Min = G.LogicalMin;
  *Max = max;
  return true;
}

bool Input(Parser* P, UINT32 Flags) {
  const UINT64 bits = static_cast<UINT64>(P->Global.ReportSize) * P->Global.ReportCount;
  UINT32& laid = P->InputBits[P->Global.ReportId];
  if (laid + bits > kMaxReportBits) return false;
  const bool variable = (Flags & kFlagConstant) == 0 && (Flags & kFlagVariable) != 0;
  INT32 min = 0;
  INT32 max = 0;
  const bool ranged = LogicalRange(P->Global, &min, &max);
  if (P->InPointerApplication && variable && ranged && P->Global.ReportSize >= 1 &&
      P->Global.ReportSize <= 32) {
    for (UINT32 i = 0; i < P->Global.ReportCount; ++i) {
      UINT32 usage = 0;
      if (!FieldUsage(*P, i, &usage)) continue;
      const int role = RoleOf(usage);
      if (role < 0 || P->Roles[role].Found) continue;
      Candidate& c = P->Roles[role];
      c.Found = true;
      c.ReportId = P->Global.ReportId;
      c.Field.BitOffset = laid + i * P->Global.ReportSize;
      c.Field.BitSize = static_cast<UINT8>(P->Global.ReportSize);
      c.Field.Relative = (Flags & kFlagRelative) != 0;
      c.Field.LogicalMin = min;
      c.Field.LogicalMax = max;
      c.Field.PhysicalMin = P->Global.PhysicalMin;
      c.Field.PhysicalMax = P->Global.PhysicalMax;
      c.Field.Unit = P->Global.Unit;
      c.Field.UnitExponent = P->Global.UnitExponent;
    }
  }
  laid += static_cast<UINT32>(bits);
  return true;
}

bool Feature(Parser* P) {
  const UINT64 bits = static_cast<UINT64>(P->Global.ReportSize) * P->Global.ReportCount;
  UINT32& laid = P->FeatureBits[P->Global.ReportId];
  if (laid + bits > kMaxReportBits) return false;
  auto& mode = P->Out->InputMode;
  if (mode.BitSize == 0 && P->Global.ReportSize >= 1 && P->Global.ReportSize <= 32) {
    for (UINT32 i = 0; i < P->Global.ReportCount; ++i) {
      UINT32 usage = 0;
      if (!FieldUsage(*P, i, &usage) || usage != kHidUsageInputMode) continue;
      mode.ReportId = P->Global.ReportId;
      mode.BitOffset = laid + i * P->Global.ReportSize;
      mode.BitSize = static_cast<UINT8>(P->Global.ReportSize);
      break;
    }
  }
  laid += static_cast<UINT32>(bits);
  return true;
}

// The pointer collection ended: its fields become the layout when X and Y
// sit in one report (the first such collection wins).
void Commit(Parser* P) {
  P->InPointerApplication = false;
  const Candidate& x = P->Roles[kRoleX];
  const Candidate& y = P->Roles[kRoleY];
  const bool usable = !P->Committed && x.Found && y.Found && x.ReportId == y.ReportId &&
                      x.Field.Relative == y.Field.Relative &&
                      (x.Field.Relative || (x.Field.LogicalMax > x.Field.LogicalMin &&
                                            y.Field.LogicalMax > y.Field.LogicalMin));
  if (!usable) {
    for (Candidate& c : P->Roles) c = {};
    return;
  }
  P->Committed = true;
  HidPointerLayout* out = P->Out;
  out->Kind = x.Field.Relative ? HidPointerKind::Relative : HidPointerKind::Absolute;
  out->ReportId = x.ReportId;
  out->Application = P->PointerApplication;
  HidField* targets[kRoleCount] = {&out->X,          &out->Y,         &out->Wheel,
                                   &out->TipSwitch,  &out->InRange,   &out->Buttons[0],
                                   &out->Buttons[1], &out->Buttons[2]};
  for (UINT32 r = 0; r < kRoleCount; ++r) {
    if (P->Roles[r].Found && P->Roles[r].ReportId == x.ReportId) *targets[r] = P->Roles[r].Field;
  }
}

bool Main(Parser* P, UINT8 Tag, UINT32 Value) {
  switch (Tag) {
  case kInput:
    if (!Input(P, Value)) return false;
    break;
  case kOutput:
    break;
  case kFeature:
    if (!Feature(P)) return false;
    break;
  case kCollection: {
    if (P->CollectionDepth >= kMaxCollectionDepth) return false;
    ++P->CollectionDepth;
    UINT32 usage = 0;
    const bool haveUsage = FieldUsage(*P, 0, &usage);
    if ((Value & 0xFF) == kCollectionApplication && !P->InPointerApplication && !P->Committed &&
        haveUsage && IsPointerApplication(usage)) {
      P->InPointerApplication = true;
      P->PointerDepth = P->CollectionDepth;
      P->PointerApplication = usage;
      for (Candidate& c : P->Roles) c = {};
    }
    break;
  }
  case kEndCollection:
    if (P->CollectionDepth == 0) return false;
    if (P->InPointerApplication && P->CollectionDepth == P->PointerDepth) Commit(P);
    --P->CollectionDepth;
    break;
  default:
    return false;
  }
  P->Local = {};
  return true;
}

bool Global(Parser* P, UINT8 Tag, UINT32 Unsigned, INT32 Signed, UINT32 Size) {
  GlobalState& g = P->Global;
  switch (Tag) {
  case kUsagePage:
    g.UsagePage = Unsigned & 0xFFFF;
    break;
  case kLogicalMin:
    g.LogicalMin = Signed;
    break;
  case kLogicalMax:
    g.LogicalMax = Signed;
    g.LogicalMaxUnsigned = Unsigned;
    break;
  case kPhysicalMin:
    g.PhysicalMin = Signed;
    break;
  case kPhysicalMax:
    g.PhysicalMax = Signed;
    break;
  case kUnitExponent: {
    // A four-bit two's complement exponent.
    const INT32 e = static_cast<INT32>(Unsigned & 0xF);
    g.UnitExponent = static_cast<INT8>(e >= 8 ? e - 16 : e);
    break;
  }
  case kUnit:
    g.Unit = Unsigned;
    break;
  case kReportSize:
    g.ReportSize = Unsigned;
    break;
  case kReportCount:
    g.ReportCount = Unsigned;
    break;
  case kReportId:
    if (Size == 0 || Unsigned == 0 || Unsigned > 0xFF) return false;
    g.ReportId = static_cast<UINT8>(Unsigned);
    P->SawReportId = true;
    break;
  case kPush:
    if (P->StackDepth >= kMaxStackDepth) return false;
    P->Stack[P->StackDepth++] = g;
    break;
  case kPop:
    if (P->StackDepth == 0) return false;
    g = P->Stack[--P->StackDepth];
    break;
  default:
    break; // reserved tags carry nothing the driver needs
  }
  return true;
}

void Local(Parser* P, UINT8 Tag, UINT32 Unsigned, UINT32 Size) {
  const LocalUsage usage = {Size == 4 ? Unsigned : (Unsigned & 0xFFFF), Size == 4};
  LocalState& l = P->Local;
  switch (Tag) {
  case kUsage:
    // Usages past the list's capacity are dropped; the last kept one then
    // stands for the rest of the fields, as for any short list.
    if (l.UsageCount < kMaxUsages) l.Usages[l.UsageCount++] = usage;
    break;
  case kUsageMin:
    l.UsageMin = usage;
    l.HaveMin = true;
    break;
  case kUsageMax:
    l.UsageMax = usage;
    l.HaveMax = true;
    break;
  default:
    break; // designators, strings, delimiters: not needed
  }
}

} // namespace

namespace {

HidParseResult Run(const UINT8* Data, UINTN Length, HidPointerLayout* Layout) {
  Parser p = {};
  p.Out = Layout;
  UINTN at = 0;
  while (at < Length) {
    const UINT8 prefix = Data[at++];
    if (prefix == 0xFE) { // long item: size, tag, data
      if (Length - at < 2) return HidParseResult::Malformed;
      const UINTN size = Data[at];
      at += 2;
      if (Length - at < size) return HidParseResult::Malformed;
      at += size;
      continue;
    }
    constexpr UINT32 kSizes[4] = {0, 1, 2, 4};
    const UINT32 size = kSizes[prefix & 3];
    const UINT8 type = (prefix >> 2) & 3;
    const UINT8 tag = prefix >> 4;
    if (Length - at < size) return HidParseResult::Malformed;
    UINT32 value = 0;
    for (UINT32 i = 0; i < size; ++i) value |= static_cast<UINT32>(Data[at + i]) << (8 * i);
    at += size;
    INT32 signedValue = static_cast<INT32>(value);
    if (size == 1) signedValue = static_cast<INT8>(value);
    if (size == 2) signedValue = static_cast<INT16>(value);

    bool ok = true;
    switch (type) {
    case kMain:
      ok = Main(&p, tag, value);
      break;
    case kGlobal:
      ok = Global(&p, tag, value, signedValue, size);
      break;
    case kLocal:
      Local(&p, tag, value, size);
      break;
    default:
      ok = false;
      break;
    }
    if (!ok) return HidParseResult::Malformed;
  }
  // A descriptor that stops inside the pointer collection still gives it.
  if (p.InPointerApplication) Commit(&p);
  if (!p.Committed) return HidParseResult::NoPointer;
  const UINT32 bits = p.InputBits[Layout->ReportId];
  Layout->UsesReportIds = p.SawReportId;
  Layout->ReportBytes = (bits + 7) / 8;
  Layout->MaxReportBytes = Layout->ReportBytes;
  if ((p.SawReportId && Layout->ReportId == 0) || Layout->ReportBytes > kHidMaxReportBytes)
    return HidParseResult::NoPointer;
  auto& mode = Layout->InputMode;
  if (mode.BitSize != 0) {
    mode.FeatureBytes = (p.FeatureBits[mode.ReportId] + 7) / 8;
    // Only a touch screen's, and only a report the driver can send.
    if (Layout->Kind != HidPointerKind::Absolute || mode.FeatureBytes > kHidMaxReportBytes ||
        (p.SawReportId && mode.ReportId == 0))
      mode = {};
  }
  return HidParseResult::Ok;
}

} // namespace

HidParseResult HidDescriptor_Parse(const UINT8* Data, UINTN Length, HidPointerLayout* Layout) {
  // The layout is built aside and handed out only whole.
  HidPointerLayout found = {};
  const HidParseResult result =
      Data == nullptr || Length == 0 ? HidParseResult::Malformed : Run(Data, Length, &found);
  *Layout = result == HidParseResult::Ok ? found : HidPointerLayout{};
  return result;
}

void HidDescriptor_BootMouseLayout(HidPointerLayout* Layout) {
  *Layout = {};
  Layout->Kind = HidPointerKind::Relative;
  Layout->ReportBytes = 3;
  Layout->MaxReportBytes = 8;
  Layout->Application = kHidUsageGenericDesktopMouse;
  for (UINT32 b = 0; b < 3; ++b) Layout->Buttons[b] = {b, 1, false, 0, 1, 0, 0, 0, 0};
  Layout->X = {8, 8, true, -127, 127, 0, 0, 0, 0};
  Layout->Y = {16, 8, true, -127, 127, 0, 0, 0, 0};
}
