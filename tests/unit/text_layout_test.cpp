// Lays out every entry of the text table, in every language, in each box it
// is drawn in, with the embedded font (glyph positions recorded from the
// drawer's own GOP writes), and looks for what a reader would see as broken:
// glyphs over each other, a line starting with closing punctuation or ending
// with an opening bracket, text cut by its box, an option text running into
// the switch picture, a caption wider than its button.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "core/startup.h"
#include "graphics/text_draw.h"
#include "host/fake_firmware_fixture.h"
#include "pages/pages.h"
#include "platform/lib.h"
#include "reference_platform/font_data.h"
#include "reference_platform/glyph_font.h"
#include "setup_data/advanced_page_table.h"
#include "setup_data/exit_page_table.h"
#include "setup_data/main_page_table.h"
#include "setup_data/power_page_table.h"
#include "setup_data/security_page_table.h"
#include "setup_data/sysconfig_page_table.h"
#include "setup_data/text_table.h"

namespace {

struct Glyph {
  CHAR16 Unit;
  UINT64 X, Y, Width;
};

GlyphFontInstance RealFont;
GlyphFontProtocol RecordingFont;
CHAR16 LastGlyph = 0;
std::vector<Glyph> Drawn;

EFI_STATUS EFIAPI RecordGlyph(GlyphFontProtocol*, CHAR16 Character, const UINT8** Coverage,
                              UINT32* Width, UINT32* Height, UINT32* Pitch) {
  LastGlyph = Character;
  return RealFont.Protocol.GetGlyph(&RealFont.Protocol, Character, Coverage, Width, Height, Pitch);
}

EFI_STATUS EFIAPI ForwardAdvance(GlyphFontProtocol*, CHAR16 Character, UINT64* Advance) {
  return RealFont.Protocol.GetAdvance(&RealFont.Protocol, Character, Advance);
}

EFI_STATUS EFIAPI RecordBlt(EFI_GRAPHICS_OUTPUT_PROTOCOL*, EFI_GRAPHICS_OUTPUT_BLT_PIXEL*,
                            EFI_GRAPHICS_OUTPUT_BLT_OPERATION Operation, UINTN, UINTN, UINTN X,
                            UINTN Y, UINTN Width, UINTN, UINTN) {
  if (Operation == EfiBltBufferToVideo) Drawn.push_back({LastGlyph, X, Y, Width});
  return EFI_SUCCESS;
}

EFI_GRAPHICS_OUTPUT_PROTOCOL RecordingScreen;

// Line-breaking classes as a reader of each language expects them.

bool NoLineStart(CHAR16 C) {
  static const std::u16string kSet =
      u"、。，．・：；？！ー々ぁぃぅぇぉっゃゅょゎァィゥェォッャュョヮ"
      u"）」』】〕］｝〉》»,.:;?!)]}>";
  return kSet.find(C) != std::u16string::npos;
}
bool NoLineEnd(CHAR16 C) {
  static const std::u16string kSet = u"（「『【〔［｛〈《«([{<";
  return kSet.find(C) != std::u16string::npos;
}
bool Blank(CHAR16 C) {
  return C == u' ' || C == 0x00A0;
}

std::string Utf8(const CHAR16* Text) {
  return fake::Utf16ToUtf8(Text);
}

std::string Show(const std::vector<Glyph>& Line) {
  std::u16string text;
  for (const Glyph& g : Line) text += g.Unit;
  return Utf8(text.c_str());
}

enum class BoxKind {
  Text,    // wrapped text in a box
  Option,  // a toggle's option text: must stay clear of the switch picture
  Caption, // a button caption: one line inside the button
};

struct Box {
  std::string Where;
  BoxKind Kind = BoxKind::Text;
  UINT64 Width = 0, Height = 0;
  UINT64 Limit = 0; // Option: the switch's left edge; Caption: the button's inner width
};

constexpr UINT64 kOrigin = 50;

struct Problem {
  std::string Kind, Text;
};

class TextLayoutTest : public FakeFirmwareTest {
protected:
  void SetUp() override {
    FakeFirmwareTest::SetUp();
    Quorvex_Lib_Init(nullptr, fake::SystemTable());
    SavedFont = GlyphFont;
    SavedScreen = GraphicsOutput;
    SavedLineHeight = GlyphLineHeight;
    SavedWidth = ScreenWidth;
    SavedHeight = ScreenHeight;
    SavedLanguage = Language;
    Quorvex_TextTable_Init();
    GlyphFont_Init(&RealFont, &kGlyphFontData);
    RecordingFont = RealFont.Protocol;
    RecordingFont.GetGlyph = RecordGlyph;
    RecordingFont.GetAdvance = ForwardAdvance;
    RecordingScreen = {};
    RecordingScreen.Blt = RecordBlt;
    GlyphFont = &RecordingFont;
    GraphicsOutput = &RecordingScreen;
    GlyphLineHeight = kGlyphFontData.LineHeight;
    for (auto [items, count] : Tables()) Saved.emplace_back(items, items + *count);
  }
  void TearDown() override {
    size_t t = 0;
    for (auto [items, count] : Tables()) {
      std::copy(Saved[t].begin(), Saved[t].end(), items);
      ++t;
    }
    GlyphFont_Release(&RealFont);
    GlyphFont = SavedFont;
    GraphicsOutput = SavedScreen;
    GlyphLineHeight = SavedLineHeight;
    ScreenWidth = SavedWidth;
    ScreenHeight = SavedHeight;
    Language = SavedLanguage;
    FakeFirmwareTest::TearDown();
  }

