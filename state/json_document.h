#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

/// Type of a node: the low byte of `JsonNode::type`.
enum JsonType : std::uint32_t {
  kJsonFalse = 0,
  kJsonTrue = 1,
  kJsonNull = 2,
  kJsonNumber = 3,
  kJsonString = 4,
  kJsonArray = 5,
  kJsonObject = 6,
};

/// Extracts the `JsonType` from `JsonNode::type`; the flags below use higher bits.
inline constexpr std::uint32_t kJsonTypeMask = 0xFF;

/// The node shares `child` and `valueString` with another node; deleting it frees neither.
inline constexpr std::uint32_t jsonIsReference = 0x100;

/// `key` points at a constant string and is never freed.
inline constexpr std::uint32_t jsonKeyIsConst = 0x200;

/// One value of a document, on the heap. The owner of the root owns the whole tree and frees it
/// with `jsonDelete`. Trees have no lock: only one thread at a time may use a tree.
struct JsonNode {
  JsonNode* next;      ///< following sibling; null at the end of a list
  JsonNode* prev;      ///< preceding sibling; null for the first child
  JsonNode* child;     ///< first child of an array or object; null if empty
  std::uint32_t type;  ///< a `JsonType` and flags
  char* valueString;   ///< text of a string node, on the heap; otherwise null
  /// Number truncated towards zero and clamped to 32 bits, 0 for NaN; 1 for a true node.
  std::int32_t valueInt;
  double valueDouble;  ///< number
  char* key;           ///< name inside the parent object; null in arrays and at the root
};

// Limits of the reader. Real documents are far smaller; input made to waste memory or time is
// rejected early. They apply to everything read from files and hosts.
inline constexpr std::size_t kMostDocumentBytes = std::size_t{4}
                                                  << 20;  ///< of a text, a file or a chunk
inline constexpr std::size_t kMostDocumentNodes = std::size_t{1} << 18;
/// Depth of nested brackets. Each level takes a stack frame, and a host's thread may have a small
/// stack.
inline constexpr int kMostDocumentDepth = 512;

/// Where and why a text could not be read.
struct JsonFault {
  const char* position = nullptr;  ///< in the text; null if the text has no fault
  bool isTooMuch = false;          ///< a limit was exceeded, even if the text is valid
};

/// Whether `node` is not null and has this type.
[[nodiscard]] inline bool jsonIsType(const JsonNode* node, JsonType type) noexcept {
  return node != nullptr && (node->type & kJsonTypeMask) == type;
}

/// Reads the first complete value of `text`, after leading white space; anything after it is
/// ignored. `text` is zero-terminated or null, which gives null. The caller owns the tree. Returns
/// null on a fault in the text, if a limit is exceeded, and when memory runs out; the last leaves
/// no error pointer.
[[nodiscard]] JsonNode* jsonParse(const char* text) noexcept;
/// As above, and describes the fault of this text.
[[nodiscard]] JsonNode* jsonParse(const char* text, JsonFault& fault) noexcept;

/// Reads a text as `jsonParse` does, several times as fast, for documents that are only looked at:
/// the nodes stand in a few blocks, their texts in `text`, and whoever holds one node holds them
/// all. Nothing may be added to it or deleted. Null on a fault in the text and if a limit is
/// exceeded. Throws std::bad_alloc.
[[nodiscard]] std::shared_ptr<const JsonNode> jsonReadInPlace(std::string&& text);

/// Where in its text the last parse of the process, on any thread, failed; null if it did not.
/// Valid as long as that text.
[[nodiscard]] const char* jsonGetErrorPtr() noexcept;

/// Prints a document: one member of an object per line, indented by tabs; an array on one line. The
/// caller frees the text with `free` (see `JsonText`). Returns null when memory runs out, for a
/// null node, and if the tree contains a node of unknown type, a string without text or a member
/// without key. Numbers keep ten decimal places, or seven digits if they are very small or large;
/// infinities and NaN print as null, since no reader accepts them as numbers.
[[nodiscard]] char* jsonPrintFormatted(const JsonNode* node) noexcept;

/// As `jsonPrintFormatted`, but without white space between values.
[[nodiscard]] char* jsonPrintUnformatted(const JsonNode* node) noexcept;

/// Frees the node, all siblings after it and everything below them. Null does nothing.
void jsonDelete(JsonNode* node) noexcept;

// New nodes, owned by the caller; null when memory runs out.
[[nodiscard]] JsonNode* jsonCreateObject() noexcept;
[[nodiscard]] JsonNode* jsonCreateArray() noexcept;
[[nodiscard]] JsonNode* jsonCreateTrue() noexcept;
[[nodiscard]] JsonNode* jsonCreateNumber(double value) noexcept;
[[nodiscard]] JsonNode* jsonCreateString(const char* text) noexcept;  ///< copies; null for null

/// An array of `count` number nodes in order; empty for null `values` or a count below 1.
[[nodiscard]] JsonNode* jsonCreateIntArray(const std::int32_t* values, int count) noexcept;

/// A node that shares the children or text of `node` without owning them, for use in another tree.
/// `node` must outlive it; nothing may be added or deleted through it. Null for null.
[[nodiscard]] JsonNode* jsonCreateReference(const JsonNode* node) noexcept;

// Lookup. A null node has no children. Cost: linear in the number of children.
[[nodiscard]] int jsonGetArraySize(const JsonNode* node) noexcept;
/// The child at `index`; null if that is negative or past the end.
[[nodiscard]] JsonNode* jsonGetArrayItem(const JsonNode* node, int index) noexcept;
/// The first child with the key `name`, ignoring the case of ASCII letters; null if there is none.
[[nodiscard]] JsonNode* jsonGetObjectItem(const JsonNode* node, const char* name) noexcept;

/// Appends `item`, which the tree of `node` then owns. Does nothing if either is null.
void jsonAddItemToArray(JsonNode* node, JsonNode* item) noexcept;

/// Gives `item` a copy of `name` as its key, replacing any other, and appends it. Does nothing if
/// one of the three is null. When memory runs out the item is appended without a key: the tree owns
/// it but can no longer be printed, so that an incomplete document is never stored.
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

/// Owner of a tree, by its root.
using JsonTree = std::unique_ptr<JsonNode, JsonDeleter>;
/// Owner of a printed text.
using JsonText = std::unique_ptr<char, JsonTextDeleter>;
