#include "graphs/meters/ladder_picture.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "graphs/meters/meter_look.h"

namespace {

constexpr int kRows = 3;   // from one line to the next
constexpr int kEvery = 5;  // of them is longer
constexpr float kLonger = 9.0F;

}  // namespace

void LadderPicture::draw(CDrawContext& context, const CRect& rect, bool fromRight) {
  const Place place = placeOf(context, rect);
  if (place.right <= place.left || place.bottom <= place.top) return;
  const bool sameSide = std::exchange(paintedFromRight, fromRight) == fromRight;
  if (needsPaint(context, place, sameSide)) paint(context.getScale(), fromRight);
  put(context, place);
}

void LadderPicture::paint(float scale, bool fromRight) const {
  const auto width = static_cast<float>(picture->getWidth());
  const auto height = static_cast<float>(picture->getHeight());
  const float hair = std::max(1.0F, std::round(scale));
  const float shorter = std::round(width - kLonger * scale);
  int line = 0;
  for (float row = 0.0F; row + hair <= height; row += kRows * hair) {
    const float length = line++ % kEvery == 0 ? width : shorter;
    const float left = fromRight ? width - length : 0.0F;
    picture->box({left, row, left + length, row + hair}, meter_look::kTick);
  }
}
