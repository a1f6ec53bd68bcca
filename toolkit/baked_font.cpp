#include "toolkit/baked_font.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

constexpr char32_t kFirst = 32;
constexpr int kGap = 2;  // pixels between two glyphs, so that neither shows at the other's edge
constexpr int kLongestRow = 16384;
constexpr std::string_view kStripLetters =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz.%-,+#:/";

bool isBaked(char character) { return static_cast<unsigned char>(character) - 32U < 96U; }

Held<CBitmap> emptyPicture() { return Held<CBitmap>::adopt(new CBitmap(0, 0)); }

bool isColumnEmpty(const CBitmap& strip, int x) {
  const std::uint32_t* pixel = strip.pixels() + x;
  for (int y = 0; y < strip.getHeight(); ++y, pixel += strip.getWidth()) {
    if (*pixel != 0) return false;
  }
  return true;
}

}  // namespace

BakedFont::BakedFont(float size) : pixels(size), picture(emptyPicture()) {
  for (char32_t i = 0; i < glyphs.size(); ++i) glyphs[i].character = shownBy(kFirst + i);
}

BakedFont::BakedFont(std::shared_ptr<const Face> face, float size) : BakedFont(size) {
  font = std::move(face);
  if (font) bake();
}

void BakedFont::bake() {
  roundedAscent = static_cast<int>(std::lround(font->ascent(pixels)));
  std::array<Face::Box, 96> boxes;
  int right = 0;
  int height = 0;
  for (std::size_t i = 0; i < glyphs.size(); ++i) {
    Glyph& glyph = glyphs[i];
    glyph.advance = font->advance(glyph.character, pixels);
    boxes[i] = font->box(glyph.character, pixels);
    if (boxes[i].isEmpty() || right + boxes[i].width() > kLongestRow) boxes[i] = {};
    glyph.x0 = static_cast<std::uint16_t>(right);
    glyph.x1 = static_cast<std::uint16_t>(right + boxes[i].width());
    glyph.y1 = static_cast<std::uint16_t>(boxes[i].height());
    glyph.xOffset = boxes[i].left;
    glyph.yOffset = boxes[i].top;
    right = glyph.x1 + kGap;
    height = std::max(height, boxes[i].height());
  }
  picture = Held<CBitmap>::adopt(new CBitmap(right, height));
  std::vector<std::uint8_t> coverage(static_cast<std::size_t>(right) *
                                     static_cast<std::size_t>(height));
  for (std::size_t i = 0; i < glyphs.size(); ++i) {
    if (boxes[i].isEmpty()) continue;
    font->rasterise(glyphs[i].character, pixels, 0.0F, coverage.data() + glyphs[i].x0, right);
  }
  std::transform(coverage.begin(), coverage.end(), picture->pixels(),
                 [](std::uint8_t share) { return share * 0x01010101U; });
}

float BakedFont::width(std::string_view text) const noexcept {
  float sum = 0.0F;
  for (const char character : text) {
    if (isBaked(character)) sum += glyph(character).advance;
  }
  return sum;
}

void BakedFont::place(std::string_view text, CPoint start, std::vector<DeviceQuad>& quads) const {
  float pen = start.x;
  for (const char character : text) {
    if (!isBaked(character)) continue;
    const Glyph& glyph = this->glyph(character);
    const CRect source{static_cast<float>(glyph.x0), static_cast<float>(glyph.y0),
                       static_cast<float>(glyph.x1), static_cast<float>(glyph.y1)};
    if (!source.isEmpty()) {
      // A picture of letters may be shown larger than it is.
      const float factor = font ? 1.0F : pixels / static_cast<float>(picture->getHeight());
      const float left = std::floor(pen + 0.5F) + static_cast<float>(glyph.xOffset);
      const float top = start.y + static_cast<float>(glyph.yOffset);
      quads.push_back(
          {source, {left, top, left + source.width() * factor, top + source.height() * factor}});
    }
    pen += glyph.advance;
  }
}

BakedPixelFont::BakedPixelFont(Held<CBitmap> strip, int factor)
    : BakedFont(strip ? static_cast<float>(strip->getHeight() * factor) : 0.0F) {
  if (!strip) return;
  picture = std::move(strip);
  roundedAscent = static_cast<int>(pixels);
  const auto scale = static_cast<float>(factor);
  const auto height = static_cast<std::uint16_t>(picture->getHeight());
  // One empty column after each, and a third of the height for a character it lacks.
  for (Glyph& glyph : glyphs) glyph.advance = std::floor(pixels / 3.0F);
  int x = 0;
  for (const char letter : kStripLetters) {
    while (x < picture->getWidth() && isColumnEmpty(*picture, x)) ++x;
    if (x == picture->getWidth()) break;
    Glyph& glyph = glyphs[static_cast<std::size_t>(letter) - kFirst];
    glyph.x0 = static_cast<std::uint16_t>(x);
    while (x < picture->getWidth() && !isColumnEmpty(*picture, x)) ++x;
    glyph.x1 = static_cast<std::uint16_t>(x);
    glyph.y1 = height;
    glyph.yOffset = -roundedAscent;
    glyph.advance = static_cast<float>(glyph.x1 - glyph.x0 + 1) * scale;
  }
}
