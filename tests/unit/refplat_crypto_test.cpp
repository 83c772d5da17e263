// SHA-256, HMAC-SHA-256 and PBKDF2 against published vectors, and the
// password store built on them.
#include <cstring>
#include <string>

#include "reference_platform/passwords.h"
#include "reference_platform/sha256.h"
#include "tests/unit/refplat_fixture.h"

namespace {

std::string Hex(const UINT8* Data, size_t Size) {
  static const char* digits = "0123456789abcdef";
  std::string out;
  for (size_t i = 0; i < Size; ++i) {
    out += digits[Data[i] >> 4];
    out += digits[Data[i] & 15];
  }
  return out;
}

std::string Sha256Hex(const std::string& Text) {
  UINT8 digest[kSha256DigestSize];
  Sha256(Text.data(), Text.size(), digest);
  return Hex(digest, sizeof(digest));
}

TEST(RefPlatSha256, PublishedVectorsAndPaddingBoundaries) {
  EXPECT_EQ(Sha256Hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(Sha256Hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  // Lengths around the 55/56/64-byte points where the length field moves to
  // a block of its own.
  const struct {
    size_t Length;
    const char* Digest;
  } cases[] = {
      {55, "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {56, "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
      {64, "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
      {119, "31eba51c313a5c08226adf18d4a359cfdfd8d2e816b13f4af952f7ea6584dcfb"},
      {120, "2f3d335432c70b580af0e8e1b3674a7c020d683aa5f73aaaedfdc55af904c21c"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Sha256Hex(std::string(c.Length, 'a')), c.Digest) << c.Length;
}

TEST(RefPlatSha256, StreamingInUnevenPiecesMatchesOneShot) {
  const std::string million(1000000, 'a');
  Sha256Context context;
  Sha256_Init(&context);
  size_t offset = 0;
  for (size_t piece = 1; offset < million.size(); piece = piece % 131 + 1) {
    const size_t take = std::min(piece, million.size() - offset);
    Sha256_Update(&context, million.data() + offset, take);
    offset += take;
  }
  UINT8 digest[kSha256DigestSize];
  Sha256_Final(&context, digest);
  EXPECT_EQ(Hex(digest, sizeof(digest)),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(RefPlatSha256, HmacVectors) {
  UINT8 mac[kSha256DigestSize];
  const std::string key1(20, '\x0b');
  HmacSha256(key1.data(), key1.size(), "Hi There", 8, mac);
  EXPECT_EQ(Hex(mac, 32), "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7");
  const std::string data2 = "what do ya want for nothing?";
  HmacSha256("Jefe", 4, data2.data(), data2.size(), mac);
  EXPECT_EQ(Hex(mac, 32), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
  const std::string key3(131, '\xaa'); // longer than a block: hashed first
  const std::string data3 = "Test Using Larger Than Block-Size Key - Hash Key First";
  HmacSha256(key3.data(), key3.size(), data3.data(), data3.size(), mac);
  EXPECT_EQ(Hex(mac, 32), "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54");
}

TEST(RefPlatSha256, Pbkdf2Vectors) {
  UINT8 out[64];
  Pbkdf2HmacSha256("passwd", 6, "salt", 4, 1, out, sizeof(out));
  EXPECT_EQ(Hex(out, 64), "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc"
                          "49ca9cccf179b645991664b39d77ef317c71b845b1e30bd509112041d3a19783");
  Pbkdf2HmacSha256("Password", 8, "NaCl", 4, 80000, out, sizeof(out));
  EXPECT_EQ(Hex(out, 64), "4ddcd8f60b98be21830cee5ef22701f9641a4418d04c0414aeff08876b34ab56"
                          "a1d425a1225833549adb841b51c9b3176a272bdebba1d078478f62b397f33c8d");
  // A length that is not a whole number of blocks keeps the same prefix.
  UINT8 shorter[40];
  Pbkdf2HmacSha256("Password", 8, "NaCl", 4, 80000, shorter, sizeof(shorter));
  EXPECT_EQ(std::memcmp(shorter, out, sizeof(shorter)), 0);
}

class RefPlatPasswordTest : public RefPlatTest {};

TEST_F(RefPlatPasswordTest, SetVerifyAndDelete) {
  EXPECT_FALSE(Password_Installed(PasswordSupervisor));
  EXPECT_TRUE(Password_Verify(PasswordSupervisor, u"")); // none set: only empty matches
  EXPECT_FALSE(Password_Verify(PasswordSupervisor, u"x"));

  ASSERT_TRUE(Password_Set(PasswordSupervisor, u"Pa55word"));
  EXPECT_TRUE(Password_Installed(PasswordSupervisor));
  EXPECT_FALSE(Password_Installed(PasswordUser));
  EXPECT_TRUE(Password_Verify(PasswordSupervisor, u"Pa55word"));
  for (const CHAR16* wrong : {u"Pa55wore", u"Pa55wor", u"Pa55word ", u""})
    EXPECT_FALSE(Password_Verify(PasswordSupervisor, wrong));
  EXPECT_FALSE(Password_Verify(PasswordUser, u"Pa55word"));

  ASSERT_TRUE(Password_Set(PasswordSupervisor, u""));
  EXPECT_FALSE(Password_Installed(PasswordSupervisor));
  EXPECT_FALSE(Password_Set(PasswordSupervisor, nullptr));
  EXPECT_FALSE(Password_Verify(PasswordSupervisor, nullptr));

  // The typed-twice comparison is exact on whole strings.
  EXPECT_TRUE(Password_Compare(u"\u00e9t\u00e9", u"\u00e9t\u00e9"));
  EXPECT_TRUE(Password_Compare(u"", nullptr));
  for (auto [a, b] : {std::pair{u"abc", u"abd"}, {u"abc", u"abcd"}, {u"abcd", u"abc"}})
    EXPECT_FALSE(Password_Compare(a, b));
  EXPECT_FALSE(Password_Compare(u"a", nullptr));
}

TEST_F(RefPlatPasswordTest, LengthFollowsThePlatformMaximum) {
  ASSERT_TRUE(Store_SetByName("max_password_length", 8));
  EXPECT_TRUE(Password_Set(PasswordUser, u"12345678"));
  EXPECT_FALSE(Password_Set(PasswordUser, u"123456789"));
  EXPECT_TRUE(Password_Verify(PasswordUser, u"12345678")); // the refused one changed nothing

  ASSERT_TRUE(Store_SetByName("max_password_length", 99));
  const std::u16string longest(kPasswordMaxUnits, u'x');
  EXPECT_TRUE(Password_Set(PasswordUser, longest.c_str()));
  EXPECT_FALSE(Password_Set(PasswordUser, (longest + u"x").c_str()));
}

} // namespace
