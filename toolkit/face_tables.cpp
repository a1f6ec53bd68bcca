#include "toolkit/face_tables.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t kLargestFile = 16U << 20;
constexpr int kMostEms = 8;        // of a picture's box, on either side of its start
constexpr int kMostPoints = 8192;  // of a picture
constexpr int kMostDepth = 4;      // of pictures made of others
constexpr int kLargestReach = 32000;

// A part of the file. What is asked for beyond its end is 0, and `isDamaged` from then on.
class Table {
 public:
  Table() = default;
  explicit Table(std::string_view bytes) : content(bytes) {}

  [[nodiscard]] int byte(std::size_t at) { return static_cast<int>(number(at, 1)); }
  [[nodiscard]] int word(std::size_t at) { return static_cast<int>(number(at, 2)); }
  [[nodiscard]] int signedWord(std::size_t at) { return static_cast<std::int16_t>(number(at, 2)); }
  [[nodiscard]] std::size_t longWord(std::size_t at) { return number(at, 4); }
  [[nodiscard]] Table part(std::size_t from, std::size_t size) {
    if (from <= content.size() && size <= content.size() - from)
      return Table(content.substr(from, size));
    damaged = true;
    return {};
  }
  [[nodiscard]] std::size_t size() const { return content.size(); }
  [[nodiscard]] bool isDamaged() const { return damaged; }

 private:
  std::uint32_t number(std::size_t at, std::size_t count) {
    if (at > content.size() || count > content.size() - at) {
      damaged = true;
      return 0;
    }
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      value = value << 8 | static_cast<std::uint8_t>(content[at + i]);
    }
    return value;
  }

  std::string_view content;
  bool damaged = false;
};

// What of a picture has been checked.
struct Glyph {
  int points = 0;
  float reach = 0.0F;  // largest coordinate, either sign
  bool isChecked = false;
};

// Of a coordinate: one byte, and then its sign; else unchanged.
struct PlaceFlags {
  int isShort;
  int isSame;
};

// How far a part is moved, at most along one axis.
int offsetOfPart(Table& parts, std::size_t& at, bool isWide) {
  int furthest = 0;
  for (int i = 0; i < 2; ++i) {
    const int offset = isWide ? parts.signedWord(at) : static_cast<std::int8_t>(parts.byte(at));
    furthest = std::max(furthest, std::abs(offset));
    at += isWide ? 2 : 1;
  }
  return furthest;
}

// The largest of the factors by which it is stretched.
float factorOfPart(Table& parts, std::size_t& at, int flags) {
  const int count = (flags & 8) != 0 ? 1 : (flags & 64) != 0 ? 2 : (flags & 128) != 0 ? 4 : 0;
  float largest = count == 0 ? 1.0F : 0.0F;
  for (int i = 0; i < count; ++i, at += 2) {
    largest = std::max(largest, std::fabs(static_cast<float>(parts.signedWord(at)) / 16384.0F));
  }
  return largest;
}

class FaceChecker {
 public:
  explicit FaceChecker(std::string_view bytes) : file(bytes) {}

  [[nodiscard]] bool check() {
    return findTables() && checkMeasures() && checkAdvances() && checkGlyphs();
  }
  [[nodiscard]] std::optional<std::vector<FaceCharacter>> characters();

 private:
  [[nodiscard]] Table find(std::string_view tag);
  [[nodiscard]] bool findTables();
  [[nodiscard]] bool checkMeasures();
  [[nodiscard]] bool checkAdvances();
  [[nodiscard]] bool checkGlyphs();
  [[nodiscard]] std::size_t glyphStart(std::size_t index);
  [[nodiscard]] bool checkGlyph(int index, int depth);
  [[nodiscard]] bool checkBox(Table& glyph) const;
  [[nodiscard]] bool checkOutline(Table& outline, int contours, Glyph& result) const;
  [[nodiscard]] static bool checkPlaces(Table& outline, std::size_t& at,
                                        const std::vector<int>& flags, PlaceFlags which,
                                        Glyph& result);
  [[nodiscard]] bool checkParts(Table& parts, int depth, Glyph& result);
  [[nodiscard]] bool readRanges(Table& map, std::vector<FaceCharacter>& found) const;
  [[nodiscard]] bool readGroups(Table& map, std::vector<FaceCharacter>& found) const;