  static std::vector<std::pair<SetupItem*, UINT64*>> Tables() {
    return {{MainPageItems, &MainPageItemCount},
            {SecurityPageItems, &SecurityPageItemCount},
            {PowerManagementPageItems, &PowerManagementPageItemCount},
            {AdvancedPageItems, &AdvancedPageItemCount},
            {SystemConfigurationPageItems, &SystemConfigurationPageItemCount},
            {ExitPageItems, &ExitPageItemCount}};
  }

  // Draws Text in the box and returns the glyphs as drawn, relative to the
  // box, and the drawer's status.
  static std::vector<Glyph> Lay(const CHAR16* Text, UINT64 Width, UINT64 Height,
                                EFI_STATUS* Status) {
    Drawn.clear();
    *Status = Quorvex_DrawString(Text, {0, 0, 0, 0}, {0, 0, 0, 1}, kOrigin, kOrigin, Width, Height);
    std::vector<Glyph> out = Drawn;
    for (Glyph& g : out) {
      g.X -= kOrigin;
      g.Y -= kOrigin;
    }
    return out;
  }

  // Checks one text in one box; problems go to Found.
  void Check(const CHAR16* Text, const Box& B) {
    if (!Text || !*Text) return;
    EFI_STATUS status = EFI_SUCCESS;
    const std::vector<Glyph> glyphs = Lay(Text, B.Width, B.Height, &status);
    const std::string where = B.Where + ": \"" + Utf8(Text) + "\"";
    if (status == EFI_INVALID_PARAMETER) Report("cut by the bottom of its box", where);

    // Lines in drawing order.
    std::vector<std::vector<Glyph>> lines;
    for (const Glyph& g : glyphs) {
      if (lines.empty() || g.Y != lines.back().back().Y) lines.emplace_back();
      lines.back().push_back(g);
    }
    for (size_t l = 0; l < lines.size(); ++l) {
      const std::vector<Glyph>& line = lines[l];
      // A blank drawn over is invisible; ink drawn over ink is not.
      UINT64 inkRight = 0;
      for (const Glyph& g : line) {
        if (Blank(g.Unit)) continue;
        if (g.X < inkRight) {
          Report("pen moves backwards on one line", where + " at \"" + Show(line) + "\"");
          break;
        }
        inkRight = g.X + g.Width;
      }
      auto first =
          std::find_if(line.begin(), line.end(), [](const Glyph& g) { return !Blank(g.Unit); });
      if (l > 0 && first != line.end() && NoLineStart(first->Unit))
        Report("line starts with a closing character", where + " at \"" + Show(line) + "\"");
      auto last =
          std::find_if(line.rbegin(), line.rend(), [](const Glyph& g) { return !Blank(g.Unit); });
      if (l + 1 < lines.size() && last != line.rend() && NoLineEnd(last->Unit))
        Report("line ends with an opening bracket", where + " at \"" + Show(line) + "\"");
    }
    UINT64 right = 0;
    for (const Glyph& g : glyphs)
      if (!Blank(g.Unit)) right = std::max(right, g.X + g.Width);
    if (B.Kind == BoxKind::Option && right > B.Limit)
      Report("option text reaches the switch picture",
             where + " (" + std::to_string(right) + " > " + std::to_string(B.Limit) + ")");
    if (B.Kind == BoxKind::Caption && (lines.size() > 1 || Quorvex_TextWidth(Text) > B.Limit))
      Report("caption wider than its button", where + " (" +
                                                  std::to_string(Quorvex_TextWidth(Text)) + " > " +
                                                  std::to_string(B.Limit) + ")");
  }

