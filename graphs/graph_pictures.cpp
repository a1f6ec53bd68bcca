#include "graphs/graph_pictures.h"

#include <algorithm>
#include <cmath>

#include "graphs/graph_grid.h"
#include "toolkit/look.h"
#include "toolkit/pixels.h"

namespace {

constexpr float kRadius = 3.0F;
constexpr float kDecadeAlpha = 0.10F;
constexpr float kLineAlpha = 0.035F;
constexpr float kLevelAlpha = 0.05F;
constexpr float kZeroAlpha = 0.20F;
constexpr float kDashAlpha = 0.20F;
constexpr float kDash = 3.0F;

/// All channels alike, alpha too: white, more or less of it.
std::uint32_t whitePixel(int strength) {
  return static_cast<std::uint32_t>(strength) * 0x01010101U;
}

}  // namespace

void GroundPicture::draw(CDrawContext& context, const CRect& plot, int glow) {
  const Place place = placeOf(context, plot);
  if (needsPaint(context, place, glow == paintedGlow)) {
    paintedGlow = glow;
    const int width = place.right - place.left;
    const int height = place.bottom - place.top;
    const CRect whole{0.0F, 0.0F, static_cast<float>(width), static_cast<float>(height)};
    picture->roundBox(whole, kRadius * context.getScale(), true, true, look::kPanel);
    for (int y = 0; 2 * y < height; ++y) {
      const std::uint32_t white = whitePixel(graph_grid::glowOf(y, height, glow));
      std::uint32_t* const row = picture->pixels() + static_cast<std::ptrdiff_t>(y) * width;
      std::transform(row, row + width, row, [white](std::uint32_t below) {
        const std::uint32_t share = pixels::alphaOf(below);
        return pixels::over(below, share == 255 ? white : pixels::scaled(white, share));
      });
    }
    picture->setDirty();
  }
  put(context, place);
}

void GridPicture::draw(CDrawContext& context, const CRect& plot, const Look& look) {
  const Place place = placeOf(context, plot);
  if (needsPaint(context, place, look == painted)) {
    painted = look;
    paint(look, context.getScale());
    picture->setDirty();
  }
  put(context, place);
}

void GridPicture::paint(const Look& look, float scale) const {
  const auto width = static_cast<float>(picture->getWidth());
  const auto height = static_cast<float>(picture->getHeight());
  const float hair = std::max(1.0F, std::round(scale));
  for (const graph_grid::Upright& line : graph_grid::uprights(look.frequencies)) {
    const float x = std::round(static_cast<float>(line.column) * scale);
    picture->box({x, 0.0F, x + hair, height}, kWhiteCColor,
                 line.isDecade ? kDecadeAlpha : kLineAlpha);
  }
  for (const graph_grid::Level& line : graph_grid::levels(look.levels)) {
    // Half a pixel further, in the middle of the row.
    const float y = std::floor((static_cast<float>(line.row) + 0.5F) * scale - hair * 0.5F + 0.5F);
    picture->box({0.0F, y, width, y + hair}, kWhiteCColor,
                 line.dB == 0.0 ? kZeroAlpha : kLevelAlpha);
  }
}

void DashPicture::draw(CDrawContext& context, const CRect& line) {
  const Place place =
      placeOf(context, {line.left, line.top, line.left + context.hairline(), line.bottom});
  if (needsPaint(context, place, true)) {
    const auto height = static_cast<float>(place.bottom - place.top);
    const float dash = std::max(1.0F, std::round(kDash * context.getScale()));
    for (float y = 0.0F; y < height; y += 2.0F * dash) {
      picture->box(
          {0.0F, y, static_cast<float>(place.right - place.left), std::min(y + dash, height)},
          kWhiteCColor, kDashAlpha);
    }
    picture->setDirty();
  }
  put(context, place);
}