  Table file;
  Table cmap, head, hhea, hmtx, loca, glyf, maxp;
  int unitsPerEm = 0;
  bool hasLongOffsets = false;
  std::vector<Glyph> glyphs;
};

// The first of its name, which is the one that the reader takes. One at the start of the file is
// none to the reader.
Table FaceChecker::find(std::string_view tag) {
  const int count = file.word(4);
  for (int i = 0; i < count; ++i) {
    const std::size_t entry = 12 + 16 * static_cast<std::size_t>(i);
    const auto isLetter = [&](std::size_t k) {
      return file.byte(entry + k) == static_cast<unsigned char>(tag[k]);
    };
    if (!(isLetter(0) && isLetter(1) && isLetter(2) && isLetter(3))) continue;
    const std::size_t offset = file.longWord(entry + 8);
    return offset == 0 ? Table{} : file.part(offset, file.longWord(entry + 12));
  }
  return {};
}

bool FaceChecker::findTables() {
  if (file.longWord(0) != 0x00010000 || file.size() > kLargestFile) return false;
  // The reader runs over the whole list. A table beyond the end: the file has been cut off.
  for (int i = 0; i < file.word(4); ++i) {
    const std::size_t entry = 12 + 16 * static_cast<std::size_t>(i);
    static_cast<void>(file.part(file.longWord(entry + 8), file.longWord(entry + 12)));
  }
  cmap = find("cmap");
  head = find("head");
  hhea = find("hhea");
  hmtx = find("hmtx");
  loca = find("loca");
  glyf = find("glyf");
  maxp = find("maxp");
  return !file.isDamaged() && glyf.size() > 0;
}

bool FaceChecker::checkMeasures() {
  unitsPerEm = head.word(18);
  const int locationForm = head.word(50);
  hasLongOffsets = locationForm == 1;
  const int height = hhea.signedWord(4) - hhea.signedWord(6);
  glyphs.resize(static_cast<std::size_t>(maxp.word(4)));
  // No size in pixels makes more than its multiple out of such a face.
  const bool isSensible = unitsPerEm >= 16 && unitsPerEm <= 16384 && locationForm <= 1 &&
                          height * 2 >= unitsPerEm && height <= unitsPerEm * kMostEms &&
                          std::abs(hhea.signedWord(4)) <= unitsPerEm * kMostEms;
  return isSensible && !glyphs.empty() && !head.isDamaged() && !hhea.isDamaged() &&
         !maxp.isDamaged() && head.size() >= 54;
}

bool FaceChecker::checkAdvances() {
  const int longOnes = hhea.word(34);
  const int all = static_cast<int>(glyphs.size());
  if (hhea.isDamaged() || longOnes < 1) return false;
  for (int i = 0; i < longOnes; ++i) {
    const int advance = hmtx.signedWord(4 * static_cast<std::size_t>(i));
    if (advance < 0 || advance > unitsPerEm * kMostEms) return false;
  }
  const int shortOnes = std::max(all - longOnes, 0);
  const int needed = 4 * longOnes + 2 * shortOnes;
  return !hmtx.isDamaged() && hmtx.size() >= static_cast<std::size_t>(needed);
}

bool FaceChecker::checkGlyphs() {
  for (int i = 0; i < static_cast<int>(glyphs.size()); ++i) {
    if (!checkGlyph(i, 0)) return false;
  }
  return true;
}

std::size_t FaceChecker::glyphStart(std::size_t index) {
  return hasLongOffsets ? loca.longWord(index * 4)
                        : static_cast<std::size_t>(loca.word(index * 2)) * 2;
}

