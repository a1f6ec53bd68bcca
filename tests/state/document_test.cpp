// Documents, plain and packed.

#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <string_view>

#include "state/chunk_codec.h"
#include "state/json_detail.h"
#include "state/json_document.h"
#include "state/json_print_buffer.h"
#include "state/json_writer.h"
#include "state/whole_inflate.h"
#include "tests/support/script.h"

namespace {

std::string textOf(char* printed) {
  const JsonText holder(printed);
  return printed ? printed : "(null)";
}

std::string compact(const JsonNode* node) { return textOf(jsonPrintUnformatted(node)); }

/// A tree as plainly as can be, apart from the printer, with all of its fields looked at.
std::string treeOf(const JsonNode* node) {
  if (!node) return "(none)";
  const std::uint32_t type = node->type & kJsonTypeMask;
  const double number = type == kJsonNumber ? node->valueDouble : type == kJsonTrue ? 1.0 : 0.0;
  const double whole = std::clamp(std::trunc(number), -2147483648.0, 2147483647.0);
  EXPECT_EQ(node->valueInt, std::isnan(number) ? 0.0 : whole);
  EXPECT_EQ(node->valueString != nullptr, type == kJsonString);
  std::string text;
  const JsonNode* before = nullptr;
  for (const JsonNode* item = node->child; item; before = item, item = item->next) {
    EXPECT_TRUE(type == kJsonArray || type == kJsonObject);
    EXPECT_EQ(item->prev, before);
    EXPECT_EQ(item->key != nullptr, type == kJsonObject);
    text += (before ? "," : "") + (item->key ? std::string(item->key) + ":" : "") + treeOf(item);
  }
  std::ostringstream digits;
  digits << std::setprecision(17) << (std::isnan(number) ? NAN : number);
  const std::string forms[] = {"false",
                               "true",
                               "null",
                               digits.str(),
                               '"' + std::string(node->valueString ? node->valueString : "") + '"',
                               '[' + text + ']',
                               '{' + text + '}'};
  return forms[type];
}

/// Reads a text in a heap block of its size, so that the sanitizers see its end: the tree as text,
/// or "!" with the place of the fault; "!!" for too much.
std::string read(std::string_view source, JsonTree& tree) {
  const auto text = std::make_unique<char[]>(source.size() + 1);
  source.copy(text.get(), source.size());
  JsonFault fault;
  tree.reset(jsonParse(text.get(), fault));
  const JsonTree again(jsonParse(text.get()));
  EXPECT_EQ(jsonGetErrorPtr(), fault.position);
  EXPECT_NE(tree == nullptr, fault.position == nullptr);
  EXPECT_EQ(treeOf(jsonReadInPlace(std::string(source)).get()), treeOf(tree.get()));
  if (tree) return treeOf(tree.get());
  return (fault.isTooMuch ? "!!" : "!") + std::to_string(fault.position - text.get());
}

TEST(Json, TextsBecomeTreesAndTreesTexts) {
  JsonTree tree;
  for (const DataRow& row : dataRows(TEST_DATA "/json.txt")) {
    SCOPED_TRACE(row[0]);
    EXPECT_EQ(read(row[0] == " " ? "" : row[0], tree), row[1]);
    if (row[2].empty()) continue;
    EXPECT_EQ(compact(tree.get()), row[2]);
    EXPECT_EQ(textOf(jsonPrintFormatted(tree.get())), row[3].empty() ? row[2] : row[3]);
    EXPECT_NE(JsonTree(jsonParse(row[2].c_str())), nullptr) << "reads back";
  }
  EXPECT_EQ(jsonParse(nullptr), nullptr);
  EXPECT_EQ(compact(nullptr), "(null)");
}

/// Pieces, and how often each comes.
std::string repeated(const DataRow& row) {
  std::string text;
  for (std::size_t cell = 0; !row[cell].empty(); cell += 2) {
    for (int n = std::stoi(row[cell + 1]); n > 0; --n) text += row[cell];
  }
  return text;
}

TEST(Json, DepthsAndSizesThatNoDocumentHasAreRefused) {
  JsonTree tree;
  for (const DataRow& row : dataRows(TEST_DATA "/json_sizes.txt")) {
    const std::string result = read(repeated(row), tree);
    EXPECT_EQ(tree ? "read" : result, row.back()) << row[0] << ' ' << row[1];
  }
}

TEST(Json, NumbersHaveTheirStoredForm) {
  for (const DataRow& row : dataRows(TEST_DATA "/json_numbers.txt")) {
    const std::string printed = compact(JsonTree(jsonCreateNumber(std::stod(row[0]))).get());
    EXPECT_EQ(printed, row[1]);
    const JsonTree again(jsonParse(printed.c_str()));
    EXPECT_TRUE(again && std::isfinite(again->valueDouble)) << printed;
  }
  // The C library's own formats, for fractions of every size and for exact ties.
  std::mt19937_64 random(20);
  for (int i = 0; i < 50'000; ++i) {
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
      ASSERT_EQ(compact(JsonTree(jsonCreateNumber(value)).get()), expected) << "step " << i;
    }
  }
}

