#include "toolkit/utf8.h"

#include <algorithm>
#include <array>
#include <utility>

#include "toolkit/face.h"

namespace {

constexpr char32_t kJoiner = 0x200D;

constexpr std::array<std::pair<char32_t, char32_t>, 12> kMarks = {{{0x300, 0x36F},
                                                                   {0x483, 0x489},
                                                                   {0x591, 0x5BD},
                                                                   {0x64B, 0x65F},
                                                                   {0x1AB0, 0x1AFF},
                                                                   {0x1DC0, 0x1DFF},
                                                                   {kJoiner, kJoiner},
                                                                   {0x20D0, 0x20FF},
                                                                   {0xFE00, 0xFE0F},
                                                                   {0xFE20, 0xFE2F},
                                                                   {0x1F3FB, 0x1F3FF},
                                                                   {0xE0100, 0xE01EF}}};

bool isMark(char32_t c) {
  return std::ranges::any_of(
      kMarks, [c](const auto& range) { return c >= range.first && c <= range.second; });
}

/// Bytes of the character at a place, by its first one; 1 for a stray byte.
std::size_t lengthAt(std::string_view utf8, std::size_t at) {
  const auto first = static_cast<unsigned char>(utf8[at]);
  const std::size_t told = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
  std::size_t length = 1;
  while (length < told && at + length < utf8.size() &&
         (static_cast<unsigned char>(utf8[at + length]) & 0xC0U) == 0x80) {
    ++length;
  }
  return length == told ? told : 1;
}

std::size_t startBefore(std::string_view utf8, std::size_t at) {
  // The longest first: by itself each byte of a character looks like a stray one.
  for (std::size_t back = std::min<std::size_t>(4, at); back > 1; --back) {
    if (lengthAt(utf8, at - back) == back) return at - back;
  }
  return at - 1;
}

char32_t codeAt(std::string_view utf8, std::size_t at) {
  const std::u32string codes = codePoints(utf8.substr(at, lengthAt(utf8, at)));
  return codes.empty() ? 0 : codes.front();
}

void append(std::string& utf8, char32_t code) {
  const auto put = [&utf8](char32_t byte) { utf8.push_back(static_cast<char>(byte)); };
  const auto rest = [&](int shift) { put(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0U | (code >> 6));
    rest(0);
  } else if (code < 0x10000) {
    put(0xE0U | (code >> 12));
    rest(6), rest(0);
  } else {
    put(0xF0U | (code >> 18));
    rest(12), rest(6), rest(0);
  }
}

char32_t lowered(char32_t c) {
  if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 32;
  if ((c >= 0x391 && c <= 0x3A9) || (c >= 0x410 && c <= 0x42F)) return c + 32;
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  // Capitals are even up to U+0137 and from U+014A on, odd between.
  if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return c | 1U;
  if (c >= 0x139 && c <= 0x148) return c % 2 == 1 ? c + 1 : c;
  return c;
}

}  // namespace

bool isEdge(std::string_view utf8, std::size_t at) {
  if (at == 0 || at >= utf8.size()) return true;
  return !isMark(codeAt(utf8, at)) && codeAt(utf8, startBefore(utf8, at)) != kJoiner;
}

std::size_t nextEdge(std::string_view utf8, std::size_t at) {
  if (at >= utf8.size()) return utf8.size();
  do {
    at += lengthAt(utf8, at);
  } while (!isEdge(utf8, at));
  return at;
}

std::size_t previousEdge(std::string_view utf8, std::size_t at) {
  at = std::min(at, utf8.size());
  if (at == 0) return 0;
  do {
    at = startBefore(utf8, at);
  } while (!isEdge(utf8, at));
  return at;
}

CharacterKind kindAt(std::string_view utf8, std::size_t at) {
  const auto c = static_cast<unsigned char>(utf8[at]);
  if (c == ' ') return CharacterKind::kBlank;
  const bool isWord =
      c >= 0x80 || (c >= '0' && c <= '9') || c == '_' || ((c | 32U) >= 'a' && (c | 32U) <= 'z');
  return isWord ? CharacterKind::kWord : CharacterKind::kOther;
}

std::size_t nextWordEdge(std::string_view utf8, std::size_t at) {
  if (at >= utf8.size()) return utf8.size();
  const CharacterKind kind = kindAt(utf8, at);
  const auto skip = [&](CharacterKind wanted) {
    while (at < utf8.size() && kindAt(utf8, at) == wanted) at = nextEdge(utf8, at);
  };
  skip(kind);
  skip(CharacterKind::kBlank);
  return at;
}

std::size_t previousWordEdge(std::string_view utf8, std::size_t at) {
  const auto skip = [&](CharacterKind wanted) {
    while (at > 0 && kindAt(utf8, previousEdge(utf8, at)) == wanted) at = previousEdge(utf8, at);
  };
  skip(CharacterKind::kBlank);
  if (at > 0) skip(kindAt(utf8, previousEdge(utf8, at)));
  return at;
}

std::string asOneLine(std::string_view text, std::size_t mostCharacters) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
  // A character has up to four bytes: no more is looked at than can be taken.
  if (text.size() / 4 > mostCharacters) text = text.substr(0, 4 * mostCharacters + 4);
  std::string line;
  std::size_t count = 0;
  char32_t before = 0;
  for (const char32_t code : codePoints(text)) {
    const char32_t last = std::exchange(before, code);
    if (code == '\n' && last == '\r') continue;
    const bool isBreak =
        code == '\n' || code == '\r' || code == '\t' || code == 0x2028 || code == 0x2029;
    if (!isBreak && (code < 0x20 || (code >= 0x7F && code < 0xA0))) continue;
    if (count++ == mostCharacters) break;
    append(line, isBreak ? U' ' : code);
  }
  return line;
}

std::size_t countCharacters(std::string_view utf8) {
  return static_cast<std::size_t>(std::ranges::count_if(
      utf8, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

std::string lowerCase(std::string_view utf8) {
  std::string lower;
  for (const char32_t code : codePoints(utf8)) append(lower, lowered(code));
  return lower;
}
