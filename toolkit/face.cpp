#include "toolkit/face.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/resources.h"
#include "toolkit/face_tables.h"

// What could fail has been looked at before: see `checkedCharacters`.
#define STBTT_assert(condition) static_cast<void>(0)
#define STBTT_STATIC
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb/stb_truetype.h>

struct Face::Parsed {
  stbtt_fontinfo info{};
  std::vector<FaceCharacter> characters;
};

namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct LoadedFaces {
  std::mutex guard;
  std::map<std::string, std::shared_ptr<const Face>, std::less<>> faces;  // by name
};
LoadedFaces& loadedFaces() {
  static LoadedFaces all;
  return all;
}

// The character that starts at `at`, which moves on over it.
char32_t nextCodePoint(std::string_view utf8, std::size_t& at) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const unsigned lead = byteAt(at++);
  if (lead < 0x80) return lead;
  const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4 || more > utf8.size() - at) return kReplacement;
  char32_t point = lead & (0x3FU >> more);
  for (std::size_t i = 0; i < more; ++i) {
    if ((byteAt(at + i) & 0xC0U) != 0x80U) return kReplacement;
    point = point << 6 | (byteAt(at + i) & 0x3FU);
  }
  constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = point >= 0xD800 && point < 0xE000;
  if (point < kLeast[more] || point > 0x10FFFF || isSurrogate) return kReplacement;
  at += more;
  return point;
}

}  // namespace

std::u32string codePoints(std::string_view utf8) {
  std::u32string points;
  points.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) points.push_back(nextCodePoint(utf8, at));
  return points;
}

char32_t shownBy(char32_t character) noexcept {
  switch (character) {
    case '$':
      return 0x2022;
    case '~':
      return 0x2190;
    case 127:
      return 0x2192;
    default:
      return character;
  }
}

std::shared_ptr<const Face> Face::find(std::string_view name) {
  LoadedFaces& loaded = loadedFaces();
  const std::lock_guard lock(loaded.guard);
  const auto place = loaded.faces.find(name);
  if (place != loaded.faces.end()) return place->second;
  return loaded.faces.emplace(name, read(findResource("TTF", name))).first->second;
}

void Face::giveUpLoaded() {
  LoadedFaces& loaded = loadedFaces();
  const std::lock_guard lock(loaded.guard);
  loaded.faces.clear();
}

std::shared_ptr<const Face> Face::read(std::string_view bytes) {
  std::optional<std::vector<FaceCharacter>> characters = checkedCharacters(bytes);
  if (!characters) return nullptr;
  auto parsed = std::make_unique<Parsed>();
  parsed->characters = std::move(*characters);
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  if (stbtt_InitFont(&parsed->info, data, 0) == 0) return nullptr;
  return std::shared_ptr<const Face>(new Face(std::move(parsed)));
}

Face::Face(std::unique_ptr<Parsed> parsed) : file(std::move(parsed)) {}

Face::~Face() = default;

int Face::glyphOf(char32_t character) const {
  const auto& all = file->characters;
  const auto place = std::lower_bound(
      all.begin(), all.end(), character,
      [](const FaceCharacter& entry, char32_t wanted) { return entry.character < wanted; });
  return place != all.end() && place->character == character ? place->glyph : 0;
}

bool Face::has(char32_t character) const { return glyphOf(character) != 0; }

float Face::scaleFor(float size) const { return stbtt_ScaleForPixelHeight(&file->info, size); }

float Face::ascent(float size) const {
  int units = 0;
  stbtt_GetFontVMetrics(&file->info, &units, nullptr, nullptr);
  return static_cast<float>(units) * scaleFor(size);
}

float Face::advance(char32_t character, float size) const {
  int units = 0;
  stbtt_GetGlyphHMetrics(&file->info, glyphOf(character), &units, nullptr);
  return static_cast<float>(units) * scaleFor(size);
}

float Face::width(std::string_view utf8, float size) const {
  float sum = 0.0F;
  for (std::size_t at = 0; at < utf8.size();) sum += advance(nextCodePoint(utf8, at), size);
  return sum;
}

Face::Box Face::box(char32_t character, float size, float shift) const {
  Box box;
  const int glyph = glyphOf(character);
  if (glyph == 0 || !(size > 0.0F && size <= kLargestSize)) return box;
  const float scale = scaleFor(size);
  stbtt_GetGlyphBitmapBoxSubpixel(&file->info, glyph, scale, scale, shift, 0.0F, &box.left,
                                  &box.top, &box.right, &box.bottom);
  return box;
}

void Face::rasterise(char32_t character, float size, float shift, std::uint8_t* out,
                     int stride) const {
  const Box space = box(character, size, shift);
  if (space.isEmpty()) return;
  const float scale = scaleFor(size);
  // One without an outline leaves what is there.
  for (int row = 0; row < space.height(); ++row) {
    std::fill_n(out + static_cast<std::ptrdiff_t>(row) * stride, space.width(), std::uint8_t{0});
  }
  stbtt_MakeGlyphBitmapSubpixel(&file->info, out, space.width(), space.height(), stride, scale,
                                scale, shift, 0.0F, glyphOf(character));
}
