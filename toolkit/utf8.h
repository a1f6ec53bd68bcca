#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Places in a UTF-8 text, in bytes, as people see its characters: what stands over or under a
// letter belongs to it. Texts need not be well formed; each stray byte counts as a character.

[[nodiscard]] bool isEdge(std::string_view utf8, std::size_t at);
/// The edges of the character after and before a place; the place itself at the ends.
[[nodiscard]] std::size_t nextEdge(std::string_view utf8, std::size_t at);
[[nodiscard]] std::size_t previousEdge(std::string_view utf8, std::size_t at);
/// From one end of a word, with the blanks before or after it, to the other.
[[nodiscard]] std::size_t nextWordEdge(std::string_view utf8, std::size_t at);
[[nodiscard]] std::size_t previousWordEdge(std::string_view utf8, std::size_t at);

/// Letters and digits, blanks, or anything else: what a double click takes together.
enum class CharacterKind { kBlank, kWord, kOther };
[[nodiscard]] CharacterKind kindAt(std::string_view utf8, std::size_t at);

/// A text for one line: well-formed UTF-8, U+FFFD for each byte that is no such, a blank for a line
/// end or tab, no other control characters and no line ends at the end. At most `mostCharacters`
/// code points.
[[nodiscard]] std::string asOneLine(std::string_view text, std::size_t mostCharacters);
[[nodiscard]] std::size_t countCharacters(std::string_view utf8);
/// Small letters for the capitals of Latin, Greek and Cyrillic.
[[nodiscard]] std::string lowerCase(std::string_view utf8);
