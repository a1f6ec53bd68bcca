#include "state/json_document.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

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
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  const struct {
    double value;
    std::int32_t expected;
  } cases[] = {{2.9, 2},
               {-2.9, -2},
               {2147483646.9, 2147483646},
               {2147483648.0, 2147483647},
               {-2147483648.9, kMin},
               {-std::numeric_limits<double>::infinity(), kMin},
               {std::numeric_limits<double>::quiet_NaN(), 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(JsonTree(jsonCreateNumber(c.value))->valueInt, c.expected) << c.value;
  }
}

TEST(JsonDocument, BuildsTheTreeInOrder) {
  const std::int32_t values[] = {3, -1, std::numeric_limits<std::int32_t>::min()};
  const JsonTree root(jsonCreateObject());
  jsonAddItemToObject(root.get(), "Values", jsonCreateIntArray(values, 3));
  jsonAddItemToObject(root.get(), "none", jsonCreateIntArray(nullptr, 3));
  std::string text = "copied";
  jsonAddItemToObject(root.get(), "text", jsonCreateString(text.c_str()));
  text = "altered";
  JsonNode* const list = jsonCreateArray();
  jsonAddItemToObject(root.get(), "list", list);
  jsonAddItemToArray(list, jsonCreateTrue());
  jsonAddItemToArray(list, nullptr);
  jsonAddItemToArray(list, jsonCreateObject());
  EXPECT_EQ(compact(root.get()),
            "{\"Values\":[3,-1,-2147483648],\"none\":[],\"text\":\"copied\",\"list\":[true,{}]}");
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
    const JsonNode* const found = jsonGetObjectItem(tree.get(), c.name);
    EXPECT_EQ(found ? found->valueInt : 0, c.expected) << (c.name ? c.name : "null");
  }
  EXPECT_EQ(jsonGetArrayItem(tree.get(), 3)->valueInt, 4);
  for (const int none : {4, -1}) EXPECT_EQ(jsonGetArrayItem(tree.get(), none), nullptr);
  // Items of an array have no key: no name finds them, not even none.
  const JsonTree array(jsonParse("[1]"));
  for (const char* const name : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(jsonGetObjectItem(array.get(), name), nullptr);
  }
}

TEST(JsonDocument, DeletingAMemberRepairsTheLinks) {
  const char* const three = "{\"a\":1,\"b\":[2,{}],\"c\":3}";
  const struct {
    const char *text, *name, *expected;
  } cases[] = {{three, "A", "{\"b\":[2,{}],\"c\":3}"},
               {three, "b", "{\"a\":1,\"c\":3}"},
               {three, "c", "{\"a\":1,\"b\":[2,{}]}"},
               {three, "d", three},
               {"{\"a\":\"x\"}", "a", "{}"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const JsonTree tree(jsonParse(c.text));
    jsonDeleteItemFromObject(tree.get(), c.name);
    EXPECT_EQ(compact(tree.get()), c.expected);
    // The list takes more afterwards.
    jsonAddItemToArray(tree.get(), jsonCreateTrue());
    expectLinked(*tree);
  }
}

TEST(JsonDocument, ReferencesLeaveTheOriginalWhole) {
  const char* const text = "{\"before\":0,\"list\":[1,{\"x\":\"y\"}],\"word\":\"text\"}";
  const JsonTree original(jsonParse(text));
  for (const char* const name : {"list", "word"}) {
    const JsonNode* const shared = jsonGetObjectItem(original.get(), name);
    JsonTree other(jsonCreateObject());
    jsonAddItemToObject(other.get(), "r", jsonCreateReference(shared));
    EXPECT_EQ(compact(other.get()), "{\"r\":" + compact(shared) + "}");
    expectLinked(*other);
    other.reset();
    EXPECT_EQ(compact(original.get()), text);
  }
}

TEST(JsonDocument, KeysAreFreedOnlyWhereTheyAreCopies) {
  static char kName[] = "kB1Ratio";
  const JsonTree root(jsonCreateObject());
  JsonNode* const item = jsonCreateNumber(1.0);
  jsonAddItemToObjectConstKey(root.get(), kName, item);
  EXPECT_EQ(item->key, kName);
  // Constant key to copy, copy to itself, copy to constant key: each in an emptied tree.
  for (const char* const key : {kName, static_cast<char*>(nullptr)}) {
    root->child = nullptr;
    jsonAddItemToObject(root.get(), key ? key : item->key, item);
    EXPECT_NE(item->key, kName);
    EXPECT_EQ(compact(root.get()), "{\"kB1Ratio\":1}");
  }
  root->child = nullptr;
  jsonAddItemToObjectConstKey(root.get(), kName, item);
  EXPECT_EQ(item->key, kName);
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
    const FailingHeap heap(failing);
    const bool gaveResult = attempt();
    EXPECT_EQ(gaveResult, !heap.failed()) << "allocation " << failing;
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
  const auto print = [&] { return JsonText(jsonPrintFormatted(tree.get())) != nullptr; };
  // The first block and one more for the long text.
  EXPECT_EQ(failEachAllocation(print), 2);

  const std::int32_t values[] = {1, 2};
  const auto create = [&] {
    const JsonTree array(jsonCreateIntArray(values, 2));
    const JsonTree string(jsonCreateString("t"));
    const JsonTree word(jsonCreateTrue());
    const JsonTree reference(jsonCreateReference(tree.get()));
    return array && string && word && reference;
  };
  EXPECT_EQ(failEachAllocation(create), 7);

  // No memory for a key: nothing is lost, and nothing half is stored.
  const JsonTree object(jsonCreateObject());
  JsonNode* const item = jsonCreateNumber(1.0);
  {
    const FailingHeap heap(0);
    jsonAddItemToObject(object.get(), "a", item);
  }
  EXPECT_EQ(object->child, item);
  EXPECT_EQ(jsonPrintUnformatted(object.get()), nullptr);
}

}  // namespace
