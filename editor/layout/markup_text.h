#pragma once

#include <array>
#include <string_view>

/// An entity as it stands in a text after its `&`, and the text in its place.
struct MarkupEntity {
  std::string_view name;
  std::string_view replacement;
};

/// The entities that every document has. A replacement is decoded in turn.
inline constexpr std::array<MarkupEntity, 5> kMarkupEntities = {{
    {"lt;", "&#60;"},
    {"gt;", "&#62;"},
    {"quot;", "&#34;"},
    {"apos;", "&#39;"},
    {"amp;", "&#38;"},
}};

/// What of a text becomes something else when it is decoded.
enum class MarkupText {
  kVerbatim,   ///< line ends alone: a return, with or without a newline after it, is a newline
  kData,       ///< line ends; `&#N;`, `&#xN;` to UTF-8 of up to six bytes; entities
  kAttribute,  ///< as data, and white space that is written as such to blanks
};

/// Decodes `begin` to `end` in place, where the result always fits, and tells where it ends now. A
/// reference that is malformed, unknown, zero or beyond 31 bits stays as it is. Linear in the size.
[[nodiscard]] char* decodeMarkup(char* begin, char* end, MarkupText kind) noexcept;
