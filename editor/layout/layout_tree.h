#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

/// An element of a layout document. What it points to belongs to its tree.
struct LayoutNode {
  /// `txt` does not lie within the document but was put together.
  static constexpr std::uint16_t kTextJoined = 1;

  const char* name = nullptr;  ///< null in a tree without an element
  /// Name, value, name, value, ..., null, and in the slot after it a text that is never empty.
  const char* const* attr = nullptr;
  const char* txt = "";           ///< all character data between the tags of this element
  std::size_t off = 0;            ///< where in the parent's `txt` the element stands, in bytes
  LayoutNode* next = nullptr;     ///< the next of the same name under the same parent
  LayoutNode* sibling = nullptr;  ///< of the first of a name: the first of the next other name
  LayoutNode* ordered = nullptr;  ///< the next under the same parent
  LayoutNode* child = nullptr;    ///< the first below
  LayoutNode* parent = nullptr;
  std::uint16_t flags = 0;
};

/// A layout document, read: markup in which an attribute's value needs no quotes.
///
/// Such a value is no value here but the name of another attribute without one; `getAttribute`
/// (attributes.h) mends that. Reading ends with the first fault and keeps what was read before it.
/// A zero byte ends the text, and its last byte counts only as the `>` of a tag. Declarations are
/// passed over; entities are those of every document (markup_text.h). Time and memory grow with the
/// size of the text alone, whatever it holds, up to a logarithm for children of many names.
/// Threads: reading concerns one; after that, any.
class LayoutTree {
 public:
  explicit LayoutTree(std::string_view document);
  LayoutTree(const LayoutTree&) = delete;
  LayoutTree& operator=(const LayoutTree&) = delete;

  [[nodiscard]] const LayoutNode& root() const noexcept { return nodes.front(); }
  /// "[error near line 3]: missing >", cut to 127 bytes; empty if the whole document was read.
  [[nodiscard]] const char* error() const noexcept { return errorText; }

 private:
  class Reader;

  std::vector<char> text;               // the document; names and values are ended in place
  std::deque<LayoutNode> nodes;         // in document order
  std::vector<const char*> attributes;  // the lists of all nodes
  std::deque<std::string> joinedTexts;
  char errorText[128] = "";
};
