#include "editor/layout/markup_text.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr std::uint32_t kLastCode = 0x7FFFFFFF;

/// The code of a character reference at the start of `text` and the length of the reference; a
/// length of 0 when none stands there.
struct Reference {
  std::uint32_t code = 0;
  std::size_t length = 0;
};

int digitOf(char c, std::uint32_t base) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (base == 16 && c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (base == 16 && c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

Reference characterReference(std::string_view text) noexcept {
  if (!text.starts_with("&#")) return {};
  const std::uint32_t base = text.starts_with("&#x") ? 16 : 10;
  std::size_t at = base == 16 ? 3 : 2;
  std::uint64_t code = 0;
  for (int digit = 0; at < text.size() && (digit = digitOf(text[at], base)) >= 0; ++at) {
    code = code * base + static_cast<std::uint64_t>(digit);
    if (code > kLastCode) return {};
  }
  if (code == 0 || at == text.size() || text[at] != ';') return {};
  return {static_cast<std::uint32_t>(code), at + 1};
}

Reference reference(std::string_view text) noexcept {
  for (const MarkupEntity& entity : kMarkupEntities) {
    if (!text.substr(1).starts_with(entity.name)) continue;
    return {characterReference(entity.replacement).code, 1 + entity.name.size()};
  }
  return characterReference(text);
}

/// The form of up to six bytes, for codes of up to 31 bits.
char* writeUtf8(std::uint32_t code, char* to) noexcept {
  if (code < 0x80) {
    *to++ = static_cast<char>(code);
    return to;
  }
  int following = 1;
  while (following < 5 && (code >> (5 * following + 6)) != 0) ++following;
  const std::uint32_t mark = 0xFFU << (7 - following);
  *to++ = static_cast<char>(static_cast<std::uint8_t>(mark | (code >> (6 * following))));
  while (following-- > 0) {
    *to++ = static_cast<char>(static_cast<std::uint8_t>(0x80 | (code >> (6 * following) & 0x3F)));
  }
  return to;
}

}  // namespace

char* decodeMarkup(char* begin, char* end, MarkupText kind) noexcept {
  const char* from = begin;
  char* to = begin;
  while (from < end) {
    if (*from == '&' && kind != MarkupText::kVerbatim) {
      const auto [code, length] = reference({from, static_cast<std::size_t>(end - from)});
      from += length;
      if (length > 0) {
        to = writeUtf8(code, to);
        continue;
      }
    }
    char c = *from++;
    if (c == '\r') {
      c = '\n';
      if (from < end && *from == '\n') ++from;
    }
    const bool isSpace = c == '\n' || c == '\t';
    *to++ = isSpace && kind == MarkupText::kAttribute ? ' ' : c;
  }
  return to;
}