// Digit by digit, by a power that the library gives.
TEST(Json, NumbersAreReadToTheLastBit) {
  std::mt19937 random(21);
  const auto digits = [&random] {
    std::string text;
    for (auto n = random() % 22; n > 0; --n) text += static_cast<char>('0' + random() % 10);
    return text;
  };
  for (int i = 0; i < 50'000; ++i) {
    const std::string whole = i % 3 == 0 ? "0" : "3" + digits();
    const std::string places = "9" + digits();
    const int exponent = i % 2 == 0 ? 0 : static_cast<int>(random() % 90) - 45;
    double expected = 0.0;
    for (const char digit : whole + places) expected = expected * 10.0 + (digit - '0');
    expected *= std::pow(10.0, exponent - static_cast<double>(places.size()));
    const std::string power = exponent == 0 ? "" : "e" + std::to_string(exponent);
    const JsonTree number(jsonParse((whole + '.' + places + power).c_str()));
    ASSERT_EQ(number->valueDouble, expected) << whole << '.' << places << power;
  }
}

TEST(Json, TextsAroundTheEndOfABlockComeWhole) {
  for (const auto& [c, block] : {std::pair('x', 8192), {'x', 65536}, {'\1', 8192}}) {
    const std::string printed = c == 'x' ? "x" : "\\u0001";
    const std::size_t most = static_cast<std::size_t>(block + 8) / printed.size();
    for (std::size_t length = most - 30; length <= most; ++length) {
      const JsonTree tree(jsonCreateArray());
      jsonAddItemToArray(tree.get(), jsonCreateString(std::string(length, c).c_str()));
      jsonAddItemToArray(tree.get(), jsonCreateNumber(0.5));
      const std::string text = repeated({printed, std::to_string(length), ""});
      ASSERT_EQ(compact(tree.get()), "[\"" + text + "\",0.5000000000]") << length;
    }
  }
  // Past what 32 bits count there is no memory.
  JsonPrintBuffer buffer{};
  json_detail::start(buffer);
  buffer.offset = 8000;
  EXPECT_NE(json_detail::ensure(buffer, 193), nullptr);
  EXPECT_EQ(buffer.capacity, 16384);
  EXPECT_EQ(json_detail::ensure(buffer, std::size_t{1} << 30), nullptr);
  EXPECT_EQ(buffer.data, nullptr);
  EXPECT_EQ(json_detail::ensure(buffer, 1), nullptr);
}

TEST(Json, ATreeThatWouldNotReadBackIsNotPrinted) {
  const JsonTree tree(jsonParse("[1,{\"a\":[2]}]"));
  JsonNode* const object = jsonGetArrayItem(tree.get(), 1);
  // Flags are no part of the kind; unknown; a string without text; beside a member without key.
  for (const std::uint32_t type : {kJsonNumber | 0x400U, 7U, 4U, 1U}) {
    if (type == kJsonTrue) jsonAddItemToArray(object, jsonCreateTrue());
    object->child->child->type = type;
    EXPECT_EQ(compact(tree.get()) == "(null)", type <= 7) << type;
    EXPECT_EQ(textOf(jsonPrintFormatted(tree.get())) == "(null)", type <= 7) << type;
  }
}

