#include "editor/controls/value_buttons.h"

#include <cmath>
#include <utility>

#include "toolkit/look.h"

namespace {

constexpr CColor kOffWord = CColor::rgb(0x9A9A9A);
constexpr float kPillHeight = 15.0F;
constexpr float kPillPadding = 12.0F;
constexpr float kPillRadius = 2.5F;
constexpr float kWordGap = 4.0F;
constexpr float kPrefixGap = 3.2F;
constexpr float kCapitals = 0.357F;  // half of their height, of the em
constexpr std::string_view kListenGlyph = "\xC5\x85";
constexpr std::string_view kLinkGlyph = "\xC4\x83";

}  // namespace

CTextValueButton::CTextValueButton(const ControlSetup& setup, Words two, TextStyle written)
    : ValuePart(setup, Held<CBitmap>()), words(std::move(two)), style(std::move(written)) {}

CMouseEventResult CTextValueButton::onMouseDown(CPoint where, CButtonState buttons) {
  if (marks().isDisabled || (!buttons.isLeft() && !buttons.isRight())) {
    return kMouseEventNotHandled;
  }
  if (takesPress(buttons, !isBlank())) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return COnOffButton::onMouseDown(where, CButtonState(buttons.buttons()));
}

std::optional<float> CTextValueButton::valueByKey(const KeyEvent& key) {
  return toggledByKey(key, {value, vmin, vmax, vmax - vmin, getDefaultValue(), true});
}

float CTextValueButton::shownWidth() const {
  const float width = look::widthOf(style, isOn() ? words.onText : words.offText);
  return words.hasPill ? std::ceil(width) + kPillPadding : width;
}

void CTextValueButton::draw(CDrawContext& context) {
  if (!isBlank()) drawOutline(context);
  const std::string& word = isOn() ? words.onText : words.offText;
  if (words.hasPill && !word.empty() && word != " ") {
    drawPill(context);
  } else {
    style.colour = marks().valueColour(isOn() ? words.onColour : words.offColour, shownHover());
    context.drawTextCached(word, size, style);
  }
  setDirty(false);
}

void CTextValueButton::drawPill(CDrawContext& context) {
  const std::string& word = isOn() ? words.onText : words.offText;
  const float width = std::ceil(look::widthOf(style, word)) + kPillPadding;
  float left = size.left;
  if (style.align == kRightText) left = size.right - width;
  if (style.align == kCenterText) left = (size.left + size.right - width) * 0.5F;
  const float top = (size.top + size.bottom) * 0.5F - 7.0F;
  const CRect place{left, top, left + width, top + kPillHeight};
  const CColor line = isOn() ? marks().valueColour(words.onColour, shownHover()) : words.offColour;
  pill.draw(context, place, {kPillRadius, isOn() ? line : kTransparentCColor, line});
  TextStyle written = style;
  written.align = kCenterText;
  written.colour = isOn() ? kBlackCColor : mix(kOffWord, look::kText, shownHover());
  if (marks().isDisabled) written.colour = look::kOff;
  context.drawTextCached(word, place, written);
}

CDashSeparatedTextValueButton::CDashSeparatedTextValueButton(const ControlSetup& setup,
                                                             std::string before, Words two,
                                                             TextStyle written)
    : CTextValueButton(setup, std::move(two), std::move(written)), prefix(std::move(before)) {}

void CDashSeparatedTextValueButton::draw(CDrawContext& context) {
  drawOutline(context);
  TextStyle written = getStyle();
  CRect place = size;
  const auto put = [&](const std::string& word, CColor colour, bool isUnderlined) {
    written.colour = colour;
    context.drawTextCached(word, place, written);
    const float width = look::widthOf(written, word);
    if (isUnderlined) {
      const float left = context.snap(place.left);
      const float top = place.centre().y + kCapitals * written.size + 2.0F;
      context.fillRect({left, top, left + width, top + context.hairline()}, colour);
    }
    place.left += width + kWordGap;
  };
  if (!prefix.empty() && prefix != " ") {
    put(prefix, marks().labelColour(0.0F), false);
    place.left += kPrefixGap - kWordGap;
  }
  const CColor lit = marks().valueColour(getWords().onColour, shownHover());
  const CColor unlit =
      marks().isDisabled ? look::kOff : mix(look::kUnlit, look::kQuietText, shownHover());
  const auto putWord = [&](bool ofOn) {
    const bool inForce = ofOn == isOn();
    put(ofOn ? getWords().onText : getWords().offText, inForce ? lit : unlit, inForce);
  };
  putWord(getWords().isOnFirst);
  put("-", look::kOff, false);
  putWord(!getWords().isOnFirst);
  setDirty(false);
}

SCListenButton::SCListenButton(const ControlSetup& setup)
    : SCListenButton(setup, std::string(kListenGlyph), 16.0F) {}

SCListenButton::SCListenButton(const ControlSetup& setup, const std::string& glyph, float glyphSize)
    : CTextValueButton(setup, {glyph, glyph, kBlackCColor, look::kLabel, false},
                       look::bold(glyphSize, look::kLabel, kCenterText)) {}

void SCListenButton::draw(CDrawContext& context) {
  drawOutline(context);
  const CPoint centre = size.centre();
  if (isOn()) {
    ground.draw(context, {centre.x - 8.5F, centre.y - 8.0F, centre.x + 8.5F, centre.y + 8.0F},
                {kPillRadius, look::kText});
  }
  TextStyle written = getStyle();
  written.colour = isOn() ? kBlackCColor : marks().labelColour(shownHover());
  context.drawTextCached(getWords().onText, size, written);
  setDirty(false);
}

nLinkIconButton::nLinkIconButton(const ControlSetup& setup)
    : SCListenButton(setup, std::string(kLinkGlyph), 14.0F) {}
