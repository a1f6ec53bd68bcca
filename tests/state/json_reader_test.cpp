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
    tree.reset(jsonParse(text.get(), fault));
    const JsonTree again(jsonParse(text.get()));
    EXPECT_EQ(jsonGetErrorPtr(), fault.position);
    if (fault.position) errorOffset = fault.position - text.get();
  }

  std::unique_ptr<char[]> text;
  JsonFault fault;
  JsonTree tree;
  std::ptrdiff_t errorOffset = kNoError;
};

TEST(JsonReader, GivesUpAtTheByteThatDoesNotFit) {
  const struct {
    const char* text;
    std::ptrdiff_t offset;
  } cases[] = {{"", 0},         {" \t\x01\x1f", 4}, {"+1", 0},       {"nul", 0},
               {"True", 0},     {" \xef\xbb", 1},   {"[1, 2", 5},    {"[1 2]", 3},
               {"[1,]", 3},     {"[1,2}", 4},       {"[-, 007]", 5}, {"[1.]", 2},
               {"{1:2}", 1},    {"{\"a\" 1}", 5},   {"{\"a\":", 5},  {"[1,{\"\":+}]", 7},
               {"[\"open]", 7}, {"{\"open", 6}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Parsed parsed(c.text);
    EXPECT_EQ(parsed.tree, nullptr);
    EXPECT_EQ(parsed.errorOffset, c.offset);
  }
  // The next parse forgets it.
  EXPECT_EQ(Parsed("1").errorOffset, kNoError);
  EXPECT_EQ(jsonParse(nullptr), nullptr);
}

TEST(JsonReader, ReadsEveryKindOfValueAndStopsBehindTheFirst) {
  const struct {
    const char* text;
    std::uint32_t type;
    int children;
  } cases[] = {{"nullify", kJsonNull, 0},
               {"false", kJsonFalse, 0},
               {"\x01 true ]", kJsonTrue, 0},
               {"-7 8", kJsonNumber, 0},
               {"\"a\" b", kJsonString, 0},
               {"[ \n]]", kJsonArray, 0},
               {"[ 1 ,\t[2,3] , {} ] }", kJsonArray, 3},
               {"{ }", kJsonObject, 0},
               {"{ \"a\" : 1 , \"a\":\"\",\"\"\n:\n[1] } x", kJsonObject, 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Parsed parsed(c.text);
    ASSERT_NE(parsed.tree, nullptr);
    EXPECT_EQ(parsed.tree->type, c.type);
    EXPECT_EQ(parsed.tree->valueInt, c.type == kJsonTrue ? 1 : c.type == kJsonNumber ? -7 : 0);
    EXPECT_EQ(jsonGetArraySize(parsed.tree.get()), c.children);
  }
}

TEST(JsonReader, ReadsNumbersByItsOwnRules) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;
    double value;
    bool whole;  // all of the text belongs to the number
  } cases[] = {{"-", 0.0, true},
               {"012", 12.0, true},
               {"007", 0.0, false},
               {"-.5", -0.5, true},
               {"1.e5", 1.0, false},
               {"1.5.5", 1.5, false},
               {"1e+", 1.0, true},
               {"1e+-2", 1.0, false},
               {"25e-1", 2.5, true},
               {"1E+3", 1000.0, true},
               {"1e022", 1e22, true},
               {"-1e309", -infinity, true},
               {"1e-9999999999", 0.0, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Parsed(c.text).tree->valueDouble, c.value);
    // What is left unread stands where the comma should be.
    EXPECT_EQ(Parsed(std::string("[") + c.text + ",1]").tree != nullptr, c.whole);
  }
  EXPECT_EQ(Parsed("0.7083333135").tree->valueDouble, 7083333135.0 * std::pow(10.0, -10.0));
  // More digits than a double has room for, before and behind the point.
  const std::string digits(400, '9');
  EXPECT_EQ(Parsed(digits).tree->valueDouble, infinity);
  EXPECT_TRUE(std::isnan(Parsed("0." + digits).tree->valueDouble));
  EXPECT_EQ(Parsed("0." + std::string(400, '0') + "1e401").tree->valueDouble, 1.0);
}

