#include "editor/layout/attributes.h"

#include <cstdlib>

#include "editor/layout/layout_tree.h"

namespace {

bool isEmpty(const char* text) noexcept { return *text == 0; }

/// Whether the entry after that at `entry` is an unquoted value of it: neither has a value.
bool hasUnquotedValue(AttributeList entry) noexcept {
  return isEmpty(entry[1]) && entry[2] != nullptr && isEmpty(entry[3]);
}

/// Its entry in the list, or null.
AttributeList findAttribute(AttributeList entry, std::string_view name) noexcept {
  if (entry == nullptr) return nullptr;
  while (*entry != nullptr && *entry != name) entry += hasUnquotedValue(entry) ? 4 : 2;
  return *entry == nullptr ? nullptr : entry;
}

AttributeList listOf(const LayoutNode* node) noexcept {
  return node == nullptr ? nullptr : node->attr;
}

}  // namespace

bool hasAttribute(AttributeList attributes, std::string_view name) noexcept {
  return findAttribute(attributes, name) != nullptr;
}

const char* getAttribute(AttributeList attributes, std::string_view name) noexcept {
  const AttributeList entry = findAttribute(attributes, name);
  if (entry == nullptr) return nullptr;
  return hasUnquotedValue(entry) ? entry[2] : entry[1];
}

const char* getAttributeText(AttributeList list, std::string_view name) noexcept {
  return getAttribute(list, name);
}

const char* getAttributeText(const LayoutNode* node, std::string_view name) noexcept {
  return getAttribute(listOf(node), name);
}

std::int32_t getAttributeInt(AttributeList list, std::string_view name) noexcept {
  const char* const text = getAttribute(list, name);
  return text == nullptr ? 0 : static_cast<std::int32_t>(std::strtoll(text, nullptr, 10));
}

std::int32_t getAttributeInt(const LayoutNode* node, std::string_view name) noexcept {
  return getAttributeInt(listOf(node), name);
}

std::uint32_t getAttributeHex(AttributeList list, std::string_view name) noexcept {
  const char* const text = getAttribute(list, name);
  return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strtoull(text, nullptr, 16));
}

std::uint32_t getAttributeHex(const LayoutNode* node, std::string_view name) noexcept {
  return getAttributeHex(listOf(node), name);
}

bool getAttributeBool(AttributeList list, std::string_view name) noexcept {
  const char* const text = getAttribute(list, name);
  if (text == nullptr || std::string_view(text) == "false") return false;
  return std::string_view(text) == "true" || getAttributeInt(list, name) == 0;
}

bool getAttributeBool(const LayoutNode* node, std::string_view name) noexcept {
  return getAttributeBool(listOf(node), name);
}
