#include "graphs/meters/cvu.h"

#include <algorithm>
#include <cmath>

#include "graphs/meters/meter_look.h"

namespace {

constexpr float kScaleRoom = 28.0F;
constexpr float kTextRoom = 16.0F;  // below
constexpr float kTopRoom = 5.0F;
constexpr float kBetweenBars = 3.0F;

}  // namespace

CVU::CVU(const ControlSetup& setup) : CControl(setup), text(look::bold(10.0F, look::kLabel)) {
  CVU::setViewSize(setup.size, false);
}

void CVU::setViewSize(const CRect& rect, bool invalidates) {
  CControl::setViewSize(rect, invalidates);
  scale.height = static_cast<double>(std::max(rect.height() - kTextRoom - kTopRoom, 1.0F));
  marks = scaleMarks(scale);
}

void CVU::setLevels(float left, float right) {
  const std::array<float, 2> now = {left, right};
  if (now == levels) return;
  levels = now;
  setDirty();
}

std::string CVU::shownText() const {
  return levelText(static_cast<double>(levels[0])) + " " +
         levelText(static_cast<double>(levels[1]));
}

CRect CVU::barOf(std::size_t channel) const {
  const float width = (size.width() - kScaleRoom - kBetweenBars) * 0.5F;
  const float left = size.left + kScaleRoom + static_cast<float>(channel) * (width + kBetweenBars);
  const float top = size.top + kTopRoom;
  return {left, top, left + width, top + static_cast<float>(scale.height)};
}

void CVU::drawScale(CDrawContext& context) {
  text.align = kRightText;
  text.colour = look::kLabel;
  const CRect bar = barOf(0);
  const float hair = context.hairline();
  for (const ScaleMark& mark : marks) {
    const float y = bar.top + static_cast<float>(mark.row);
    context.fillRect({bar.left - 5.0F, y, bar.left - 1.0F, y + hair}, meter_look::kMarkLine);
    const float top = std::max(y - 5.0F, size.top);
    context.drawTextCached(scaleText(scale, mark), {size.left, top, bar.left - 7.0F, top + 10.0F},
                           text);
  }
}

void CVU::draw(CDrawContext& context) {
  drawScale(context);
  text.align = kCenterText;
  for (std::size_t c = 0; c < levels.size(); ++c) {
    const CRect bar = barOf(c);
    const auto level = static_cast<double>(levels[c]);
    const auto from = [&](double of) { return bar.top + static_cast<float>(scale.levelToRow(of)); };
    context.fillRect(bar, meter_look::kBarGround);
    if (from(level) < bar.bottom) {
      context.fillRect({bar.left, from(level), bar.right, bar.bottom}, look::kLit);
    }
    if (level > 1.0) {
      context.fillRect({bar.left, from(level), bar.right, from(1.0)}, look::kOver);
    }
    text.colour = level > 0.0 ? look::kText : look::kLabel;
    context.drawText(levelText(level), {bar.left, bar.bottom + 3.0F, bar.right, size.bottom}, text);
  }
  setDirty(false);
}
