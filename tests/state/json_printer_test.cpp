#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "state/json_document.h"
#include "state/json_print_buffer.h"

namespace {

std::string text(char* printed) {
  const JsonText holder(printed);
  return printed ? printed : "(null)";
}

std::string formatted(const JsonTree& tree) { return text(jsonPrintFormatted(tree.get())); }

std::string unformatted(const JsonTree& tree) { return text(jsonPrintUnformatted(tree.get())); }

TEST(JsonPrinter, WritesNumbersInTheirStoredForm) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    const char* expected;
  } cases[] = {{-0.0, "0"},
               {1e-17, "0"},
               {-1e-15, "-1.000000e-15"},
               {-3.0, "-3"},
               {0.1F, "0.1000000015"},
               {0.9999999999999999, "1.0000000000"},
               {12.00048828125, "12.0004882812"},
               // Half a place too little or too much, by less than the product with 1e10 can show.
               {0.20955131485, "0.2095513149"},
               {0.80935378195, "0.8093537819"},
               {-2147483648.0, "-2147483648"},
               {2147483648.0, "2147483648"},
               {9.9e59, "990000000000000071209317824109868568248315964110362564886528"},
               {1e60, "1.000000e+60"},
               {1e-7, "1.000000e-07"},
               {1e-6, "0.0000010000"},
               {999999999.5, "999999999.5000000000"},
               {1000000000.5, "1.000000e+09"},
               {-std::numeric_limits<double>::max(), "-1.797693e+308"},
               {-infinity, "null"},
               {std::numeric_limits<double>::quiet_NaN(), "null"}};
  for (const auto& c : cases) {
    const std::string printed = unformatted(JsonTree(jsonCreateNumber(c.value)));
    EXPECT_EQ(printed, c.expected);
    const JsonTree again(jsonParse(printed.c_str()));
    EXPECT_TRUE(again && std::isfinite(again->valueDouble)) << printed;
  }
}

// The C library's own formats, for fractions of every size and for exact ties.
TEST(JsonPrinter, FractionsAgreeWithTheCFormats) {
  std::mt19937_64 random(20);
  for (int i = 0; i < 200'000; ++i) {
    const int halvings = 20 + static_cast<int>(random() % 55);
    const double anySize = std::ldexp(static_cast<double>(random() >> 11), -halvings);
    const double tie = static_cast<double>(random() % (1U << 24) * 2 + 1) / -2048.0;
    for (const double value : {anySize, tie, std::bit_cast<double>(random())}) {
      const double magnitude = std::fabs(value);
      const bool isWhole = magnitude < 3e-16 || std::fabs(std::floor(value) - value) < 1e-15;
      if (isWhole || !std::isfinite(value)) continue;
      const bool isWide = magnitude < 1e-6 || magnitude > 1e9;
      char expected[64];
      std::snprintf(expected, sizeof expected, isWide ? "%e" : "%.10f", value);
      ASSERT_EQ(unformatted(JsonTree(jsonCreateNumber(value))), expected) << "step " << i;
    }
  }
}

TEST(JsonPrinter, LaysOutObjectsByDepthAndArraysOnOneLine) {
  const struct {
    const char *source, *formatted, *unformatted;
  } cases[] = {
      {"{ }", "{\n}", "{}"},
      {"[null, true,false ,\"s\"]", "[null, true, false, \"s\"]", "[null,true,false,\"s\"]"},
      {"{\"a\":1,\"b\":[1,2]}", "{\n\t\"a\":\t1,\n\t\"b\":\t[1, 2]\n}", "{\"a\":1,\"b\":[1,2]}"},
      {"{\"a\":{\"b\":{}}}", "{\n\t\"a\":\t{\n\t\t\"b\":\t{\n\t}\n\t}\n}", "{\"a\":{\"b\":{}}}"},
      {"[{\"a\":1}, {}, [{}]]", "[{\n\t\t\"a\":\t1\n\t}, {\n}, [{\n\t}]]", "[{\"a\":1},{},[{}]]"},
      {"{\"l\":[{\"x\":0.5,\"e\":{}},{}],\"m\":[]}",
       "{\n\t\"l\":\t[{\n\t\t\t\"x\":\t0.5000000000,\n\t\t\t\"e\":\t{\n\t\t}\n\t\t}, {\n\t}],\n"
       "\t\"m\":\t[]\n}",
       "{\"l\":[{\"x\":0.5000000000,\"e\":{}},{}],\"m\":[]}"},
  };
  for (const auto& c : cases) {
    const JsonTree tree(jsonParse(c.source));
    EXPECT_EQ(formatted(tree), c.formatted);
    EXPECT_EQ(unformatted(tree), c.unformatted);
  }
}

