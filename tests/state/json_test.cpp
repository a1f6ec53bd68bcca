#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "state/json_detail.h"
#include "state/json_document.h"
#include "state/json_print_buffer.h"
#include "state/json_writer.h"
#include "tests/support/data_rows.h"

namespace {

std::string textOf(char* printed) {
  const JsonText holder(printed);
  return printed ? printed : "(null)";
}

std::string compact(const JsonNode* node) { return textOf(jsonPrintUnformatted(node)); }

std::string treeOf(const JsonNode* node);

/// The children, whose links and keys must tell of one list.
std::string childrenOf(const JsonNode& parent, bool isObject) {
  std::string text;
  const JsonNode* before = nullptr;
  for (const JsonNode* item = parent.child; item; item = item->next) {
    EXPECT_EQ(item->prev, before);
    EXPECT_EQ(item->key != nullptr, isObject);
    if (before) text += ',';
    if (item->key) text += std::string(item->key) + ':';
    text += treeOf(item);
    before = item;
  }
  return text;
}

/// A tree as plainly as can be, apart from the printer, with all of its fields looked at.
std::string treeOf(const JsonNode* node) {
  if (!node) return "(none)";
  const std::uint32_t type = node->type & kJsonTypeMask;
  const double number = type == kJsonNumber ? node->valueDouble : type == kJsonTrue ? 1.0 : 0.0;
  const double whole = std::clamp(std::trunc(number), -2147483648.0, 2147483647.0);
  EXPECT_EQ(node->valueInt, std::isnan(number) ? 0.0 : whole);
  EXPECT_EQ(node->valueString != nullptr, type == kJsonString);
  if (type == kJsonArray) return "[" + childrenOf(*node, false) + "]";
  if (type == kJsonObject) return "{" + childrenOf(*node, true) + "}";
  EXPECT_EQ(node->child, nullptr);
  if (type == kJsonString) return "\"" + std::string(node->valueString) + "\"";
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", number);
  return type == kJsonNumber ? text : type == kJsonNull ? "null" : number == 1.0 ? "true" : "false";
}

/// A parse of a text in a heap block of its size, so that the sanitizers see its end: the tree, or
/// "!" with the place of the fault; "!!" for too much.
struct Parsed {
  explicit Parsed(std::string_view source) : text(new char[source.size() + 1]) {
    source.copy(text.get(), source.size());
    text[source.size()] = 0;
    JsonFault fault;
    tree.reset(jsonParse(text.get(), fault));
    const JsonTree again(jsonParse(text.get()));
    EXPECT_EQ(jsonGetErrorPtr(), fault.position);
    EXPECT_NE(tree == nullptr, fault.position == nullptr);
    if (tree) return;
    result = (fault.isTooMuch ? "!!" : "!") + std::to_string(fault.position - text.get());
  }

