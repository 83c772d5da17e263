// font_raster: rasterises, at build time, every character the utility can
// draw into the two embedded fonts of the reference platform (the text font
// and the large digits of the time and date editor), and writes them as one
// C++ source file in the layout of reference_platform/font_data.h.
//
//   font_raster --out FILE --texts FILES... --extra FILE [--font PATH]...
//
// The character set is the union of the quoted values of the text sources,
// every character of the extra file, printable ASCII and Latin-1. The first
// --font is the main face; later ones are fallbacks for characters it lacks.
// A font collection (.ttc) contributes its Japanese face when it has one.
// Output is deterministic: the same inputs give the same file.
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb/stb_truetype.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const char* const kDefaultFonts[] = {
    "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc",
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
};

// How one font's characters sit in their cells. The em size is the font's
// nominal size in pixels; the baseline is the row, counted from the cell's
// top, on which Latin letters stand. Japanese glyphs fill the em square, which
// the font places about 0.12 em below the baseline, so the baseline is chosen
// to centre that square in the cell while leaving room for Latin descenders.
struct Metrics {
  int LineHeight;
  int Baseline;
  float EmPixels;
  // Coverage is raised to this power (below 1 darkens): unhinted outlines at
  // small sizes spread thin stems over two half-grey columns, and a slight
  // boost keeps text on the light page as dark as the colour says.
  float CoverageGamma;
};

// Text font: every label, caption and help line; 20-pixel lines.
constexpr Metrics kTextMetrics = {20, 15, 16.0f, 0.80f};
// Large digits: 52-pixel lines, a digit about 32 pixels tall and 23 wide, so
// a four-digit year (92 pixels) fits a field of about 110 pixels.
constexpr Metrics kLargeMetrics = {52, 40, 42.0f, 0.95f};

struct Face {
  std::string Path;
  std::string Name;
  std::string Licence;
  std::vector<unsigned char> Data;
  stbtt_fontinfo Info{};
};

struct Glyph {
  uint32_t CodePoint = 0;
  int Advance = 0;
  int Left = 0;
  int Top = 0;
  int Width = 0;
  int Height = 0;
  bool Clipped = false;          // ink above or below the cell was dropped
  std::vector<uint8_t> Coverage; // Width x Height
};

[[noreturn]] void Fail(const std::string& Message) {
  throw std::runtime_error(Message);
}

std::vector<unsigned char> ReadFile(const std::string& Path) {
  std::ifstream In(Path, std::ios::binary);
  if (!In) Fail("cannot open " + Path);
  return std::vector<unsigned char>((std::istreambuf_iterator<char>(In)),
                                    std::istreambuf_iterator<char>());
}

// Decodes UTF-8, rejecting malformed sequences, overlong forms and surrogates.
std::vector<uint32_t> DecodeUtf8(const std::string& Text, const std::string& Where) {
  std::vector<uint32_t> Out;
  size_t I = 0;
  while (I < Text.size()) {
    const unsigned char B = static_cast<unsigned char>(Text[I]);
    int Extra = 0;
    uint32_t Cp = 0;
    if (B < 0x80) {
      Cp = B;
    } else if ((B & 0xE0) == 0xC0) {
      Cp = B & 0x1F;
      Extra = 1;
    } else if ((B & 0xF0) == 0xE0) {
      Cp = B & 0x0F;
      Extra = 2;
    } else if ((B & 0xF8) == 0xF0) {
      Cp = B & 0x07;
      Extra = 3;
    } else {
      Fail(Where + ": invalid UTF-8 byte");
    }
    if (I + Extra >= Text.size() && Extra > 0) Fail(Where + ": truncated UTF-8 sequence");
    for (int K = 1; K <= Extra; ++K) {
      const unsigned char C = static_cast<unsigned char>(Text[I + K]);
      if ((C & 0xC0) != 0x80) Fail(Where + ": invalid UTF-8 continuation byte");
      Cp = (Cp << 6) | (C & 0x3F);
    }
    static constexpr uint32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    if (Cp < kMinimum[Extra] || Cp > 0x10FFFF || (Cp >= 0xD800 && Cp <= 0xDFFF))
      Fail(Where + ": invalid UTF-8 sequence");
    Out.push_back(Cp);
    I += 1 + Extra;
  }
  return Out;
}

std::string Trim(const std::string& S) {
  const size_t B = S.find_first_not_of(" \t\r");
  if (B == std::string::npos) return "";
  const size_t E = S.find_last_not_of(" \t\r");
  return S.substr(B, E - B + 1);
}

