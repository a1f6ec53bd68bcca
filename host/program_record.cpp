#include "host/program_record.h"

#include <algorithm>

namespace {

/// How many bytes of `text` fit into `most` bytes without splitting a character.
std::size_t wholeCharacters(std::string_view text, std::size_t most) noexcept {
  if (text.size() <= most) return text.size();
  const auto continues = [text](std::size_t i) {
    return (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
  };
  std::size_t length = most;
  // A character has at most three bytes after its first; a longer run is not UTF-8 and may be cut
  // anywhere.
  while (length > most - 3 && continues(length)) --length;
  return continues(length) ? most : length;
}

}  // namespace

void ProgramRecord::setName(std::string_view text) noexcept {
  text = text.substr(0, text.find('\0'));
  const std::size_t length = wholeCharacters(text, kNameCapacity - 1);
  const auto end = std::copy_n(text.begin(), length, name.begin());
  std::fill(end, name.end(), '\0');
}
