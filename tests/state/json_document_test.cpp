#include "state/json_document.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "state/json_detail.h"

namespace {

std::string compact(const JsonNode* node) {
  const JsonText text(jsonPrintUnformatted(node));
  return text ? text.get() : "(null)";
}

// Forward by `next` and back by `prev` must tell the same list.
void expectLinked(const JsonNode& parent) {
  const JsonNode* before = nullptr;
  for (const JsonNode* item = parent.child; item; item = item->next) {
    EXPECT_EQ(item->prev, before);
    before = item;
  }
}

TEST(JsonDocument, TruncatesNumbersTowardZeroWithinThirtyTwoBits) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    double value;
    std::int32_t expected;
  } cases[] = {{2.9, 2},
               {-2.9, -2},
               {-0.0, 0},
               {2147483646.9, 2147483646},
               {2147483647.9, 2147483647},
               {2147483648.0, 2147483647},
               {-2147483648.9, -2147483647 - 1},
               {infinity, 2147483647},
               {-infinity, -2147483647 - 1},
               {std::numeric_limits<double>::quiet_NaN(), 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    const JsonTree node(jsonCreateNumber(c.value));
    EXPECT_EQ(node->valueInt, c.expected);
    EXPECT_EQ(std::isnan(node->valueDouble), std::isnan(c.value));
    if (!std::isnan(c.value)) {
      EXPECT_EQ(node->valueDouble, c.value);
    }
  }
}

TEST(JsonDocument, BuildsTheTreeInOrder) {
  const std::int32_t values[] = {3, -1, std::numeric_limits<std::int32_t>::min()};
  const JsonTree root(jsonCreateObject());
  jsonAddItemToObject(root.get(), "Values", jsonCreateIntArray(values, 3));
  jsonAddItemToObject(root.get(), "none", jsonCreateIntArray(nullptr, 3));
  jsonAddItemToObject(root.get(), "on", jsonCreateTrue());
  std::string text = "copied";
  jsonAddItemToObject(root.get(), "text", jsonCreateString(text.c_str()));
  text = "altered";
  JsonNode* const list = jsonCreateArray();
  jsonAddItemToObject(root.get(), "list", list);
  jsonAddItemToArray(list, jsonCreateNumber(0.25));
  jsonAddItemToArray(list, nullptr);
  jsonAddItemToArray(list, jsonCreateObject());

  EXPECT_EQ(compact(root.get()),
            "{\"Values\":[3,-1,-2147483648],\"none\":[],\"on\":true,\"text\":\"copied\","
            "\"list\":[0.2500000000,{}]}");
  EXPECT_EQ(jsonGetObjectItem(root.get(), "on")->valueInt, 1);
  EXPECT_EQ(jsonGetArraySize(list), 2);
  expectLinked(*root);
  expectLinked(*list);
}

TEST(JsonDocument, FindsChildrenByPlaceAndByKeyInAnyCase) {
  const JsonTree tree(jsonParse("{\"Name\":1,\"name\":2,\"\":3,\"\xc3\x84[\":4}"));
  const struct {
    const char* name;
    int expected;  // 0: no such child
  } names[] = {{"NAME", 1},  {"nam", 0},       {"names", 0},     {"", 3},
               {nullptr, 0}, {"\xc3\x84[", 4}, {"\xc3\xa4[", 0}, {"\xc3\x84{", 0}};
  for (const auto& c : names) {
    SCOPED_TRACE(c.name ? c.name : "null");
    const JsonNode* const found = jsonGetObjectItem(tree.get(), c.name);
    EXPECT_EQ(found ? found->valueInt : 0, c.expected);
  }
  const struct {
    int index, expected;
  } places[] = {{0, 1}, {3, 4}, {4, 0}, {-1, 0}, {std::numeric_limits<int>::max(), 0}};
  for (const auto& c : places) {
    SCOPED_TRACE(c.index);
    const JsonNode* const found = jsonGetArrayItem(tree.get(), c.index);
    EXPECT_EQ(found ? found->valueInt : 0, c.expected);
  }
  // Items of an array have no key: no name finds them, not even none.
  const JsonTree array(jsonParse("[1]"));
  EXPECT_EQ(jsonGetObjectItem(array.get(), ""), nullptr);
  EXPECT_EQ(jsonGetObjectItem(array.get(), nullptr), nullptr);
}