bool FaceChecker::checkGlyph(int index, int depth) {
  if (index >= static_cast<int>(glyphs.size()) || depth > kMostDepth) return false;
  Glyph& known = glyphs[static_cast<std::size_t>(index)];
  if (known.isChecked) return true;
  const std::size_t start = glyphStart(static_cast<std::size_t>(index));
  const std::size_t end = glyphStart(static_cast<std::size_t>(index) + 1);
  if (loca.isDamaged() || end < start) return false;
  Glyph result{.isChecked = true};
  if (end > start) {
    Table glyph = glyf.part(start, end - start);
    const int contours = glyph.signedWord(0);
    if (!checkBox(glyph)) return false;
    Table rest = glyph.part(10, glyph.size() - 10);
    if (contours > 0 && !checkOutline(rest, contours, result)) return false;
    if (contours < 0 && !checkParts(rest, depth, result)) return false;
  }
  // Known only now, so that one made of itself comes to the greatest depth.
  known = result;
  return true;
}

bool FaceChecker::checkBox(Table& glyph) const {
  const int left = glyph.signedWord(2);
  const int bottom = glyph.signedWord(4);
  const int right = glyph.signedWord(6);
  const int top = glyph.signedWord(8);
  const int most = unitsPerEm * kMostEms;
  return !glyph.isDamaged() && left <= right && bottom <= top &&
         std::max({-left, -bottom, right, top}) <= most;
}

// Ends of the contours, length of the instructions, these, flags with counts, x and y.
bool FaceChecker::checkOutline(Table& outline, int contours, Glyph& result) const {
  std::vector<int> starts{0};
  for (int i = 0; i < contours; ++i) {
    const int next = outline.word(static_cast<std::size_t>(i) * 2) + 1;
    if (next <= starts.back() || next > kMostPoints) return false;
    starts.push_back(next);
  }
  result.points = starts.back() + 2 * contours;
  std::size_t at = static_cast<std::size_t>(contours) * 2;
  at += 2 + static_cast<std::size_t>(outline.word(at));
  std::vector<int> flags;
  while (static_cast<int>(flags.size()) < starts.back() && !outline.isDamaged()) {
    const int flag = outline.byte(at++);
    const int count = (flag & 8) != 0 ? outline.byte(at++) + 1 : 1;
    flags.insert(flags.end(), static_cast<std::size_t>(count), flag);
  }
  if (outline.isDamaged()) return false;
  flags.resize(static_cast<std::size_t>(starts.back()));
  // The reader looks at the point after one off the curve that a contour starts with.
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    const bool isOnCurve = (flags[static_cast<std::size_t>(starts[i])] & 1) != 0;
    if (!isOnCurve && starts[i + 1] - starts[i] < 2) return false;
  }
  return checkPlaces(outline, at, flags, {2, 16}, result) &&
         checkPlaces(outline, at, flags, {4, 32}, result);
}

// One of both coordinates of all points, from `at` on, which moves on to what follows.
bool FaceChecker::checkPlaces(Table& outline, std::size_t& at, const std::vector<int>& flags,
                              PlaceFlags which, Glyph& result) {
  int place = 0;
  for (const int flag : flags) {
    if ((flag & which.isShort) != 0) {
      const int step = outline.byte(at++);
      place += (flag & which.isSame) != 0 ? step : -step;
    } else if ((flag & which.isSame) == 0) {
      place += outline.signedWord(at);
      at += 2;
    }
    if (std::abs(place) > kLargestReach) return false;
    result.reach = std::max(result.reach, static_cast<float>(std::abs(place)));
  }
  return !outline.isDamaged();
}

bool FaceChecker::checkParts(Table& parts, int depth, Glyph& result) {
  std::size_t at = 0;
  bool isMore = true;
  while (isMore) {
    const int flags = parts.word(at);
    const int index = parts.word(at + 2);
    at += 4;
    // Placed by matching points: unknown to the reader.
    if (parts.isDamaged() || (flags & 2) == 0) return false;
    const int moved = offsetOfPart(parts, at, (flags & 1) != 0);
    const float factor = factorOfPart(parts, at, flags);
    if (parts.isDamaged() || !checkGlyph(index, depth + 1)) return false;
    const Glyph& part = glyphs[static_cast<std::size_t>(index)];
    result.points += part.points;
    // The reader multiplies by the length of a row of factors once more.
    const float reach =
        (2.0F * factor * part.reach + static_cast<float>(moved)) * std::max(1.5F * factor, 1.0F);
    result.reach = std::max(result.reach, reach);
    if (result.points > kMostPoints || result.reach > kLargestReach) return false;
    isMore = (flags & 32) != 0;
  }
  return true;
}