  std::unique_ptr<char[]> text;
  JsonTree tree;
  std::string result;
};

TEST(Json, TextsBecomeTreesAndTreesTexts) {
  for (const DataRow& row : dataRows(TEST_DATA "/json.txt")) {
    SCOPED_TRACE(row[0]);
    const Parsed parsed(row[0] == " " ? "" : row[0]);
    EXPECT_EQ(parsed.tree ? treeOf(parsed.tree.get()) : parsed.result, row[1]);
    if (row[2].empty()) continue;
    EXPECT_EQ(compact(parsed.tree.get()), row[2]);
    EXPECT_EQ(textOf(jsonPrintFormatted(parsed.tree.get())), row[3].empty() ? row[2] : row[3]);
    EXPECT_NE(Parsed(row[2]).tree, nullptr) << "reads back";
  }
  EXPECT_EQ(jsonParse(nullptr), nullptr);
  EXPECT_EQ(compact(nullptr), "(null)");
  // More digits than a double has room for, before and behind the point.
  const std::string digits(400, '9');
  EXPECT_EQ(treeOf(Parsed(digits).tree.get()), "inf");
  EXPECT_TRUE(std::isnan(Parsed("0." + digits).tree->valueDouble));
  EXPECT_EQ(Parsed("0." + std::string(400, '0') + "1e401").tree->valueDouble, 1.0);
  EXPECT_EQ(Parsed("0.7083333135").tree->valueDouble, 7083333135.0 * std::pow(10.0, -10.0));
}

TEST(Json, DepthsAndSizesThatNoDocumentHasAreRefused) {
  const auto repeated = [](std::string_view text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
  };
  const std::string open(512, '[');
  const std::string close(512, ']');
  const std::string values = "[0" + repeated(",0", kMostDocumentNodes - 2);
  const std::string bytes = "\"" + std::string(kMostDocumentBytes - 2, 'x');
  const struct {
    std::string text, result;  // empty for none
  } cases[] = {{open + close, ""},
               {"[" + open + close + "]", "!!512"},
               {repeated("[", 1'000'000), "!!512"},
               {repeated("{\"a\":", 513), "!!2560"},
               {repeated("[ {\"\":", 512), "!!1536"},
               {"[[]" + repeated(",[{}]", 100'000) + "]", ""},  // width is no depth
               {values + "]", ""},
               {values + ",0]", "!!" + std::to_string(values.size() + 1)},
               {bytes + "\"", ""},
               {bytes + "x\"", "!!" + std::to_string(kMostDocumentBytes)}};
  for (const auto& c : cases) EXPECT_EQ(Parsed(c.text).result, c.result) << c.text.substr(0, 9);
}

TEST(Json, NumbersHaveTheirStoredForm) {
  for (const DataRow& row : dataRows(TEST_DATA "/json_numbers.txt")) {
    const std::string printed = compact(JsonTree(jsonCreateNumber(std::stod(row[0]))).get());
    EXPECT_EQ(printed, row[1]);
    const Parsed again(printed);
    EXPECT_TRUE(again.tree && std::isfinite(again.tree->valueDouble)) << printed;
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

TEST(Json, TextsAroundTheEndOfABlockComeWhole) {
  for (const std::size_t block : {8192U, 65536U}) {
    for (std::size_t length = block - 22; length < block + 8; ++length) {
      const std::string filler(length, 'x');
      const JsonTree tree(jsonCreateArray());
      jsonAddItemToArray(tree.get(), jsonCreateString(filler.c_str()));
      jsonAddItemToArray(tree.get(), jsonCreateNumber(0.5));
      ASSERT_EQ(compact(tree.get()), "[\"" + filler + "\",0.5000000000]") << length;
    }
  }
  std::string escapes = "\"";
  for (std::size_t length = 0; length < 1370; ++length) {
    const std::string source(length, '\1');
    ASSERT_EQ(compact(JsonTree(jsonCreateString(source.c_str())).get()), escapes + "\"") << length;
    escapes += "\\u0001";
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
  JsonNode* const member = jsonGetArrayItem(tree.get(), 1)->child;
  const auto expectPrinted = [&](bool printed) {
    EXPECT_EQ(textOf(jsonPrintFormatted(tree.get())) != "(null)", printed);
    EXPECT_EQ(compact(tree.get()) != "(null)", printed);
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

/// Adds an item in one of the ways there are; whether its key is a copy of the name.
bool addAnyhow(JsonNode* root, const char* name, JsonNode* item, std::mt19937& random) {
  const JsonTree before(jsonCreateObject());
  if (random() % 2 == 0) {  // has a key already, a copy or a constant
    jsonAddItemToObject(before.get(), name, item);
    if (random() % 2 == 0) jsonAddItemToObjectConstKey(before.get(), name, item);
    before->child = item->next = item->prev = nullptr;
  }
  if (random() % 2 == 0) {
    jsonAddItemToObject(root, item->key ? item->key : name, item);
    return true;
  }
  if (item->key) {
    jsonAddItemToObjectConstKey(root, name, item);
  } else {
    JsonWriter(root).add(name, item);
  }
  return false;
}

std::string lowerCase(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return text;
}

TEST(Json, ARandomWalkThroughAnObjectMatchesAList) {
  static const char* const names[] = {"Name", "name", "NAMES", "", "\xc3\x84[", "\xc3\x84{"};
  std::mt19937 random(9);
  const JsonTree shared(jsonParse("{\"list\":[1,{\"x\":\"y\"}],\"word\":\"text\"}"));
  const JsonTree root(jsonCreateObject());
  std::vector<std::pair<std::string, std::string>> model;
  const auto modelText = [&model] {
    std::string text;
    for (const auto& [key, tree] : model) text += (text.empty() ? "" : ",") + key + ":" + tree;
    return "{" + text + "}";
  };
  for (int turn = 0; turn < 2000; ++turn) {
    const char* const name = names[random() % std::size(names)];
    const auto isNamed = [&](const auto& one) { return lowerCase(one.first) == lowerCase(name); };
    const auto found = std::find_if(model.begin(), model.end(), isNamed);
    const std::string expected = found == model.end() ? "(none)" : found->second;
    ASSERT_EQ(treeOf(jsonGetObjectItem(root.get(), name)), expected) << name;
    const std::size_t place = random() % 8 - 1;  // also before the first
    ASSERT_EQ(treeOf(jsonGetArrayItem(root.get(), static_cast<int>(place))),
              place < model.size() ? model[place].second : "(none)");
    if (random() % 2 == 0) {
      jsonDeleteItemFromObject(root.get(), name);
      if (found != model.end()) model.erase(found);
    } else {
      JsonNode* const of = jsonGetArrayItem(shared.get(), turn % 2);
      JsonNode* const item = turn % 3 == 0 ? jsonCreateNumber(turn) : jsonCreateReference(of);
      model.emplace_back(name, treeOf(item));
      const bool isCopied = addAnyhow(root.get(), name, item, random);
      ASSERT_EQ(item->key != name, isCopied);
    }
    ASSERT_EQ(treeOf(root.get()), modelText()) << "turn " << turn;
    ASSERT_EQ(jsonGetArraySize(root.get()), static_cast<int>(model.size()));
  }
  EXPECT_EQ(treeOf(shared.get()), "{list:[1,{x:\"y\"}],word:\"text\"}");
  // Items of an array have no key: no name finds them, not even none.
  const JsonTree array(jsonParse("[1]"));
  for (const char* const name : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(jsonGetObjectItem(array.get(), name), nullptr);
  }
}

/// Lets the allocation number `failing` fail, once; leaks of the rest are the sanitizers' to find.
class FailingHeap {
 public:
  explicit FailingHeap(int failing) {
    left = failing;
    json_detail::allocate = [](std::size_t bytes) -> void* {
      return left-- == 0 ? nullptr : std::malloc(bytes);
    };
  }
  ~FailingHeap() { json_detail::allocate = std::malloc; }
  FailingHeap(const FailingHeap&) = delete;
  FailingHeap& operator=(const FailingHeap&) = delete;
  [[nodiscard]] bool failed() const { return left < 0; }

 private:
  static inline int left = 0;
};

/// Runs `attempt` once for each of its allocations, that one failing, until none is left.
template <typename Attempt>
int failEachAllocation(const Attempt& attempt) {
  for (int failing = 0;; ++failing) {
    const FailingHeap heap(failing);
    const bool gaveResult = attempt();
    EXPECT_EQ(gaveResult, !heap.failed()) << "allocation " << failing;
    if (!heap.failed()) return failing;
  }
}

TEST(Json, EveryFailedAllocationGivesNullAndLeaksNothing) {
  const std::string text =
      "{\"a\":[1,\"t\",{\"b\":null}],\"c\":\"" + std::string(9000, 'x') + "\",\"d\":[]}";
  const JsonTree tree(jsonParse(text.c_str()));
  const std::int32_t values[] = {1, std::numeric_limits<std::int32_t>::min()};
  EXPECT_EQ(treeOf(JsonTree(jsonCreateIntArray(nullptr, 3)).get()), "[]");
  // 8 nodes, 4 keys, 2 texts; the first block and one more for the long text; 3 + 2 + 1 + 1.
  EXPECT_EQ(failEachAllocation([&] {
              const JsonTree read(jsonParse(text.c_str()));
              EXPECT_EQ(jsonGetErrorPtr(), nullptr);
              return read != nullptr;
            }),
            14);
  EXPECT_EQ(failEachAllocation([&] { return JsonText(jsonPrintFormatted(tree.get())) != nullptr; }),
            2);
  EXPECT_EQ(failEachAllocation([&] {
              const JsonTree array(jsonCreateIntArray(values, 2));
              EXPECT_TRUE(!array || treeOf(array.get()) == "[1,-2147483648]");
              const JsonTree string(jsonCreateString("t"));
              const JsonTree word(jsonCreateTrue());
              const JsonTree reference(jsonCreateReference(tree.get()));
              return array && string && word && reference;
            }),
            7);
  // No memory for a key: nothing is lost, and nothing half is stored.
  const JsonTree object(jsonCreateObject());
  JsonNode* const item = jsonCreateNumber(1.0);
  {
    const FailingHeap heap(0);
    jsonAddItemToObject(object.get(), "a", item);
  }
  EXPECT_EQ(object->child, item);
  EXPECT_EQ(compact(object.get()), "(null)");
}

}  // namespace