  void Report(const std::string& Kind, const std::string& Where) { Found.push_back({Kind, Where}); }

  // Checks the current language's slot of Entry in B and notes the entry as
  // covered.
  void CheckEntry(const CHAR16* Entry, const Box& B) {
    if (!Entry) return;
    Covered.insert(Entry);
    Check(TextOf(Entry), B);
  }

  static Box TextBox(const std::string& Where, UINT64 Width, UINT64 Height) {
    return {Where, BoxKind::Text, Width, Height, 0};
  }
  static Box CaptionBox(const std::string& Where, UINT64 Width, UINT64 Inner) {
    return {Where, BoxKind::Caption, Width, GlyphLineHeight, Inner};
  }

  // Every row of every page table, laid out for the current screen.
  void CheckPages() {
    Quorvex_MainPage_Layout();
    Quorvex_SecurityPage_Layout();
    Quorvex_PowerManagementPage_Layout();
    Quorvex_AdvancedPage_Layout();
    Quorvex_SystemConfigurationPage_Layout();
    Quorvex_ExitPage_Layout();
    const UINT64 lh = GlyphLineHeight;
    const UINT64 helpWidth = ScreenWidth / 4 - 20;
    const UINT64 helpHeight = 3 * ScreenHeight / 5 - 2 * lh;
    for (auto [items, count] : Tables()) {
      for (UINT64 r = 0; r < *count; ++r) {
        const SetupItem& item = items[r];
        const UINT64 w = item.Width;
        const UINT64 h = item.Height;
        CheckEntry(item.Help, TextBox("item help", helpWidth, helpHeight));
        std::vector<const CHAR16*> labels = {item.Label};
        for (const auto& [shown, alternatives] : LabelAlternatives())
          if (item.Label == shown) labels = alternatives;
        for (const CHAR16* label : labels) {
          switch (item.Kind) {
          case ItemButton:
            CheckEntry(label, TextBox("button label", w - 10, lh));
            break;
          case ItemValueButton:
            CheckEntry(label, TextBox("value button label", item.Value, lh));
            break;
          case ItemInfo:
            CheckEntry(label, TextBox("information label", item.Value, h));
            break;
          case ItemOptionCycle:
            CheckEntry(label, TextBox("on/off label", w, lh));
            break;
          case ItemDropDown:
            CheckEntry(label, TextBox("drop-down label", w, 2 * lh));
            break;
          case ItemAdjust:
            CheckEntry(label, TextBox("adjustment label", w - 150, h));
            break;
          default:
            CheckEntry(label, TextBox("heading", w, h));
            break;
          }
        }
        if (item.Kind == ItemOptionCycle) {
          const CHAR16* const* options = ItemOptionTexts(item);
          for (UINT64 i = 0; options && options[i]; ++i)
            CheckEntry(options[i], Box{"on/off option", BoxKind::Option, w, lh, w - 62});
        }
        if (item.Kind == ItemDropDown) {
          std::vector<const CHAR16*> options;
          for (UINT64 i = 0; item.Options && item.Options[i]; ++i)
            options.push_back(item.Options[i]);
          for (const auto& [row, extra] : ListOptions())
            if (item.Label == row) options.insert(options.end(), extra.begin(), extra.end());
          for (const CHAR16* option : options) {
            CheckEntry(option, TextBox("drop-down value", w - 20, lh));
            CheckEntry(option, TextBox("open list row", w - 30, lh));
          }
        }
      }
    }
  }

