#pragma once

#include <cstdint>
#include <string_view>

struct LayoutNode;

/// Name, value, name, value, ..., null, as a `LayoutNode` holds it: `x=12 label="ON"` is ("x", "",
/// "12", "", "label", "ON", null). Null is an empty list. The operations here put name and unquoted
/// value together again, read nothing after the null, and may run on any thread.
using AttributeList = const char* const*;

/// Whether there is an attribute `name`; an unquoted value is never taken for one.
[[nodiscard]] bool hasAttribute(AttributeList attributes, std::string_view name) noexcept;

/// Null if there is none. An empty value in quotes that an unquoted attribute follows reads as that
/// attribute's name: the list cannot tell the two apart.
[[nodiscard]] const char* getAttribute(AttributeList attributes, std::string_view name) noexcept;

// Each reads from a list or from a node's, which may be null, too.

/// As `getAttribute`.
[[nodiscard]] const char* getAttributeText(AttributeList list, std::string_view name) noexcept;
[[nodiscard]] const char* getAttributeText(const LayoutNode* node, std::string_view name) noexcept;

/// A decimal number after white space, whatever follows it, as `scanf` reads one; 0 if absent or
/// unreadable. Of one beyond 32 bits the lower ones count.
[[nodiscard]] std::int32_t getAttributeInt(AttributeList list, std::string_view name) noexcept;
[[nodiscard]] std::int32_t getAttributeInt(const LayoutNode* node, std::string_view name) noexcept;

/// The same for a hexadecimal number, with or without "0x"; a negative one wraps.
[[nodiscard]] std::uint32_t getAttributeHex(AttributeList list, std::string_view name) noexcept;
[[nodiscard]] std::uint32_t getAttributeHex(const LayoutNode* node, std::string_view name) noexcept;

/// "true" is true; "false" and an absent attribute are false. Of all else the number counts, and 0
/// is true: kept, layouts are written that way.
[[nodiscard]] bool getAttributeBool(AttributeList list, std::string_view name) noexcept;
[[nodiscard]] bool getAttributeBool(const LayoutNode* node, std::string_view name) noexcept;
