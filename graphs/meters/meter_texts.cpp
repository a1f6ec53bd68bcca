#include "graphs/meters/meter_texts.h"

#include <cmath>
#include <limits>
#include <utility>

#include "graphs/meters/meter_scale.h"
#include "toolkit/look.h"

namespace {

constexpr float kRadius = 2.5F;

}  // namespace

CMeterText::CMeterText(const ControlSetup& setup)
    : CControl(setup), text(look::bold(look::kSmallTextSize, look::kText, kCenterText)) {}

std::string CMeterText::shownText() const { return levelText(static_cast<double>(value)); }

void CMeterText::draw(CDrawContext& context) {
  const bool isOver = value >= 1.0F;
  ground.draw(context, size, {kRadius, isOver ? look::kOver : look::kBorder});
  text.colour = isOver ? kWhiteCColor : value > 0.0F ? look::kText : look::kLabel;
  context.drawText(shownText(), size, text);
  setDirty(false);
}

loudnessMeterView::loudnessMeterView(const ControlSetup& setup, std::string word, TextStyle look)
    : CStaticTextLabel(setup, "", std::move(look)), unit(std::move(word)) {
  CControl::setValue(-std::numeric_limits<float>::infinity());
  setText(loudnessText(static_cast<double>(value), unit));
  setColour(look::kLabel);
}

void loudnessMeterView::setValue(float loudness) {
  if (loudness == value) return;
  CControl::setValue(loudness);
  std::string now = loudnessText(static_cast<double>(loudness), unit);
  if (now == getText()) return;
  setColour(now.starts_with("-inf") ? look::kLabel : look::kText);
  setText(std::move(now));
}

ReleaseLED::ReleaseLED(const ControlSetup& setup, const ValueSource& values)
    : CControl(setup),
      name(values.nameOf(setup.tag)),
      text(look::bold(look::kSmallTextSize, look::kLabel)) {
  if (name.empty()) name = "REL FAST";
}

void ReleaseLED::draw(CDrawContext& context) {
  const bool isLit = value != 0.0F;
  CRect place = size;
  if (isLit) {
    const float top = std::floor(size.centre().y - 7.5F);
    ground.draw(context,
                {size.left, top, size.left + look::widthOf(text, name) + 10.0F, top + 15.0F},
                {kRadius, look::kOver});
    place.left += 5.0F;
  }
  text.colour = isLit ? kWhiteCColor : look::kLabel;
  context.drawTextCached(name, place, text);
  setDirty(false);
}

bool ReleaseLED::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