// Format 4: up to 65535 in ranges, each with a list of pictures or a distance to them.
bool FaceChecker::readRanges(Table& map, std::vector<FaceCharacter>& found) const {
  const auto segments = static_cast<std::size_t>(map.word(6) / 2);
  for (std::size_t i = 0; i < segments; ++i) {
    const int end = map.word(14 + 2 * i);
    const int start = map.word(16 + 2 * (segments + i));
    const int delta = map.word(16 + 2 * (2 * segments + i));
    const std::size_t offsetPlace = 16 + 2 * (3 * segments + i);
    const int offset = map.word(offsetPlace);
    if (map.isDamaged() || end < start) return false;
    if (!found.empty() && static_cast<char32_t>(start) <= found.back().character) return false;
    for (int c = start; c <= end && c != 0xFFFF; ++c) {
      int glyph = c;
      if (offset != 0) {
        const int steps = offset + 2 * (c - start);
        glyph = map.word(offsetPlace + static_cast<std::size_t>(steps));
      }
      if (glyph != 0 || offset == 0) glyph = (glyph + delta) & 0xFFFF;
      if (map.isDamaged() || glyph >= static_cast<int>(glyphs.size())) return false;
      if (glyph != 0) found.push_back({static_cast<char32_t>(c), glyph});
    }
  }
  return true;
}

// Format 12: groups of characters in a row whose pictures are in a row, too.
bool FaceChecker::readGroups(Table& map, std::vector<FaceCharacter>& found) const {
  const std::size_t groups = map.longWord(12);
  for (std::size_t i = 0; i < groups; ++i) {
    const std::size_t start = map.longWord(16 + 12 * i);
    const std::size_t end = map.longWord(20 + 12 * i);
    const std::size_t first = map.longWord(24 + 12 * i);
    if (map.isDamaged() || end < start || end > 0x10FFFF) return false;
    if (first >= glyphs.size() || end - start >= glyphs.size() - first) return false;
    if (!found.empty() && start <= found.back().character) return false;
    for (std::size_t c = start; c <= end; ++c) {
      const auto glyph = static_cast<int>(first + (c - start));
      if (glyph != 0) found.push_back({static_cast<char32_t>(c), glyph});
    }
  }
  return true;
}

std::optional<std::vector<FaceCharacter>> FaceChecker::characters() {
  std::vector<FaceCharacter> best;
  const int tables = cmap.word(2);
  for (int i = 0; i < tables; ++i) {
    const std::size_t entry = 4 + 8 * static_cast<std::size_t>(i);
    const int platform = cmap.word(entry);
    const int encoding = cmap.word(entry + 2);
    const std::size_t offset = cmap.longWord(entry + 4);
    if (cmap.isDamaged() || offset > cmap.size()) return std::nullopt;
    const bool isUnicode = platform == 0 || (platform == 3 && (encoding == 1 || encoding == 10));
    if (!isUnicode) continue;
    Table map = cmap.part(offset, cmap.size() - offset);
    const int format = map.word(0);
    std::vector<FaceCharacter> found;
    if (format == 4 && !readRanges(map, found)) return std::nullopt;
    if (format == 12 && !readGroups(map, found)) return std::nullopt;
    if (found.size() > best.size()) best = std::move(found);
  }
  if (best.empty()) return std::nullopt;
  return best;
}

}  // namespace

std::optional<std::vector<FaceCharacter>> checkedCharacters(std::string_view bytes) {
  FaceChecker checker(bytes);
  if (!checker.check()) return std::nullopt;
  return checker.characters();
}