/// What is done to an object, told in a table.
class JsonScript : public Script {
 protected:
  JsonScript() {
    commands["add"] = [this] { add(made(), false); };
    commands["add const"] = [this] { add(made(), true); };
    commands["add again"] = [this] { add(withKey(false), false); };
    commands["add again const"] = [this] { add(withKey(true), true); };
    commands["refer"] = [this] {
      add(jsonCreateReference(jsonGetArrayItem(shared.get(), number(2))), false);
    };
    commands["write"] = [this] { JsonWriter(root.get()).add(keptName(), made()); };
    commands["delete"] = [this] { jsonDeleteItemFromObject(root.get(), row[1].c_str()); };
    commands["find"] = [this] { say(treeOf(jsonGetObjectItem(root.get(), row[1].c_str()))); };
    commands["item"] = [this] { say(treeOf(jsonGetArrayItem(root.get(), number(1)))); };
  }
  void afterRow() override {
    if (said.empty()) say(treeOf(root.get()));
  }
  [[nodiscard]] JsonNode* made() const { return jsonParse(row[2].c_str()); }
  [[nodiscard]] const char* keptName() { return names.insert(row[1]).first->c_str(); }
  /// It has a key already, a copy or a constant.
  [[nodiscard]] JsonNode* withKey(bool isConst) const {
    const JsonTree before(jsonCreateObject());
    JsonNode* const item = made();
    if (isConst) jsonAddItemToObjectConstKey(before.get(), "constant", item);
    if (!isConst) jsonAddItemToObject(before.get(), row[1].c_str(), item);
    before->child = nullptr;
    return item;
  }
  void add(JsonNode* item, bool isConst) {
    const char* const name = keptName();
    if (isConst) jsonAddItemToObjectConstKey(root.get(), name, item);
    if (!isConst) jsonAddItemToObject(root.get(), item->key ? item->key : name, item);
    EXPECT_EQ(item->key == name, isConst);
  }

  std::set<std::string> names;
  const JsonTree shared{jsonParse("[[1,{\"x\":\"y\"}],\"text\"]")};
  const JsonTree root{jsonCreateObject()};
};

TEST_F(JsonScript, ObjectsTakeFindAndGiveUpTheirItems) {
  run(TEST_DATA "/json_objects.txt");
  EXPECT_EQ(treeOf(shared.get()), "[[1,{x:\"y\"}],\"text\"]");
  // Items of an array have no key: no name finds them, not even none.
  EXPECT_EQ(jsonGetObjectItem(shared.get(), ""), nullptr);
  EXPECT_EQ(jsonGetObjectItem(shared.get(), nullptr), nullptr);
}

// One allocation fails, the next time another, until none does; leaks are the sanitizers' to find.
TEST(Json, EveryFailedAllocationGivesNullAndLeaksNothing) {
  const std::string text =
      "{\"a\":[1,\"t\",{\"b\":null}],\"c\":\"" + std::string(9000, 'x') + "\",\"d\":[]}";
  const JsonTree tree(jsonParse(text.c_str()));
  const std::int32_t values[] = {1, std::numeric_limits<std::int32_t>::min()};
  const auto attempt = [&] {
    const JsonTree read(jsonParse(text.c_str()));
    EXPECT_EQ(jsonGetErrorPtr(), nullptr);
    const JsonText printed(jsonPrintFormatted(tree.get()));
    const JsonTree array(jsonCreateIntArray(values, 2));
    EXPECT_TRUE(!array || treeOf(array.get()) == "[1,-2147483648]");
    const JsonTree string(jsonCreateString("t"));
    const JsonTree reference(jsonCreateReference(tree.get()));
    const JsonTree object(jsonCreateObject());
    JsonNode* const item = object ? jsonCreateTrue() : nullptr;
    if (!item) return false;
    jsonAddItemToObject(object.get(), "a", item);  // nothing half is printed
    EXPECT_EQ(object->child, item);
    return read && printed && array && string && reference && compact(object.get()) != "(null)";
  };
  // 8 nodes, 4 keys, 2 texts; the first block and one more for the long text; 3 + 2 + 1; 4.
  static int left = 0;
  int failing = -1;
  do {
    left = ++failing;
    json_detail::allocate = [](std::size_t bytes) {
      return left-- == 0 ? nullptr : std::malloc(bytes);
    };
    const bool gaveResult = attempt();
    json_detail::allocate = std::malloc;
    EXPECT_EQ(gaveResult, left >= 0) << "allocation " << failing;
  } while (left < 0);
  EXPECT_EQ(failing, 26);
  EXPECT_EQ(treeOf(JsonTree(jsonCreateIntArray(nullptr, 3)).get()), "[]");
}

constexpr std::size_t kBlock = 8192;  // bytes that the codec moves at a time

/// Letters from common to one in a thousand, and runs of them from near and far.
std::string wordsOf(std::mt19937& random, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    const unsigned reach = 1U << random() % 16;
    const std::size_t back = text.size() - std::min<std::size_t>(text.size(), random() % reach);
    text += std::string(text.substr(back, random() % 300));
    for (int n = 0; n < 100; ++n) text += static_cast<char>(std::countr_zero(random()) * 7);
  }
  return text.substr(0, size);
}

