#include "graphs/graph_pictures.h"

#include <algorithm>
#include <cmath>

#include "graphs/graph_grid.h"

namespace {

constexpr float kDecadeAlpha = 0.10F;
constexpr float kThinAlpha = 0.035F;
constexpr float kLevelAlpha = 0.05F;
constexpr float kZeroAlpha = 0.20F;
constexpr float kDashAlpha = 0.20F;
constexpr float kDash = 3.0F;

}  // namespace

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
                 line.isDecade ? kDecadeAlpha : kThinAlpha);
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