TEST(JsonReader, DecodesStrings) {
  const struct {
    std::string_view text, expected;
  } cases[] = {
      {R"("a\b\f\n\r\t\/\"\\z")", "a\b\f\n\r\t/\"\\z"},
      {R"("\a\x\N\'\U0041")", "axN'U0041"},
      {"\"raw \n\t\x01\x7f\x80\xff\"", "raw \n\t\x01\x7f\x80\xff"},
      {R"("\u0041\u007f\u0080\u00E9\u07ff\u0800\u20aC\uD7ff\ue000\uffff")",
       "A\x7f\xc2\x80\xc3\xa9\xdf\xbf\xe0\xa0\x80\xe2\x82\xac\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf"},
      {R"("\ud83d\ude00 \uD800\uDC00 \udbff\udfff")",
       "\xf0\x9f\x98\x80 \xf0\x90\x80\x80 \xf4\x8f\xbf\xbf"},
      // Halves without a partner.
      {R"("x\ud83d")", "x"},
      {R"("\ud83d\n")", "\n"},
      {R"("\ude00k\udfff\udc00")", "k"},
      {R"("\ud83d\u0041\ud83d\ud83d\ude00z")", "z"},
      // Not four digits.
      {R"("a\u0000b\u00g1c")", "abc"},
      {R"("\u1\"23")", "3"},
      {R"("ab\u12")", "ab"},
      // The end of the text.
      {"\"open", "open"},
      {R"("ab\u)", "ab"},
      {R"("ab\ud83d\u1)", "ab"},
      {R"("ab\)", "ab"},
      {R"("ab\")", "ab\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Parsed(c.text).tree->valueString, c.expected);
  }
  // The same reader for keys, and a string ends where its quote was found.
  const Parsed object(R"({"k\u12":"\u","\ud83d\ude00\n":2})");
  EXPECT_STREQ(object.tree->child->key, "k");
  EXPECT_STREQ(object.tree->child->valueString, "");
  EXPECT_STREQ(object.tree->child->next->key, "\xf0\x9f\x98\x80\n");
}

TEST(JsonReader, RefusesDepthsAndSizesThatNoDocumentHas) {
  const struct {
    const char* open;
    std::size_t levels;
    std::ptrdiff_t offset;
  } cases[] = {{"[", 1'000'000, 512}, {"{\"a\":", 513, 512 * 5}, {"[ {\"\":", 512, 512 * 3}};
  for (const auto& c : cases) {
    std::string text;
    for (std::size_t i = 0; i < c.levels; ++i) text += c.open;
    const Parsed parsed(text);
    EXPECT_EQ(parsed.tree, nullptr);
    EXPECT_EQ(parsed.errorOffset, c.offset);
    EXPECT_TRUE(parsed.fault.isTooMuch);
  }
  EXPECT_FALSE(Parsed("[1").fault.isTooMuch);
  EXPECT_NE(Parsed(std::string(512, '[') + std::string(512, ']')).tree, nullptr);
  // Width is no depth.
  std::string wide = "[[]";
  for (int i = 0; i < 100'000; ++i) wide += ",[{}]";
  EXPECT_EQ(jsonGetArraySize(Parsed(wide + "]").tree.get()), 100'001);
  // As many values as a document may have, and one more; as many bytes, and one more.
  std::string values = "[0";
  while (values.size() < 2 * (kMostDocumentNodes - 1)) values += ",0";
  EXPECT_NE(Parsed(values + "]").tree, nullptr);
  EXPECT_TRUE(Parsed(values + ",0]").fault.isTooMuch);
  const std::string bytes = "\"" + std::string(kMostDocumentBytes - 2, 'x');
  EXPECT_NE(Parsed(bytes + "\"").tree, nullptr);
  EXPECT_TRUE(Parsed(bytes + "x\"").fault.isTooMuch);
}

}  // namespace