  // Labels that take a row's place at set-up, by the row's initial label.
  static std::vector<std::pair<const CHAR16*, std::vector<const CHAR16*>>> LabelAlternatives() {
    return {
        {TEXT(SecurityUser),
         {TEXT(SecurityUser), TEXT(SecurityUserNotRegistered), TEXT(SecurityUserRegistered)}},
        {TEXT(SecuritySupervisor),
         {TEXT(SecuritySupervisor), TEXT(SecuritySupervisorNotRegistered),
          TEXT(SecuritySupervisorRegistered)}},
        {TEXT(SecurityMaster),
         {TEXT(SecurityMaster), TEXT(SecurityMasterNotRegistered), TEXT(SecurityMasterRegistered)}},
    };
  }
  // Options that set-up puts into a list.
  static std::vector<std::pair<const CHAR16*, std::vector<const CHAR16*>>> ListOptions() {
    return {
        {TEXT(MainLanguage),
         {TEXT(MainLanguageEnglish), TEXT(MainLanguageJapanese), TEXT(MainLanguageFrench)}},
        {TEXT(AdvancedSleepAndCharge),
         {TEXT(AdvancedOptionListDisabled), TEXT(AdvancedAutoMode), TEXT(AdvancedTypicalMode),
          TEXT(AdvancedAlternateMode)}},
        {TEXT(SysConfigExternalDisplayDevice),
         {TEXT(SysConfigPortAnalogRgb), TEXT(SysConfigPortDisplayPort), TEXT(SysConfigPortHdmi),
          TEXT(SysConfigPortDvi)}},
    };
  }

  // Windows, tabs, the help bar and the general help.
  void CheckWindows() {
    const UINT64 lh = GlyphLineHeight;
    const UINT64 W = ScreenWidth;
    const UINT64 H = ScreenHeight;
    const std::pair<const CHAR16*, UINT64> tabs[] = {{TEXT(CommonTabMain), 100},
                                                     {TEXT(CommonTabSecurity), 100},
                                                     {TEXT(CommonTabPowerManagement), 200},
                                                     {TEXT(CommonTabAdvanced), 100},
                                                     {TEXT(CommonTabExit), 100}};
    for (const auto& [tab, width] : tabs) CheckEntry(tab, TextBox("tab caption", width, 20));
    // Help-bar buttons: the caption ends before the key name at the right.
    const UINT64 bar = W / 4 - 20;
    for (const CHAR16* caption : {TEXT(CommonHelpBarHelp), TEXT(CommonHelpBarSetupDefaults),
                                  TEXT(CommonHelpBarSaveAndExit), TEXT(CommonHelpBarClose)})
      CheckEntry(caption, CaptionBox("help bar", bar - 10, bar - 70));
    CheckEntry(TEXT(CommonItemHelpTitle), TextBox("item help title", bar, 3 * H / 5));
    // Pop-up buttons of the choice windows, the general help and the error
    // box: 100 × 30, caption centred.
    for (const CHAR16* caption : {TEXT(CommonYes), TEXT(CommonNo), TEXT(CommonOk),
                                  TEXT(CommonHelpOk), TEXT(SecurityEnterButton)})
      CheckEntry(caption, CaptionBox("window button", 90, 96));
    // Boot order dialog: 150 × 50 buttons, caption from +10.
    for (const CHAR16* caption :
         {TEXT(BootButtonUp), TEXT(BootButtonDown), TEXT(BootButtonOk), TEXT(CommonCancel)})
      CheckEntry(caption, CaptionBox("boot order button", 140, 136));
    CheckEntry(TEXT(BootPriorityOptions), TextBox("boot order title", 300, lh));
    // Time and date editor: field captions and its two buttons.
    const UINT64 field = (W * 40 / 100 - 2 * 20 - 2 * 10) / 3;
    for (const CHAR16* caption :
         {TEXT(MainEditorHour), TEXT(MainEditorMinute), TEXT(MainEditorSecond),
          TEXT(MainEditorMonth), TEXT(MainEditorDate), TEXT(MainEditorYear)})
      CheckEntry(caption, CaptionBox("editor field caption", field, field));
    CheckEntry(TEXT(CommonCancel), CaptionBox("editor button", field - 10, field - 4));
    // Choice windows: half the screen wide, a quarter high, margin 25, the
    // button row in the last 40 pixels.
    for (const CHAR16* message :
         {TEXT(ExitSavingChanges), TEXT(ExitDiscardingChanges), TEXT(ExitLoadSetupDefaults),
          TEXT(ExitDisableBattery), TEXT(ExitDisableBatteryConfirm),
          TEXT(AdvancedSetDefaultImageQuestion), TEXT(SecurityClearSecureBootKeysConfirm)})
      CheckEntry(message, TextBox("choice window", W / 2 - 25, H / 4 - 40 - lh / 2));
    // Password dialog: title over two lines; message lines of the error
    // box (and the clock editor's, of the same size) centred in one line each.
    for (const CHAR16* title :
         {TEXT(SecurityEnterCurrentPassword), TEXT(SecurityEnterNewPassword),
          TEXT(SecurityConfirmNewPassword), TEXT(SecurityEnterCurrentMasterPassword),
          TEXT(SecurityEnterNewMasterPassword), TEXT(SecurityConfirmNewMasterPassword),
          TEXT(SecurityEnterCurrentUserPassword), TEXT(SecurityEnterNewUserPassword),
          TEXT(SecurityConfirmNewUserPassword), TEXT(SecurityGateEnterPassword)})
      CheckEntry(title, TextBox("password title", W / 2 - 50, 2 * lh));
    for (const CHAR16* line :
         {TEXT(SecurityVerifyError), TEXT(SecurityPressEnterToContinue),
          TEXT(SecuritySystemShuttingDown), TEXT(SecurityPasswordsNotSame),
          TEXT(SecuritySecureBootRefused), TEXT(SecuritySecureBootRefusedDetail),
          TEXT(MainClockRefused), TEXT(MainClockKept)})
      CheckEntry(line, CaptionBox("error box line", W / 2 - 20, W / 2 - 20));
    CheckGeneralHelp();
  }