// Adds the characters of every quoted value of one text source. The format:
// '#' comment lines, "[Id]" headers, and "xx = \"...\"" or "xx += \"...\""
// values with the escapes \" \\ \n \uXXXX.
void CollectTextSource(const std::string& Path, std::set<uint32_t>& Out) {
  std::ifstream In(Path);
  if (!In) Fail("cannot open " + Path);
  std::string Line;
  int LineNo = 0;
  while (std::getline(In, Line)) {
    ++LineNo;
    const std::string Where = Path + ":" + std::to_string(LineNo);
    const std::string T = Trim(Line);
    if (T.empty() || T[0] == '#' || T[0] == '[') continue;
    const size_t Eq = T.find('=');
    if (Eq == std::string::npos) Fail(Where + ": expected 'lang = \"text\"'");
    const size_t Open = T.find('"', Eq);
    if (Open == std::string::npos) Fail(Where + ": value is not quoted");
    std::string Value;
    size_t I = Open + 1;
    bool Closed = false;
    for (; I < T.size(); ++I) {
      if (T[I] == '"') {
        Closed = true;
        break;
      }
      if (T[I] == '\\') {
        if (++I >= T.size()) break;
        if (T[I] == 'n') continue; // a line break draws nothing
        if (T[I] == 'u') {         // \uXXXX: one UTF-16 code unit
          if (I + 4 >= T.size()) Fail(Where + ": \\u needs four hexadecimal digits");
          Out.insert(static_cast<uint32_t>(std::stoul(T.substr(I + 1, 4), nullptr, 16)));
          I += 4;
          continue;
        }
        if (T[I] != '"' && T[I] != '\\') Fail(Where + ": unknown escape");
      }
      Value += T[I];
    }
    if (!Closed) Fail(Where + ": unterminated string");
    for (uint32_t Cp : DecodeUtf8(Value, Where)) Out.insert(Cp);
  }
}

void CollectExtra(const std::string& Path, std::set<uint32_t>& Out) {
  std::ifstream In(Path);
  if (!In) Fail("cannot open " + Path);
  std::string Line;
  int LineNo = 0;
  while (std::getline(In, Line)) {
    ++LineNo;
    if (!Line.empty() && Line.back() == '\r') Line.pop_back();
    if (!Line.empty() && Line[0] == '#') continue;
    for (uint32_t Cp : DecodeUtf8(Line, Path + ":" + std::to_string(LineNo))) Out.insert(Cp);
  }
}

// A name-table string (Windows platform, Unicode BMP, US English) as ASCII;
// other characters become '?'.
std::string NameString(const stbtt_fontinfo& Info, int NameId) {
  int Length = 0;
  const char* Raw =
      stbtt_GetFontNameString(&Info, &Length, STBTT_PLATFORM_ID_MICROSOFT, STBTT_MS_EID_UNICODE_BMP,
                              STBTT_MS_LANG_ENGLISH, NameId);
  std::string Out;
  for (int I = 0; Raw && I + 1 < Length; I += 2) {
    const unsigned Unit =
        (static_cast<unsigned char>(Raw[I]) << 8) | static_cast<unsigned char>(Raw[I + 1]);
    Out += (Unit >= 0x20 && Unit < 0x7F) ? static_cast<char>(Unit) : '?';
  }
  return Out;
}

Face LoadFace(const std::string& Path) {
  Face F;
  F.Path = Path;
  F.Data = ReadFile(Path);
  const int Count = stbtt_GetNumberOfFonts(F.Data.data());
  if (Count <= 0) Fail(Path + ": not a TrueType/OpenType font");
  int Chosen = 0;
  for (int I = 0; I < Count; ++I) {
    stbtt_fontinfo Probe;
    if (!stbtt_InitFont(&Probe, F.Data.data(), stbtt_GetFontOffsetForIndex(F.Data.data(), I)))
      continue;
    const std::string Family = NameString(Probe, 1);
    if (Family.size() >= 3 && Family.compare(Family.size() - 3, 3, " JP") == 0) {
      Chosen = I;
      break;
    }
  }
  if (!stbtt_InitFont(&F.Info, F.Data.data(), stbtt_GetFontOffsetForIndex(F.Data.data(), Chosen)))
    Fail(Path + ": cannot read face " + std::to_string(Chosen));
  F.Name = NameString(F.Info, 4);
  F.Licence = NameString(F.Info, 13);
  const size_t Dot = F.Licence.find(". ");
  if (Dot != std::string::npos) F.Licence.resize(Dot + 1);
  return F;
}