// Of texts that shrink to nothing and of texts that grow, the packed or the plain form ends at each
// place around the edge of a block.
TEST(ChunkCodec, EveryLengthComesBackAndIsWhatTheSystemPacks) {
  std::mt19937 random(4);
  const std::string blank(3 * kBlock + 40, '\xFF');
  std::string grown = blank;
  for (char& c : grown) c = static_cast<char>(random());
  for (const std::string& source : {blank, grown, wordsOf(random, blank.size())}) {
    for (std::size_t size = 0; size < source.size(); ++size) {
      if (size % kBlock == 40) size += kBlock - 80;
      const std::string text = source.substr(0, size);
      const int level = 1 + static_cast<int>(size % 9);
      const auto packed = packChunk(text, level);
      std::string expected(compressBound(size), '\0');
      uLongf length = expected.size();
      compress2(reinterpret_cast<Bytef*>(expected.data()), &length,
                reinterpret_cast<const Bytef*>(text.data()), size, level);
      ASSERT_EQ(packed, "ZIP " + expected.substr(0, length)) << size;
      for (const char* const behind : {"", "\n", "\r\n", "ZIP ZIP "}) {
        ASSERT_EQ(unpackChunk(*packed + behind), text) << size;
        ASSERT_EQ(inflateWhole(packed->substr(4) + behind, size), text) << size;
      }
      ASSERT_EQ(inflateWhole(packed->substr(4), size - 1).has_value(), size == 0) << size;
      // Without its checksum the text is still whole.
      ASSERT_EQ(unpackChunk(packed->substr(0, packed->size() - 4)), text) << size;
    }
    const std::string good = *packChunk(source, 9);
    for (std::size_t cut = 0; cut < good.size(); cut += 1 + good.size() / 500) {
      const auto begun = unpackChunk(good.substr(0, cut));
      ASSERT_TRUE(begun && source.starts_with(*begun)) << cut;
    }
  }
}

// One bit is another one, and the checksum is that of what zlib then reads.
TEST(ChunkCodec, WhatIsInflatedFastZlibInflatesToTheSameText) {
  constexpr std::size_t kMost = 1 << 16;
  std::mt19937 random(9);
  int accepted = 0;
  for (const int level : {1, 9}) {
    const std::string text = wordsOf(random, 6000);
    const std::string good = packChunk(text, level)->substr(4);
    for (std::size_t bit = 0; bit < 8 * (good.size() - 4); bit += bit < 1200 ? 1 : 17) {
      std::string stream = good.substr(0, good.size() - 4);
      stream[bit / 8] = static_cast<char>(stream[bit / 8] ^ 1 << bit % 8);
      const std::string read = unpackChunk("ZIP " + stream).value_or("");
      const auto sum = adler32_z(1, reinterpret_cast<const Bytef*>(read.data()), read.size());
      for (const int shift : {24, 16, 8, 0}) stream += static_cast<char>(sum >> shift);
      const auto fast = inflateWhole(stream, kMost);
      std::string expected(kMost, '\0');
      uLongf size = expected.size();
      const int state = uncompress(reinterpret_cast<Bytef*>(expected.data()), &size,
                                   reinterpret_cast<const Bytef*>(stream.data()), stream.size());
      expected.resize(size);
      ASSERT_TRUE(!fast || (state == Z_OK && *fast == expected)) << level << ' ' << bit;
      if (fast) ++accepted;
    }
  }
  EXPECT_GT(accepted, 100);
}

TEST(ChunkCodec, TellsDocumentsFromOtherBytes) {
  runRows(TEST_DATA "/chunks.txt", [](const DataRow& row) {
    const std::string text = repeated(row);
    const std::string packed = *packChunk(text, 1);
    const bool isDocument = readDocument(text) != nullptr;
    EXPECT_EQ(isDocument, readDocument(packed) != nullptr);
    EXPECT_TRUE(isPackedChunk(packed));
    const bool isTooMuch = unpackChunk(packed) == std::nullopt;
    EXPECT_EQ(isPackedChunk(text), text.starts_with("ZIP "));
    const bool isDamaged = isPackedChunk(text) && unpackChunk(text) == std::nullopt;
    return std::string(isDocument ? "a document" : "none") + (isTooMuch ? ", too much" : "") +
           (isDamaged ? ", damaged" : "");
  });
}

}  // namespace
