#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "state/json_document.h"

namespace {

constexpr std::ptrdiff_t kNoError = -1;

// A parse of a text that lies in a heap block of exactly its size, for the sanitizers to see its
// end.
struct Parsed {
  explicit Parsed(std::string_view source) : text(new char[source.size() + 1]) {
    source.copy(text.get(), source.size());
    text[source.size()] = 0;
    tree.reset(jsonParse(text.get()));
    if (jsonGetErrorPtr()) errorOffset = jsonGetErrorPtr() - text.get();
  }

  std::unique_ptr<char[]> text;
  JsonTree tree;
  std::ptrdiff_t errorOffset = kNoError;
};

TEST(JsonReader, GivesUpAtTheByteThatDoesNotFit) {
  const struct {
    const char* text;
    std::ptrdiff_t offset;
  } cases[] = {
      {"", 0},
      {" \t\r\n\x01\x1f\x20", 7},
      {"+1", 0},
      {".5", 0},
      {"nul", 0},
      {"True", 0},
      {" \xef\xbb\xbf{}", 1},
      {"\x7f", 0},
      {"[1, 2", 5},
      {"[", 1},
      {"[1 2]", 3},
      {"[1,]", 3},
      {"[,1]", 1},
      {"[1,2}", 4},
      {"[\"a\" : 1]", 5},
      {"[-, 007]", 5},
      {"[1.]", 2},
      {"[0x10]", 2},
      {"{", 1},
      {"{1:2}", 1},
      {"{a:1}", 1},
      {"{\"a\" 1}", 5},
      {"{\"a\"", 4},
      {"{\"a\":", 5},
      {"{\"a\":}", 5},
      {"{\"a\":1 ", 7},
      {"{\"a\":1,}", 7},
      {"{\"a\":1]", 6},
      {"{\"a\":[1,{\"b\":+}]}", 13},
      {"{\"a\":1 \"b\":2}", 7},
      {"[\"open]", 7},
      {"{\"open", 6},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Parsed parsed(c.text);
    EXPECT_EQ(parsed.tree, nullptr);
    EXPECT_EQ(parsed.errorOffset, c.offset);
  }
  // The next parse forgets it.
  EXPECT_EQ(Parsed("1").errorOffset, kNoError);
  EXPECT_EQ(Parsed("+").errorOffset, 0);
  EXPECT_EQ(jsonParse(nullptr), nullptr);
  EXPECT_EQ(jsonGetErrorPtr(), nullptr);
}

TEST(JsonReader, ReadsEveryKindOfValueAndStopsBehindTheFirst) {
  const struct {
    const char* text;
    std::uint32_t type;
    int children;
  } cases[] = {
      {"null", kJsonNull, 0},
      {"nullify", kJsonNull, 0},
      {"false", kJsonFalse, 0},
      {"\x01 true ]", kJsonTrue, 0},
      {"-7 8", kJsonNumber, 0},
      {"\"a\" b", kJsonString, 0},
      {"[]]", kJsonArray, 0},
      {"[ \n]", kJsonArray, 0},
      {"[ 1 ,\t[2,3] , {} ] }", kJsonArray, 3},
      {"{}", kJsonObject, 0},
      {"{ }", kJsonObject, 0},
      {"{ \"a\" : 1 , \"a\":\"\",\"\"\n:\n[1] } x", kJsonObject, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Parsed parsed(c.text);
    ASSERT_NE(parsed.tree, nullptr);
    EXPECT_EQ(parsed.errorOffset, kNoError);
    EXPECT_EQ(parsed.tree->type, c.type);
    EXPECT_EQ(parsed.tree->valueInt, c.type == kJsonTrue ? 1 : c.type == kJsonNumber ? -7 : 0);
    EXPECT_EQ(jsonGetArraySize(parsed.tree.get()), c.children);
    EXPECT_EQ(parsed.tree->key, nullptr);
    EXPECT_EQ(parsed.tree->next, nullptr);
  }
}

TEST(JsonReader, ReadsNumbersByItsOwnRules) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;  // whatever is left unread is cut off by the comma and found as a fault
    double value;
    bool whole;  // all of the text belongs to the number
  } cases[] = {
      {"0", 0.0, true},
      {"-", 0.0, true},
      {"-0", 0.0, true},
      {"012", 12.0, true},
      {"007", 0.0, false},
      {"00.5", 0.0, false},
      {"-3", -3.0, true},
      {"0.5", 0.5, true},
      {"-.5", -0.5, true},
      {"0.7083333135", 7083333135.0 * std::pow(10.0, -10.0), true},
      {"12.0e1", 120.0, true},
      {"1.", 1.0, false},
      {"1.e5", 1.0, false},
      {"1.5.5", 1.5, false},
      {"1e", 1.0, true},
      {"1e+", 1.0, true},
      {"1E-", 1.0, true},
      {"1e+-2", 1.0, false},
      {"-e2", 0.0, true},
      {"25e-1", 2.5, true},
      {"1E+3", 1000.0, true},
      {"1e022", 1e22, true},
      {"3000000000", 3e9, true},
      {"1e308", 1e308, true},
      {"-1e309", -infinity, true},
      {"1e99999999999999999999", infinity, true},
      {"1e-99999999999999999999", 0.0, true},
      {"0.0001e4", 1.0, true},
      {"1f", 1.0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Parsed alone(c.text);
    ASSERT_NE(alone.tree, nullptr);
    EXPECT_EQ(alone.tree->type, kJsonNumber);
    EXPECT_EQ(alone.tree->valueDouble, c.value);
    EXPECT_EQ(Parsed(std::string("[") + c.text + ",1]").tree != nullptr, c.whole);
  }
  // More digits than a double has room for, before and behind the point.
  const std::string digits(400, '9');
  EXPECT_EQ(Parsed(digits).tree->valueDouble, infinity);
  EXPECT_EQ(Parsed(digits).tree->valueInt, std::numeric_limits<std::int32_t>::max());
  const Parsed undefined("0." + digits);
  EXPECT_TRUE(std::isnan(undefined.tree->valueDouble));
  EXPECT_EQ(undefined.tree->valueInt, 0);
  EXPECT_EQ(Parsed("0." + std::string(400, '0') + "1e401").tree->valueDouble, 1.0);
}

TEST(JsonReader, DecodesStrings) {
  const struct {
    std::string_view text, expected;
  } cases[] = {
      {R"("")", ""},
      {R"("plain / 'text'")", "plain / 'text'"},
      {R"("a\b\f\n\r\t\/\"\\z")", "a\b\f\n\r\t/\"\\z"},
      {R"("\a\x\N\'")", "axN'"},
      {"\"raw \n\t\x01\x7f\x80\xff\"", "raw \n\t\x01\x7f\x80\xff"},
      {R"("\u0041\u007f\u0080\u00E9\u07ff\u0800\u20aC\uD7ff\ue000\uffff")",
       "A\x7f\xc2\x80\xc3\xa9\xdf\xbf\xe0\xa0\x80\xe2\x82\xac\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf"},
      {R"("\ud83d\ude00 \uD800\uDC00 \udbff\udfff")",
       "\xf0\x9f\x98\x80 \xf0\x90\x80\x80 \xf4\x8f\xbf\xbf"},
      // Halves without a partner.
      {R"("x\ud83d")", "x"},
      {R"("\ud83dy")", "y"},
      {R"("\ud83d\n")", "\n"},
      {R"("\ude00k\udfff\udc00")", "k"},
      {R"("\ud83d\u0041z")", "z"},
      {R"("\ud83d\ud83d\ude00z")", "z"},
      {R"("\ud83d\u")", ""},
      // Not four digits.
      {R"("a\u0000b")", "ab"},
      {R"("\u00g1b")", "b"},
      {R"("\U0041")", "U0041"},
      {R"("\u1\"23")", "3"},
      {R"("ab\u12")", "ab"},
      {R"("ab\u")", "ab"},
      // The end of the text.
      {"\"open", "open"},
      {"\"", ""},
      {R"("ab\u12)", "ab"},
      {R"("ab\u)", "ab"},
      {R"("ab\ud83d\u1)", "ab"},
      {R"("ab\)", "ab"},
      {R"("ab\")", "ab\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Parsed parsed(c.text);
    ASSERT_NE(parsed.tree, nullptr);
    EXPECT_EQ(parsed.tree->type, kJsonString);
    EXPECT_EQ(parsed.tree->valueString, c.expected);
  }
  // The same reader for keys, and a string ends where its quote was found.
  const Parsed object(R"({"k\u12":"\u","\ud83d\ude00\n":2})");
  ASSERT_NE(object.tree, nullptr);
  EXPECT_STREQ(jsonGetArrayItem(object.tree.get(), 0)->key, "k");
  EXPECT_STREQ(jsonGetArrayItem(object.tree.get(), 0)->valueString, "");
  EXPECT_STREQ(jsonGetArrayItem(object.tree.get(), 1)->key, "\xf0\x9f\x98\x80\n");
  EXPECT_EQ(jsonGetArrayItem(object.tree.get(), 1)->valueString, nullptr);
}

TEST(JsonReader, RefusesDepthsThatCouldOverflowTheStack) {
  const struct {
    const char* open;
    std::size_t levels;
    std::ptrdiff_t offset;
  } cases[] = {{"[", 513, 512},
               {"[", 1'000'000, 512},
               {"{\"a\":", 513, 512 * 5},
               {"[ {\"\":", 512, 512 * 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.levels << " times " << c.open);
    std::string text;
    for (std::size_t i = 0; i < c.levels; ++i) text += c.open;
    const Parsed parsed(text);
    EXPECT_EQ(parsed.tree, nullptr);
    EXPECT_EQ(parsed.errorOffset, c.offset);
  }
  const Parsed deepest(std::string(512, '[') + std::string(512, ']'));
  ASSERT_NE(deepest.tree, nullptr);
  // Width is no depth.
  std::string wide = "[[]";
  for (int i = 0; i < 100'000; ++i) wide += ",[{}]";
  EXPECT_EQ(jsonGetArraySize(Parsed(wide + "]").tree.get()), 100'001);
}

}  // namespace