// " U+XXXX", for messages.
std::string CodePointName(uint32_t Cp) {
  char Buf[16];
  std::snprintf(Buf, sizeof Buf, " U+%04X", Cp);
  return Buf;
}

bool IsDigit(uint32_t Cp) {
  return Cp >= '0' && Cp <= '9';
}

struct Bitmap {
  int X0 = 0, Y0 = 0, W = 0, H = 0; // box relative to the pen on the baseline
  std::vector<uint8_t> Raw;
};

Bitmap Render(const Face& F, int GlyphIndex, float Scale) {
  Bitmap B;
  int X1 = 0, Y1 = 0;
  stbtt_GetGlyphBitmapBox(&F.Info, GlyphIndex, Scale, Scale, &B.X0, &B.Y0, &X1, &Y1);
  B.W = std::max(0, X1 - B.X0);
  B.H = std::max(0, Y1 - B.Y0);
  B.Raw.assign(static_cast<size_t>(B.W) * B.H, 0);
  if (B.W > 0 && B.H > 0)
    stbtt_MakeGlyphBitmap(&F.Info, B.Raw.data(), B.W, B.H, B.W, Scale, Scale, GlyphIndex);
  return B;
}

// True when some ink of the bitmap lies above or below the cell.
bool InkOutsideCell(const Bitmap& B, const Metrics& M) {
  for (int R = 0; R < B.H; ++R) {
    const int CellRow = M.Baseline + B.Y0 + R;
    if (CellRow >= 0 && CellRow < M.LineHeight) continue;
    for (int C = 0; C < B.W; ++C)
      if (B.Raw[static_cast<size_t>(R) * B.W + C]) return true;
  }
  return false;
}

Glyph Rasterise(const Face& F, int GlyphIndex, uint32_t Cp, const Metrics& M) {
  const float Scale = stbtt_ScaleForMappingEmToPixels(&F.Info, M.EmPixels);
  int AdvanceUnits = 0, Bearing = 0;
  stbtt_GetGlyphHMetrics(&F.Info, GlyphIndex, &AdvanceUnits, &Bearing);
  Glyph G;
  G.CodePoint = Cp;
  G.Advance = static_cast<int>(std::lround(AdvanceUnits * Scale));
  if (stbtt_IsGlyphEmpty(&F.Info, GlyphIndex)) return G;

  // A few tall glyphs (accented capitals, a ring above) reach past the cell by
  // a fraction of a pixel. Such a glyph alone is drawn up to 10 % smaller,
  // still standing on the baseline, rather than losing the top of its accent.
  Bitmap B = Render(F, GlyphIndex, Scale);
  for (float Shrink = 0.99f; InkOutsideCell(B, M) && Shrink >= 0.9f; Shrink -= 0.01f)
    B = Render(F, GlyphIndex, Scale * Shrink);

  // Trim to the ink inside the cell; ink still outside it is dropped.
  int Rmin = B.H, Rmax = -1, Cmin = B.W, Cmax = -1;
  for (int R = 0; R < B.H; ++R) {
    const int CellRow = M.Baseline + B.Y0 + R;
    const bool Outside = CellRow < 0 || CellRow >= M.LineHeight;
    for (int C = 0; C < B.W; ++C) {
      if (!B.Raw[static_cast<size_t>(R) * B.W + C]) continue;
      if (Outside) {
        G.Clipped = true;
        continue;
      }
      Rmin = std::min(Rmin, R);
      Rmax = std::max(Rmax, R);
      Cmin = std::min(Cmin, C);
      Cmax = std::max(Cmax, C);
    }
  }
  if (Rmax < 0) return G; // no ink inside the cell
  G.Width = Cmax - Cmin + 1;
  G.Height = Rmax - Rmin + 1;
  G.Left = B.X0 + Cmin;
  G.Top = M.Baseline + B.Y0 + Rmin;
  G.Coverage.resize(static_cast<size_t>(G.Width) * G.Height);
  for (int R = 0; R < G.Height; ++R) {
    for (int C = 0; C < G.Width; ++C) {
      const double A = B.Raw[static_cast<size_t>(Rmin + R) * B.W + Cmin + C] / 255.0;
      G.Coverage[static_cast<size_t>(R) * G.Width + C] =
          static_cast<uint8_t>(std::lround(255.0 * std::pow(A, M.CoverageGamma)));
    }
  }
  return G;
}

