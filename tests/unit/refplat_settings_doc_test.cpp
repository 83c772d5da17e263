// docs/settings.md carries the integrators' table of every setting and
// operation. It is checked here against the settings schema, so the two
// cannot drift apart; QUORVEX_UPDATE_DOCS=1 rewrites the table from the schema.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

const char kStart[] = "<!-- settings table: generated from setup_data/settings_schema.inc -->\n";
const char kEnd[] = "<!-- end of settings table -->\n";

std::string Op(int Number) {
  return Number < 0 ? "–" : std::to_string(Number);
}

std::string GetterShape(const std::string& Type) {
  if (Type == "TEXT") return "read into (CHAR16*)";
  if (Type == "U32") return "read value";
  return "read into (" + Type + ")";
}

std::string ExpectedTable() {
  std::ostringstream out;
  out << "| Setting | Get | Set | Presence | Type | Range | Default | Get shape |\n"
      << "|---|---|---|---|---|---|---|---|\n";
#define SETTING(Name, GetOp, SetOp, PresenceOp, Type, Min, Max, Default)                           \
  {                                                                                                \
    const std::string type = #Type;                                                                \
    out << "| `" #Name "` | " << Op(GetOp) << " | " << Op(SetOp) << " | " << Op(PresenceOp)        \
        << " | " << type << " | " << (type == "TEXT" ? "–" : std::string(#Min "–" #Max)) << " | "  \
        << (type == "TEXT" ? "–" : std::string(#Default)) << " | "                                 \
        << (GetOp < 0 ? "–" : GetterShape(type)) << " |\n";                                        \
  }
#include "setup_data/settings_schema.inc"
  out << "\n| Operation | Shape | Name |\n|---|---|---|\n";
#define OPERATION(Number, Shape, Name) out << "| " #Number " | " #Shape " | `" #Name "` |\n";
#include "setup_data/settings_schema.inc"
  return out.str();
}

std::filesystem::path DocPath() {
  return std::filesystem::path(__FILE__).parent_path() / ".." / ".." / "docs" / "settings.md";
}

TEST(RefPlatSettingsDoc, TableMatchesTheSchema) {
  std::ifstream in(DocPath());
  ASSERT_TRUE(in) << DocPath();
  std::stringstream buffer;
  buffer << in.rdbuf();
  std::string doc = buffer.str();
  const size_t start = doc.find(kStart);
  const size_t end = doc.find(kEnd);
  ASSERT_NE(start, std::string::npos) << "table start marker missing";
  ASSERT_NE(end, std::string::npos) << "table end marker missing";
  ASSERT_LT(start, end);
  const size_t body = start + sizeof(kStart) - 1;
  const std::string expected = ExpectedTable();
  if (const char* update = std::getenv("QUORVEX_UPDATE_DOCS"); update && *update == '1') {
    doc.replace(body, end - body, expected);
    std::ofstream(DocPath()) << doc;
    return;
  }
  EXPECT_EQ(doc.substr(body, end - body), expected)
      << "docs/settings.md is out of date: run the unit tests with QUORVEX_UPDATE_DOCS=1";
}

} // namespace
