#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
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

std::string printedNumber(double value) {
  const JsonTree node(jsonCreateNumber(value));
  return text(jsonPrintUnformatted(node.get()));
}

TEST(JsonPrinter, WritesNumbersInTheirStoredForm) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    const char* expected;
  } cases[] = {
      {0.0, "0"},
      {-0.0, "0"},
      {1e-17, "0"},
      {-1e-15, "-1.000000e-15"},
      {3.0, "3"},
      {-3.0, "-3"},
      {0.5, "0.5000000000"},
      {-0.5, "-0.5000000000"},
      {0.1F, "0.1000000015"},
      {0.9999999999999999, "1.0000000000"},
      {41.99999999999, "42.0000000000"},
      {1.00000000005, "1.0000000001"},
      {12.00048828125, "12.0004882812"},  // a tie goes to the even place
      {12.00146484375, "12.0014648438"},
      // Half a place too little or too much, by less than the product with 1e10 can show.
      {0.20955131485, "0.2095513149"},
      {0.80935378195, "0.8093537819"},
      {2147483647.0, "2147483647"},
      {-2147483648.0, "-2147483648"},
      {2147483648.0, "2147483648"},
      {3000000000.0, "3000000000"},
      {-1e22, "-10000000000000000000000"},
      {9.9e59, "990000000000000071209317824109868568248315964110362564886528"},
      {1e60, "1.000000e+60"},
      {-1e300, "-1.000000e+300"},
      {1e-7, "1.000000e-07"},
      {5e-324, "0"},
      {1e-6, "0.0000010000"},
      {0.0000015, "0.0000015000"},
      {999999999.5, "999999999.5000000000"},
      {1000000000.5, "1.000000e+09"},
      {2000000000.5, "2.000000e+09"},
      {infinity, "inf"},
      {-infinity, "-inf"},
      {std::numeric_limits<double>::quiet_NaN(), "nan"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(printedNumber(c.value), c.expected);
  }
}

// The C library's own formats, for fractions of every size and for exact ties.
TEST(JsonPrinter, FractionsAgreeWithTheCFormats) {
  constexpr unsigned kSeed = 20;
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 200'000; ++i) {
    const double mantissa = static_cast<double>(random() >> 11);
    const int halvings = 20 + static_cast<int>(random() % 55);
    const double tie = static_cast<double>(random() % (1U << 24) * 2 + 1) / 2048.0;
    const double anyBits = std::bit_cast<double>(random());
    const double values[] = {std::ldexp(mantissa, -halvings), -tie, anyBits};
    for (const double value : values) {
      const double magnitude = std::fabs(value);
      const bool isWhole = std::fabs(std::floor(value) - value) < 1e-15;
      if (isWhole) continue;
      const bool isWide = magnitude < 1e-6 || magnitude > 1e9;
      char expected[64];
      std::snprintf(expected, sizeof expected, isWide ? "%e" : "%.10f", value);
      if (magnitude < 3e-16) continue;  // counts as 0
      ASSERT_EQ(printedNumber(value), expected) << "seed " << kSeed << ", step " << i;
    }
  }
}