// Keeps the ink inside the cell horizontally: a box wider than the advance
// widens the cell, an overhanging box slides inwards. Characters are drawn
// cell by cell, so ink outside a cell would be painted over by a neighbour.
void FitIntoCell(Glyph& G) {
  if (G.Width == 0) return;
  if (G.Width > G.Advance) G.Advance = G.Width;
  if (G.Left < 0) G.Left = 0;
  if (G.Left + G.Width > G.Advance) G.Left = G.Advance - G.Width;
}

struct Font {
  Metrics M;
  std::vector<Glyph> Glyphs;  // sorted by code point
  std::set<const Face*> Used; // faces that supplied at least one glyph
};

Font BuildFont(const std::vector<Face>& Faces, const std::set<uint32_t>& CodePoints,
               const Metrics& M) {
  Font Out{M, {}, {}};
  std::vector<uint32_t> Missing;
  for (uint32_t Cp : CodePoints) {
    const Face* Source = nullptr;
    int Index = 0;
    for (const Face& F : Faces) {
      Index = stbtt_FindGlyphIndex(&F.Info, static_cast<int>(Cp));
      if (Index != 0) {
        Source = &F;
        break;
      }
    }
    if (!Source) {
      Missing.push_back(Cp);
      continue;
    }
    Out.Used.insert(Source);
    Glyph G = Rasterise(*Source, Index, Cp, M);
    FitIntoCell(G);
    Out.Glyphs.push_back(std::move(G));
  }
  if (!Missing.empty()) {
    std::ostringstream Msg;
    Msg << "no font has a glyph for";
    for (uint32_t Cp : Missing) Msg << CodePointName(Cp);
    Fail(Msg.str());
  }

  // Digits share one advance (the widest) so that a running clock and the
  // editor's fields do not shift as the values change.
  int DigitAdvance = 0;
  for (const Glyph& G : Out.Glyphs)
    if (IsDigit(G.CodePoint)) DigitAdvance = std::max(DigitAdvance, G.Advance);
  for (Glyph& G : Out.Glyphs) {
    if (!IsDigit(G.CodePoint) || G.Advance == DigitAdvance) continue;
    G.Left += (DigitAdvance - G.Advance) / 2;
    G.Advance = DigitAdvance;
  }

  for (const Glyph& G : Out.Glyphs) {
    if (G.Advance > 255 || G.Width > 255 || G.Height > 255 || G.Left > 127 || G.Top > 127)
      Fail("glyph" + CodePointName(G.CodePoint) + " does not fit the record's fields");
  }
  return Out;
}

void WriteFont(std::ostream& Out, const Font& F, const std::string& Prefix,
               const std::string& Object, size_t& Bytes) {
  Out << "const FontGlyphRecord k" << Prefix << "Glyphs[] = {\n";
  uint32_t Offset = 0;
  for (const Glyph& G : F.Glyphs) {
    char Buf[96];
    std::snprintf(Buf, sizeof Buf, "    {0x%04X, %d, %d, %d, %d, %d, 0, %u},\n", G.CodePoint,
                  G.Advance, G.Left, G.Top, G.Width, G.Height, Offset);
    Out << Buf;
    Offset += static_cast<uint32_t>(G.Coverage.size());
  }
  Out << "};\n\nconst UINT8 k" << Prefix << "Coverage[] = {\n";
  size_t Column = 0;
  for (const Glyph& G : F.Glyphs) {
    for (uint8_t V : G.Coverage) {
      const std::string S = std::to_string(V) + ",";
      if (Column + S.size() > 99) {
        Out << "\n";
        Column = 0;
      }
      Out << S;
      Column += S.size();
    }
  }
  if (Offset == 0) Out << "0";
  Out << "\n};\n\n";
  Bytes += F.Glyphs.size() * 12 + Offset;
  Out << "}  // namespace\n\nconst FontData " << Object << " = {" << F.M.LineHeight << ", "
      << F.M.Baseline << ", " << F.Glyphs.size() << ", k" << Prefix << "Glyphs, k" << Prefix
      << "Coverage};\n\nnamespace {\n\n";
}

struct Options {
  std::string OutPath;
  std::vector<std::string> Texts;
  std::string Extra;
  std::vector<std::string> Fonts;
};