  // The general help is cut into pages by the splitter and each page drawn
  // in the text area, clear of the scroll bar: every page must fit, and
  // together the pages must show the text exactly as one tall box shows it.
  void CheckGeneralHelp() {
    Covered.insert(TEXT(CommonGeneralHelp));
    const UINT64 lh = GlyphLineHeight;
    const UINT64 tw = ScreenWidth * 50 / 100 - 15;
    const UINT64 th = ScreenHeight * 40 / 100;
    static CHAR16 pages[32][kSplitLineUnits];
    UINT64 last = 0;
    const CHAR16* text = TextOf(TEXT(CommonGeneralHelp));
    ASSERT_EQ(Quorvex_SplitTextLines(text, tw - 10, th - lh, pages, 32, &last), EFI_SUCCESS);
    std::vector<std::pair<CHAR16, UINT64>> paged;
    for (UINT64 p = 0; p <= last; ++p) {
      Check(pages[p], TextBox("general help page " + std::to_string(p), tw - 10, th - lh));
      EFI_STATUS status;
      for (const Glyph& g : Lay(pages[p], tw - 10, th - lh, &status))
        paged.push_back({g.Unit, g.X});
    }
    EFI_STATUS status;
    std::vector<std::pair<CHAR16, UINT64>> whole;
    for (const Glyph& g : Lay(text, tw - 10, 100000, &status)) whole.push_back({g.Unit, g.X});
    if (paged != whole) Report("pages differ from the text", "general help");
  }

  void CheckScreen(UINT64 Width, UINT64 Height) {
    ScreenWidth = Width;
    ScreenHeight = Height;
    for (UINT64 language = 0; language < 3; ++language) {
      Language = language;
      CheckPages();
      CheckWindows();
    }
  }

  GlyphFontProtocol* SavedFont = nullptr;
  EFI_GRAPHICS_OUTPUT_PROTOCOL* SavedScreen = nullptr;
  UINT64 SavedLineHeight = 0, SavedWidth = 0, SavedHeight = 0, SavedLanguage = 0;
  std::vector<std::vector<SetupItem>> Saved;

  std::vector<Problem> Found;
  std::set<const CHAR16*> Covered;
};

TEST_F(TextLayoutTest, EveryTextFitsWhereItIsDrawnInEveryLanguage) {
  // The item help box follows the screen's height; the rest its width.
  CheckScreen(1024, 768);
  CheckScreen(1280, 1024);

  for (const Problem& p : Found) ADD_FAILURE() << p.Kind << ": " << p.Text;

  // Every entry is drawn somewhere, so every one is checked; nothing draws
  // the sub-page's own spelling of this caption.
  const std::set<const CHAR16*> kNeverDrawn = {TEXT(SysConfigPreviousPage)};
  for (UINTN i = 0; i < kTextTableEntryCount; ++i)
    EXPECT_TRUE(Covered.count(TEXT(*kTextTableEntries[i])) ||
                kNeverDrawn.count(TEXT(*kTextTableEntries[i])))
        << "not laid out by this test: \"" << Utf8(kTextTableEntries[i]->English) << "\"";
}

} // namespace