TEST(JsonDocument, NullNodesDoNothing) {
  EXPECT_EQ(jsonGetArraySize(nullptr), 0);
  EXPECT_EQ(jsonGetArrayItem(nullptr, 0), nullptr);
  EXPECT_EQ(jsonGetObjectItem(nullptr, "a"), nullptr);
  EXPECT_EQ(jsonCreateString(nullptr), nullptr);
  EXPECT_EQ(jsonCreateReference(nullptr), nullptr);
  EXPECT_EQ(jsonPrintFormatted(nullptr), nullptr);
  EXPECT_EQ(jsonPrintUnformatted(nullptr), nullptr);
  jsonDelete(nullptr);
  jsonDeleteItemFromObject(nullptr, "a");
  const JsonTree item(jsonCreateTrue());
  jsonAddItemToArray(nullptr, item.get());
  jsonAddItemToObject(nullptr, "a", item.get());
  const JsonTree object(jsonCreateObject());
  jsonAddItemToObject(object.get(), "a", nullptr);
  jsonAddItemToObject(object.get(), nullptr, item.get());
  jsonAddItemToObjectConstKey(object.get(), nullptr, item.get());
  jsonDeleteItemFromObject(object.get(), "a");
  EXPECT_EQ(compact(object.get()), "{}");
}

TEST(JsonDocument, DeletingAMemberRepairsTheLinks) {
  const struct {
    const char* text;
    const char* name;
    const char* expected;
  } cases[] = {
      {"{\"a\":1,\"b\":[2,{}],\"c\":3}", "A", "{\"b\":[2,{}],\"c\":3}"},
      {"{\"a\":1,\"b\":[2,{}],\"c\":3}", "b", "{\"a\":1,\"c\":3}"},
      {"{\"a\":1,\"b\":[2,{}],\"c\":3}", "c", "{\"a\":1,\"b\":[2,{}]}"},
      {"{\"a\":1,\"b\":[2,{}],\"c\":3}", "d", "{\"a\":1,\"b\":[2,{}],\"c\":3}"},
      {"{\"a\":\"x\"}", "a", "{}"},
      {"{\"a\":1,\"A\":2}", "A", "{\"A\":2}"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const JsonTree tree(jsonParse(c.text));
    jsonDeleteItemFromObject(tree.get(), c.name);
    EXPECT_EQ(compact(tree.get()), c.expected);
    expectLinked(*tree);
    // The list takes more afterwards.
    jsonAddItemToArray(tree.get(), jsonCreateTrue());
    expectLinked(*tree);
  }
}

TEST(JsonDocument, ReferencesLeaveTheOriginalWhole) {
  const char* const text = "{\"before\":0,\"list\":[1,{\"x\":\"y\"}],\"word\":\"text\"}";
  const JsonTree original(jsonParse(text));
  for (const char* const name : {"list", "word"}) {
    SCOPED_TRACE(name);
    const JsonNode* const shared = jsonGetObjectItem(original.get(), name);
    JsonTree other(jsonCreateObject());
    JsonNode* const reference = jsonCreateReference(shared);
    EXPECT_EQ(reference->type, shared->type | jsonIsReference);
    EXPECT_EQ(reference->key, nullptr);
    EXPECT_EQ(reference->next, nullptr);
    EXPECT_EQ(reference->prev, nullptr);
    jsonAddItemToObject(other.get(), "r", reference);
    EXPECT_EQ(compact(other.get()), "{\"r\":" + compact(shared) + "}");
    other.reset();
    EXPECT_EQ(compact(original.get()), text);
  }
}

TEST(JsonDocument, KeysAreFreedOnlyWhereTheyAreCopies) {
  static const char kName[] = "kB1Ratio";
  const JsonTree root(jsonCreateObject());
  JsonNode* const item = jsonCreateNumber(1.0);
  jsonAddItemToObjectConstKey(root.get(), kName, item);
  EXPECT_EQ(item->key, kName);
  EXPECT_EQ(item->type, kJsonNumber | jsonKeyIsConst);
  EXPECT_EQ(compact(root.get()), "{\"kB1Ratio\":1}");

  // Constant key to copy, copy to itself, copy to constant key: each in a tree of its own.
  item->type |= jsonKeyIsConst;
  JsonNode* const moved = jsonCreateReference(item);
  moved->key = item->key;
  const JsonTree second(jsonCreateObject());
  jsonAddItemToObject(second.get(), kName, moved);
  EXPECT_NE(moved->key, kName);
  EXPECT_EQ(moved->type & jsonKeyIsConst, 0U);
  EXPECT_EQ(compact(second.get()), "{\"kB1Ratio\":1}");

  second->child = nullptr;
  jsonAddItemToObject(second.get(), moved->key, moved);
  EXPECT_EQ(compact(second.get()), "{\"kB1Ratio\":1}");

  second->child = nullptr;
  jsonAddItemToObjectConstKey(second.get(), kName, moved);
  EXPECT_EQ(moved->key, kName);
  EXPECT_EQ(compact(second.get()), "{\"kB1Ratio\":1}");
}

// Lets the allocation number `failing` fail, once; leaks of the rest are the sanitizers' to find.
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

  // Whether the allocation came to pass.
  [[nodiscard]] bool failed() const { return left < 0; }

 private:
  static inline int left = 0;
};