Options ParseArguments(int Argc, char** Argv) {
  Options O;
  for (int I = 1; I < Argc; ++I) {
    const std::string A = Argv[I];
    auto Next = [&]() -> std::string {
      if (I + 1 >= Argc) Fail(A + " needs a value");
      return Argv[++I];
    };
    if (A == "--out") {
      O.OutPath = Next();
    } else if (A == "--extra") {
      O.Extra = Next();
    } else if (A == "--font") {
      O.Fonts.push_back(Next());
    } else if (A == "--texts") {
      while (I + 1 < Argc && std::string(Argv[I + 1]).rfind("--", 0) != 0)
        O.Texts.push_back(Argv[++I]);
    } else {
      Fail("unknown argument " + A);
    }
  }
  if (O.OutPath.empty() || O.Extra.empty())
    Fail("usage: font_raster --out FILE --texts FILES... --extra FILE [--font PATH]...");
  if (O.Fonts.empty()) O.Fonts.assign(std::begin(kDefaultFonts), std::end(kDefaultFonts));
  return O;
}

int Run(int Argc, char** Argv) {
  const Options O = ParseArguments(Argc, Argv);

  std::set<uint32_t> TextSet;
  for (const std::string& P : O.Texts) CollectTextSource(P, TextSet);
  CollectExtra(O.Extra, TextSet);
  for (uint32_t Cp = 0x20; Cp <= 0x7E; ++Cp) TextSet.insert(Cp);
  for (uint32_t Cp = 0xA0; Cp <= 0xFF; ++Cp) TextSet.insert(Cp);
  // Control characters draw nothing and are not looked up; a byte-order mark
  // is not text.
  for (auto It = TextSet.begin(); It != TextSet.end();) {
    const uint32_t Cp = *It;
    if (Cp < 0x20 || (Cp >= 0x7F && Cp < 0xA0) || Cp == 0xFEFF)
      It = TextSet.erase(It);
    else
      ++It;
  }
  for (uint32_t Cp : TextSet) {
    if (Cp > 0xFFFF) Fail(CodePointName(Cp).substr(1) + " lies outside the 16-bit character range");
  }
  std::set<uint32_t> LargeSet;
  for (uint32_t Cp = 0x20; Cp <= 0x7E; ++Cp) LargeSet.insert(Cp);

  std::vector<Face> Faces;
  for (const std::string& P : O.Fonts) Faces.push_back(LoadFace(P));

  const Font Text = BuildFont(Faces, TextSet, kTextMetrics);
  const Font Large = BuildFont(Faces, LargeSet, kLargeMetrics);

  std::ostringstream Out;
  Out << "// Generated by tools/font_raster from the text sources and "
         "tools/fixed_strings.txt; do not edit.\n";
  for (const Face& F : Faces) {
    if (!Text.Used.count(&F) && !Large.Used.count(&F)) continue;
    const size_t Slash = F.Path.rfind('/');
    Out << "// Font: " << F.Name << " ("
        << F.Path.substr(Slash == std::string::npos ? 0 : Slash + 1) << ")";
    if (!F.Licence.empty()) Out << "\n//   " << F.Licence;
    Out << "\n";
  }
  Out << "#include \"reference_platform/font_data.h\"\n\nnamespace {\n\n";
  size_t TextBytes = 0, LargeBytes = 0;
  WriteFont(Out, Text, "Text", "kGlyphFontData", TextBytes);
  WriteFont(Out, Large, "Large", "kLargeDigitFontData", LargeBytes);
  Out << "}  // namespace\n";

  // Ink beyond the cell's top or bottom is dropped; say which characters lost
  // some so that a change of size or font that cuts letters is noticed.
  for (const Font* F : {&Text, &Large}) {
    std::string List;
    for (const Glyph& G : F->Glyphs)
      if (G.Clipped) List += CodePointName(G.CodePoint);
    if (!List.empty())
      std::fprintf(stderr, "font_raster: note: %d-pixel lines clip%s\n", F->M.LineHeight,
                   List.c_str());
  }

  const std::string Tmp = O.OutPath + ".tmp";
  {
    std::ofstream File(Tmp, std::ios::binary);
    File << Out.str();
    if (!File.good()) Fail("cannot write " + Tmp);
  }
  if (std::rename(Tmp.c_str(), O.OutPath.c_str()) != 0) Fail("cannot write " + O.OutPath);
  std::printf("font_raster: text font %zu glyphs, %zu bytes; large digits %zu glyphs, %zu bytes\n",
              Text.Glyphs.size(), TextBytes, Large.Glyphs.size(), LargeBytes);
  return 0;
}

} // namespace

int main(int Argc, char** Argv) {
  try {
    return Run(Argc, Argv);
  } catch (const std::exception& E) {
    std::fprintf(stderr, "font_raster: %s\n", E.what());
    return 1;
  }
}
