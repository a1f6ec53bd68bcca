#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

/// What a node is: the low byte of `JsonNode::type`.
enum JsonType : std::uint32_t {
  kJsonFalse = 0,
  kJsonTrue = 1,
  kJsonNull = 2,
  kJsonNumber = 3,
  kJsonString = 4,
  kJsonArray = 5,
  kJsonObject = 6,
};

/// Takes the `JsonType` out of `JsonNode::type`; the flags below stand above it.
inline constexpr std::uint32_t kJsonTypeMask = 0xFF;

/// The node shares `child` and `valueString` with another node; deleting it frees neither.
inline constexpr std::uint32_t jsonIsReference = 0x100;

/// `key` points at a constant string and is never freed.
inline constexpr std::uint32_t jsonKeyIsConst = 0x200;

/// One value of a document, on the heap. Whoever holds the root owns the whole tree and ends it
/// with `jsonDelete`. Trees carry no lock: one thread at a time has a tree.
struct JsonNode {
  JsonNode* next;      ///< following sibling; null at the end of a list
  JsonNode* prev;      ///< preceding sibling; null for the first child
  JsonNode* child;     ///< first child of an array or object; null if empty
  std::uint32_t type;  ///< a `JsonType` and flags
  char* valueString;   ///< text of a string node, heap copy; else null
  /// Number truncated toward zero and held within 32 bits, 0 for NaN; 1 for a true node.
  std::int32_t valueInt;
  double valueDouble;  ///< number
  char* key;           ///< name inside the parent object; null in arrays and at the root
};

// What the reader takes at most: no document comes near, and what is made to cost memory and time
// is told from one early. All that is read from files and hosts is held to the same.
inline constexpr std::size_t kMostDocumentBytes = std::size_t{4}
                                                  << 20;  ///< of a text, a file or a chunk
inline constexpr std::size_t kMostDocumentNodes = std::size_t{1} << 18;
/// Brackets inside one another. Each takes a stack frame, and a host may read on a small stack.
inline constexpr int kMostDocumentDepth = 512;

/// Where and why a text could not be read.
struct JsonFault {
  const char* position = nullptr;  ///< in the text; null if there is no fault in it
  bool isTooMuch = false;          ///< more than the reader takes, however well it is written
};

/// Whether there is a node, and of this type.
[[nodiscard]] inline bool jsonIsType(const JsonNode* node, JsonType type) noexcept {
  return node != nullptr && (node->type & kJsonTypeMask) == type;
}

/// Reads the first complete value of `text`, after leading white space; what follows it is ignored.
/// `text` is zero-terminated; null gives null. The caller owns the tree. Null on a fault in the
/// text, on more than the reader takes, and when memory runs out; the last leaves no error pointer.
[[nodiscard]] JsonNode* jsonParse(const char* text) noexcept;
/// The same, and tells what was wrong with this very text.
[[nodiscard]] JsonNode* jsonParse(const char* text, JsonFault& fault) noexcept;

/// Reads a text as `jsonParse` does, several times as fast, for documents that are only looked at:
/// the nodes stand in a few blocks, their texts in `text`, and whoever holds one node holds them
/// all. Null on a fault in the text and on more than the reader takes. Throws std::bad_alloc.
[[nodiscard]] std::shared_ptr<const JsonNode> jsonReadInPlace(std::string&& text);

/// Where in its text the last parse of the process, on whatever thread, gave up; null if it did
/// not. Valid as long as that text.
[[nodiscard]] const char* jsonGetErrorPtr() noexcept;

/// The document as text: an object has one member per line, indented by tabs; an array one line.
/// The caller frees the text by `free` (see `JsonText`). Null for a null node, for a node of
/// unknown type, for a string without text or a member without key anywhere, and when memory runs
/// out. Numbers keep ten decimal places, or seven digits where they are very small or large; what
/// is not finite prints as null, since no reader takes the text of it for a number.
[[nodiscard]] char* jsonPrintFormatted(const JsonNode* node) noexcept;

/// As `jsonPrintFormatted`, without any white space between the values.
[[nodiscard]] char* jsonPrintUnformatted(const JsonNode* node) noexcept;

/// Frees the node, all siblings behind it and everything below them. Null does nothing.
void jsonDelete(JsonNode* node) noexcept;

// New nodes, owned by the caller; null when memory runs out.
[[nodiscard]] JsonNode* jsonCreateObject() noexcept;
[[nodiscard]] JsonNode* jsonCreateArray() noexcept;
[[nodiscard]] JsonNode* jsonCreateTrue() noexcept;
[[nodiscard]] JsonNode* jsonCreateNumber(double value) noexcept;
[[nodiscard]] JsonNode* jsonCreateString(const char* text) noexcept;  ///< copies; null for null

/// An array of `count` number nodes in order; empty for null `values` or a count below 1.
[[nodiscard]] JsonNode* jsonCreateIntArray(const std::int32_t* values, int count) noexcept;

/// A node that shows the same children or text as `node` and owns neither, to be put in another
/// tree. `node` must outlive it; nothing is added or deleted through it. Null for null.
[[nodiscard]] JsonNode* jsonCreateReference(const JsonNode* node) noexcept;

// Looking up. A null node has no children. All walk the children one by one.
[[nodiscard]] int jsonGetArraySize(const JsonNode* node) noexcept;
/// The child number `index`; null if it is negative or past the end.
[[nodiscard]] JsonNode* jsonGetArrayItem(const JsonNode* node, int index) noexcept;
/// The first child whose key is `name`, the case of ASCII letters ignored; null if there is none.
[[nodiscard]] JsonNode* jsonGetObjectItem(const JsonNode* node, const char* name) noexcept;

/// Appends `item`, which the tree of `node` then owns. A null node or item does nothing.
void jsonAddItemToArray(JsonNode* node, JsonNode* item) noexcept;

/// Gives `item` a copy of `name` as its key, in place of any other, and appends it. Does nothing if
/// one of the three is null. When memory runs out the item is appended without a key: owned, but
/// the document does not print, so that a half document is never stored.
void jsonAddItemToObject(JsonNode* node, const char* name, JsonNode* item) noexcept;

/// As `jsonAddItemToObject`, but keeps the pointer `name` itself, which must outlive the item.
void jsonAddItemToObjectConstKey(JsonNode* node, const char* name, JsonNode* item) noexcept;

/// Deletes the child that `jsonGetObjectItem` finds, if any.
void jsonDeleteItemFromObject(JsonNode* node, const char* name) noexcept;

struct JsonDeleter {
  void operator()(JsonNode* node) const noexcept { jsonDelete(node); }
};
struct JsonTextDeleter {
  void operator()(char* text) const noexcept { std::free(text); }
};

/// Holder of a tree by its root.
using JsonTree = std::unique_ptr<JsonNode, JsonDeleter>;
/// Holder of the text of a printer.
using JsonText = std::unique_ptr<char, JsonTextDeleter>;