// Runs `attempt` once for each of its allocations, that one failing, until none is left.
template <typename Attempt>
int failEachAllocation(const Attempt& attempt) {
  for (int failing = 0;; ++failing) {
    SCOPED_TRACE(testing::Message() << "allocation " << failing);
    const FailingHeap heap(failing);
    const bool gaveResult = attempt();
    EXPECT_EQ(gaveResult, !heap.failed());
    if (!heap.failed()) return failing;
  }
}

TEST(JsonDocument, EveryFailedAllocationGivesNullAndLeaksNothing) {
  const std::string filler(9000, 'x');
  const std::string text = "{\"a\":[1,\"t\",{\"b\":null}],\"c\":\"" + filler + "\",\"d\":[]}";
  const auto parse = [&] {
    const JsonTree tree(jsonParse(text.c_str()));
    EXPECT_EQ(jsonGetErrorPtr(), nullptr);
    return tree != nullptr;
  };
  // 8 nodes, 4 keys, 2 texts.
  EXPECT_EQ(failEachAllocation(parse), 14);

  const JsonTree tree(jsonParse(text.c_str()));
  // The first block and one more for the long text.
  EXPECT_EQ(failEachAllocation([&] { return JsonText(jsonPrintFormatted(tree.get())) != nullptr; }),
            2);
  EXPECT_EQ(
      failEachAllocation([&] { return JsonText(jsonPrintUnformatted(tree.get())) != nullptr; }), 2);

  const std::int32_t values[] = {1, 2};
  const auto create = [&] {
    const JsonTree nodes[] = {JsonTree(jsonCreateIntArray(values, 2)),
                              JsonTree(jsonCreateString("t")), JsonTree(jsonCreateNumber(1.0)),
                              JsonTree(jsonCreateTrue()),
                              JsonTree(jsonCreateReference(tree.get()))};
    for (const JsonTree& node : nodes) {
      if (!node) return false;
    }
    return true;
  };
  EXPECT_EQ(failEachAllocation(create), 8);

  // No memory for a key: nothing is lost, and nothing half is stored.
  const JsonTree object(jsonCreateObject());
  JsonNode* const item = jsonCreateNumber(1.0);
  {
    const FailingHeap heap(0);
    jsonAddItemToObject(object.get(), "a", item);
  }
  EXPECT_EQ(jsonGetArrayItem(object.get(), 0), item);
  EXPECT_EQ(jsonGetObjectItem(object.get(), "a"), nullptr);
  EXPECT_EQ(jsonPrintUnformatted(object.get()), nullptr);
}

}  // namespace
