#pragma once

#include <optional>
#include <string_view>
#include <vector>

/// A character and the number of its picture in the face.
struct FaceCharacter {
  char32_t character = 0;
  int glyph = 0;
};

/// The characters of a TrueType file in order, once all that drawing them reads has been found to
/// lie within the file and to be of sensible size: the reader that draws them checks nothing.
/// Nothing where the file is damaged. Known are outlines of lines and parabolas, and the two usual
/// forms of character tables.
[[nodiscard]] std::optional<std::vector<FaceCharacter>> checkedCharacters(std::string_view bytes);