TEST(JsonPrinter, EscapesTextsAndKeysAlike) {
  const char* const source = "/'<> \x7f\xff\xc3\xa9 \"a\\b \b\f\n\r\t x\x01\x0b\x1a\x1fy";
  const std::string expected =
      "\"/'<> \x7f\xff\xc3\xa9 \\\"a\\\\b \\b\\f\\n\\r\\t x\\u0001\\u000b\\u001a\\u001fy\"";
  const JsonTree object(jsonCreateObject());
  jsonAddItemToObject(object.get(), source, jsonCreateString(source));
  EXPECT_EQ(unformatted(object), "{" + expected + ":" + expected + "}");
}

TEST(JsonPrinter, RefusesATreeThatWouldNotReadBack) {
  const JsonTree tree(jsonParse("[1,{\"a\":[2]}]"));
  JsonNode* const member = jsonGetArrayItem(tree.get(), 1)->child;
  const auto expectPrinted = [&](bool printed) {
    EXPECT_EQ(formatted(tree) != "(null)", printed);
    EXPECT_EQ(unformatted(tree) != "(null)", printed);
  };
  member->child->type = kJsonNumber | 0x400;  // flags are no part of the kind
  expectPrinted(true);
  for (const std::uint32_t bad : {std::uint32_t{7}, std::uint32_t{kJsonString}}) {
    member->child->type = bad;  // unknown, or a string without text
    expectPrinted(false);
  }
  member->child->type = kJsonTrue;
  jsonAddItemToArray(jsonGetArrayItem(tree.get(), 1), jsonCreateTrue());  // a member without key
  expectPrinted(false);
}

TEST(JsonPrinter, TextsAroundTheEndOfABlockComeWhole) {
  for (const std::size_t block : {8192U, 65536U}) {
    for (std::size_t length = block - 22; length < block + 8; ++length) {
      const std::string filler(length, 'x');
      const JsonTree tree(jsonCreateArray());
      jsonAddItemToArray(tree.get(), jsonCreateString(filler.c_str()));
      jsonAddItemToArray(tree.get(), jsonCreateNumber(0.5));
      ASSERT_EQ(unformatted(tree), "[\"" + filler + "\",0.5000000000]") << length;
    }
  }
  std::string escapes = "\"";
  for (std::size_t length = 0; length < 1370; ++length) {
    const std::string source(length, '\1');
    ASSERT_EQ(unformatted(JsonTree(jsonCreateString(source.c_str()))), escapes + "\"") << length;
    escapes += "\\u0001";
  }
}

TEST(JsonPrinter, PastWhatThirtyTwoBitsCountThereIsNoMemory) {
  JsonPrintBuffer buffer{};
  json_detail::start(buffer);
  buffer.offset = 8000;
  EXPECT_NE(json_detail::ensure(buffer, 193), nullptr);
  EXPECT_EQ(buffer.capacity, 16384);
  EXPECT_EQ(json_detail::ensure(buffer, std::size_t{1} << 30), nullptr);
  EXPECT_EQ(buffer.data, nullptr);
  EXPECT_EQ(json_detail::ensure(buffer, 1), nullptr);
}

}  // namespace