TEST(JsonPrinter, LaysOutObjectsByDepthAndArraysOnOneLine) {
  const struct {
    const char* source;
    const char* formatted;
    const char* unformatted;
  } cases[] = {
      {"{ }", "{\n}", "{}"},
      {"[ ]", "[]", "[]"},
      {"[null, true,false ,\"s\"]", "[null, true, false, \"s\"]", "[null,true,false,\"s\"]"},
      {"{\"a\":1,\"b\":[1,2]}", "{\n\t\"a\":\t1,\n\t\"b\":\t[1, 2]\n}", "{\"a\":1,\"b\":[1,2]}"},
      {"{\"a\":{}}", "{\n\t\"a\":\t{\n}\n}", "{\"a\":{}}"},
      {"{\"a\":{\"b\":{}}}", "{\n\t\"a\":\t{\n\t\t\"b\":\t{\n\t}\n\t}\n}", "{\"a\":{\"b\":{}}}"},
      {"[{\"a\":1}, {}, [{}]]", "[{\n\t\t\"a\":\t1\n\t}, {\n}, [{\n\t}]]", "[{\"a\":1},{},[{}]]"},
      {"{\"l\":[{\"x\":0.5,\"e\":{}},{}],\"m\":[]}",
       "{\n\t\"l\":\t[{\n\t\t\t\"x\":\t0.5000000000,\n\t\t\t\"e\":\t{\n\t\t}\n\t\t}, {\n\t}],\n"
       "\t\"m\":\t[]\n}",
       "{\"l\":[{\"x\":0.5000000000,\"e\":{}},{}],\"m\":[]}"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    const JsonTree tree(jsonParse(c.source));
    EXPECT_EQ(text(jsonPrintFormatted(tree.get())), c.formatted);
    EXPECT_EQ(text(jsonPrintUnformatted(tree.get())), c.unformatted);
  }
}

TEST(JsonPrinter, EscapesTextsAndKeysAlike) {
  const struct {
    const char* source;
    const char* expected;
  } cases[] = {
      {"", "\"\""},
      {"plain /'<> \x7f\x80\xff\xc3\xa9", "\"plain /'<> \x7f\x80\xff\xc3\xa9\""},
      {"\"", "\"\\\"\""},
      {"a\\b", "\"a\\\\b\""},
      {"\b\f\n\r\t", "\"\\b\\f\\n\\r\\t\""},
      {"x\x01\x0b\x1a\x1fy", "\"x\\u0001\\u000b\\u001a\\u001fy\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const JsonTree object(jsonCreateObject());
    jsonAddItemToObject(object.get(), c.source, jsonCreateString(c.source));
    const std::string expected = c.expected;
    EXPECT_EQ(text(jsonPrintUnformatted(object.get())), "{" + expected + ":" + expected + "}");
    EXPECT_EQ(text(jsonPrintFormatted(object.get())),
              "{\n\t" + expected + ":\t" + expected + "\n}");
  }
}

TEST(JsonPrinter, RefusesATreeThatWouldNotReadBack) {
  const auto refused = [](const JsonTree& tree) {
    return text(jsonPrintFormatted(tree.get())) == "(null)" &&
           text(jsonPrintUnformatted(tree.get())) == "(null)";
  };
  const JsonTree strangeType(jsonParse("[1,{\"a\":[2]}]"));
  JsonNode* const object = jsonGetArrayItem(strangeType.get(), 1);
  EXPECT_FALSE(refused(strangeType));
  object->child->child->type = 7;
  EXPECT_TRUE(refused(strangeType));
  // Flags are no part of the kind.
  object->child->child->type = kJsonNumber | 0x400;
  EXPECT_FALSE(refused(strangeType));

  const JsonTree noText(jsonParse("{\"a\":null}"));
  noText->child->type = kJsonString;
  EXPECT_TRUE(refused(noText));

  const JsonTree noKey(jsonCreateObject());
  jsonAddItemToArray(noKey.get(), jsonCreateTrue());
  EXPECT_TRUE(refused(noKey));
}

TEST(JsonPrinter, BufferGrowsToThePowerOfTwoThatFits) {
  JsonPrintBuffer buffer{};
  json_detail::start(buffer);
  ASSERT_NE(buffer.data, nullptr);
  EXPECT_EQ(buffer.capacity, 8192);
  const struct {
    std::int32_t offset;
    std::size_t bytes;
    std::int32_t capacity;
  } steps[] = {{0, 8192, 8192},       {8000, 192, 8192},   {8192, 0, 8192},
               {8000, 193, 16384},    {100, 16384, 32768}, {32768, 32768, 65536},
               {65536, 65537, 262144}};
  for (const auto& s : steps) {
    SCOPED_TRACE(testing::Message() << s.bytes << " at " << s.offset);
    buffer.offset = s.offset;
    const char* const before = buffer.data;
    const bool fits = s.capacity == buffer.capacity;
    char* const room = json_detail::ensure(buffer, s.bytes);
    ASSERT_EQ(room, buffer.data + s.offset);
    EXPECT_EQ(buffer.capacity, s.capacity);
    EXPECT_EQ(buffer.data == before, fits);
    EXPECT_EQ(buffer.offset, s.offset);
    std::fill_n(room, s.bytes, 'x');
    // What stood before has moved along.
    if (s.offset > 0) {
      EXPECT_EQ(buffer.data[0], 'x');
    }
  }
  // Past what 32 bits can count there is no memory.
  EXPECT_EQ(json_detail::ensure(buffer, std::size_t{1} << 30), nullptr);
  EXPECT_EQ(buffer.data, nullptr);
  EXPECT_EQ(buffer.capacity, 0);
  EXPECT_EQ(buffer.offset, 0);
  EXPECT_EQ(json_detail::ensure(buffer, 1), nullptr);
}

TEST(JsonPrinter, TextsAroundTheEndOfTheFirstBlockComeWhole) {
  for (int length = 8170; length < 8200; ++length) {
    SCOPED_TRACE(length);
    const std::string filler(static_cast<std::size_t>(length), 'x');
    const JsonTree tree(jsonCreateArray());
    jsonAddItemToArray(tree.get(), jsonCreateString(filler.c_str()));
    jsonAddItemToArray(tree.get(), jsonCreateNumber(0.5));
    EXPECT_EQ(text(jsonPrintFormatted(tree.get())), "[\"" + filler + "\", 0.5000000000]");
    EXPECT_EQ(text(jsonPrintUnformatted(tree.get())), "[\"" + filler + "\",0.5000000000]");
  }
}

TEST(JsonPrinter, EscapesAroundTheEndOfTheFirstBlockComeWhole) {
  std::string expected = "\"";
  for (int i = 0; i < 1350; ++i) expected += "\\u0001";
  for (int length = 1350; length < 1370; ++length) {
    SCOPED_TRACE(length);
    const JsonTree node(
        jsonCreateString(std::string(static_cast<std::size_t>(length), '\1').c_str()));
    EXPECT_EQ(text(jsonPrintUnformatted(node.get())), expected + "\"");
    expected += "\\u0001";
  }
}

struct CorpusFile {
  const char* name;
  const char* expected;        // the unformatted text, null if refused
  std::ptrdiff_t errorOffset;  // -1: none
};

const CorpusFile kCorpus[] = {
    {"good_empty_object.json", "{}", -1},
    {"good_program.json",
     R"({"presets":[{"name":"Drum bus","kB1Threshold":0.7083333135,"kB1Ratio":0,"kB8Gain":1}],)"
     R"("ab":[],"level":9})",
     -1},
    {"good_band.json",
     "{\"kBandOn\":1,\"kBandFreq\":0.3333333433,\"kBandSlope\":12,\"tags\":[\"low\","
     "\"\xc3\xbc"
     "ber\"]}",
     -1},
    {"good_numbers.json",
     "[0,0,0.5000000000,-3,3000000000,1.000000e-07,0.0000015000,1000,2.5000000000,"
     "123456789012345660285533552640]",
     -1},
    {"good_midi_map.json", "[-1,-1,-1,7,421,-1]", -1},
    {"good_words.json", "[true,false,null,{},[]]", -1},
    {"good_escapes.json", "{\"a\\\"b\\\\c/\":\"\\b\\f\\n\\r\\tA\xe2\x82\xac\xf0\x9f\x98\x80\"}",
     -1},
    {"good_raw_bytes.json", "[\"\xc3\xa9\xff\x80\",\"line\\nbreak\\u0001\x7f\"]", -1},
    {"odd_trailing_text.json", "{\"a\":1}", -1},
    {"odd_duplicate_keys.json", "{\"a\":1,\"A\":2,\"a\":3,\"\":4}", -1},
    {"odd_leading_zeros.json", "0", -1},
    {"odd_bare_minus.json", "[0,0,1,12]", -1},
    {"odd_dot_without_digit.json", "1", -1},
    {"odd_surrogates.json", R"(["","x","","y","","z"])", -1},
    {"odd_cut_unicode.json", R"([""])", -1},
    {"odd_unterminated.json", R"("no closing quote")", -1},
    {"odd_nested_empty.json", R"({"a":{"b":{"c":{}}},"d":[{},[{}]]})", -1},
    {"bad_open_array.json", nullptr, 5},
    {"bad_plus.json", nullptr, 5},
    {"bad_trailing_comma.json", nullptr, 7},
    {"bad_no_colon.json", nullptr, 5},
    {"bad_bare_key.json", nullptr, 1},
    {"bad_wrong_bracket.json", nullptr, 4},
    {"bad_deep.json", nullptr, 512},
};

TEST(JsonPrinter, CorpusHasItsTextAndComesBackFromBothForms) {
  for (const CorpusFile& file : kCorpus) {
    SCOPED_TRACE(file.name);
    std::ifstream stream(std::string(CORVANTHELIS_JSON_CORPUS "/") + file.name, std::ios::binary);
    ASSERT_TRUE(stream.is_open());
    const std::string source(std::istreambuf_iterator<char>(stream), {});
    const JsonTree tree(jsonParse(source.c_str()));
    const char* const error = jsonGetErrorPtr();
    EXPECT_EQ(error ? error - source.c_str() : -1, file.errorOffset);
    ASSERT_EQ(tree != nullptr, file.expected != nullptr);
    if (!tree) continue;
    EXPECT_EQ(text(jsonPrintUnformatted(tree.get())), file.expected);
    const std::string formatted = text(jsonPrintFormatted(tree.get()));
    for (const std::string& form : {formatted, std::string(file.expected)}) {
      const JsonTree again(jsonParse(form.c_str()));
      EXPECT_EQ(text(jsonPrintFormatted(again.get())), formatted);
      EXPECT_EQ(text(jsonPrintUnformatted(again.get())), file.expected);
    }
  }
}

}  // namespace
