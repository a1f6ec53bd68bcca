#include "toolkit/label_cache.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

constexpr int kWidestLabel = 8192;

struct PlacedGlyph {
  char32_t character;
  int x;        // whole pixels from the text's start
  float shift;  // the rest
  Face::Box box;
};

std::vector<PlacedGlyph> placed(const std::u32string& text, const Face& face, float size) {
  std::vector<PlacedGlyph> glyphs;
  float pen = 0.0F;
  for (const char32_t character : text) {
    const float start = std::floor(pen);
    const float shift = pen - start;
    const PlacedGlyph glyph{character, static_cast<int>(start), shift,
                            face.box(character, size, shift)};
    if (!glyph.box.isEmpty() && glyph.x + glyph.box.right <= kWidestLabel) glyphs.push_back(glyph);
    pen += face.advance(character, size);
  }
  return glyphs;
}

// Adds a glyph to those before it, which it may touch.
void paint(CBitmap& picture, const PlacedGlyph& glyph, int x, int y,
           const std::vector<std::uint8_t>& coverage) {
  const std::uint8_t* share = coverage.data();
  for (int row = 0; row < glyph.box.height(); ++row) {
    std::uint32_t* pixel =
        picture.pixels() + static_cast<std::ptrdiff_t>(y + row) * picture.getWidth() + x;
    for (int column = 0; column < glyph.box.width(); ++column, ++pixel, ++share) {
      *pixel = std::min((*pixel & 255U) + *share, 255U) * 0x01010101U;
    }
  }
}

StaticTextLabelCache::Label rasterised(const std::u32string& text, const Face& face, float size) {
  const std::vector<PlacedGlyph> glyphs = placed(text, face, size);
  StaticTextLabelCache::Label label;
  for (const char32_t character : text) label.width += face.advance(character, size);
  int right = 0;
  int bottom = 0;
  bool isFirst = true;
  for (const auto& [character, x, shift, box] : glyphs) {
    label.left = isFirst ? x + box.left : std::min(label.left, x + box.left);
    label.top = isFirst ? box.top : std::min(label.top, box.top);
    right = isFirst ? x + box.right : std::max(right, x + box.right);
    bottom = isFirst ? box.bottom : std::max(bottom, box.bottom);
    isFirst = false;
  }
  label.picture = Held<CBitmap>::adopt(new CBitmap(right - label.left, bottom - label.top));
  std::vector<std::uint8_t> coverage;
  for (const PlacedGlyph& glyph : glyphs) {
    const int width = glyph.box.width();
    coverage.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(glyph.box.height()));
    face.rasterise(glyph.character, size, glyph.shift, coverage.data(), width);
    paint(*label.picture, glyph, glyph.x + glyph.box.left - label.left, glyph.box.top - label.top,
          coverage);
  }
  return label;
}

}  // namespace

std::size_t StaticTextLabelCache::KeyHash::operator()(const Key& key) const noexcept {
  const std::size_t text = std::hash<std::string_view>{}(key.text);
  const std::size_t rest = std::hash<const Face*>{}(key.face) * 31 + std::hash<float>{}(key.size);
  return text * 31 + rest;
}

StaticTextLabelCache::StaticTextLabelCache(std::function<void(const CBitmap&)> hearer)
    : leaving(std::move(hearer)) {}

StaticTextLabelCache::Label StaticTextLabelCache::find(std::string_view utf8,
                                                       const std::shared_ptr<const Face>& face,
                                                       float size, bool isVerbatim) {
  if (!face) return {Held<CBitmap>::adopt(new CBitmap(0, 0))};
  const std::lock_guard lock(guard);
  const auto place = places.find({utf8, face.get(), size, isVerbatim});
  if (place != places.end()) {
    entries.splice(entries.begin(), entries, place->second);
    return place->second->label;
  }
  if (entries.size() == kMostLabels) dropOldest();
  std::u32string text = codePoints(utf8);
  if (!isVerbatim) std::transform(text.begin(), text.end(), text.begin(), shownBy);
  entries.push_front({std::string(utf8), face, size, isVerbatim, rasterised(text, *face, size)});
  places.emplace(entries.front().key(), entries.begin());
  return entries.front().label;
}

void StaticTextLabelCache::clear() {
  const std::lock_guard lock(guard);
  while (!entries.empty()) dropOldest();
}

std::size_t StaticTextLabelCache::size() const {
  const std::lock_guard lock(guard);
  return entries.size();
}

void StaticTextLabelCache::dropOldest() {
  const Entry& oldest = entries.back();
  places.erase(oldest.key());
  leaving(*oldest.label.picture);
  entries.pop_back();
}
