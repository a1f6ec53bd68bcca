#include "toolkit/param_display.h"

#include <array>
#include <charconv>
#include <utility>

#include "toolkit/look.h"

CParamDisplay::CParamDisplay(const ControlSetup& setup, std::int32_t bits)
    : CControl(setup), font(look::bold(look::kTextSize, look::kValue, kCenterText)), style(bits) {}

void CParamDisplay::setStringConvert(StringConvert wanted) {
  convert = std::move(wanted);
  setDirty();
}

void CParamDisplay::setFont(std::shared_ptr<const Face> face, float height) {
  font.face = std::move(face);
  font.size = height;
  setDirty();
}

void CParamDisplay::setFontColor(CColor colour) {
  font.colour = colour;
  setDirty();
}

void CParamDisplay::setBackColor(CColor colour) {
  backColor = colour;
  setDirty();
}

void CParamDisplay::setFrameColor(CColor colour) {
  frameColor = colour;
  setDirty();
}

void CParamDisplay::setHoriAlign(CHoriTxtAlign align) {
  font.align = align;
  setDirty();
}

void CParamDisplay::setStyle(std::int32_t bits) {
  style = bits;
  setDirty();
}

std::string CParamDisplay::shownText() const {
  if (convert) return convert(value);
  std::array<char, 64> text{};  // the longest number has 43 characters; no host's language counts
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 2);
  return {text.data(), end.ptr};
}

void CParamDisplay::draw(CDrawContext& context) {
  if ((style & kNoDrawStyle) == 0) {
    drawBack(context);
    if ((style & kNoTextStyle) == 0) drawText(context, shownText(), size);
  }
  setDirty(false);
}

void CParamDisplay::drawBack(CDrawContext& context) {
  if (getBackground() != nullptr) {
    context.drawBitmap(*getBackground(), size);
    return;
  }
  if (backColor.alpha != 0) context.fillRect(size, backColor);
  if (frameColor.alpha == 0 || (style & kNoFrame) != 0) return;
  context.setFrameColor(frameColor);
  context.drawRect(size);
}

void CParamDisplay::drawText(CDrawContext& context, std::string_view utf8, const CRect& room) {
  if (utf8.empty()) return;
  std::string cut;
  if (look::widthOf(font, utf8) > room.width()) utf8 = cut = look::cutTo(room.width(), font, utf8);
  if ((style & kShadowText) != 0) {
    TextStyle shadow = font;
    shadow.colour = kBlackCColor;
    context.drawTextCached(utf8, room.movedBy(1.0F, 1.0F), shadow);
  }
  context.drawTextCached(utf8, room, font);
}

CTextLabel::CTextLabel(const ControlSetup& setup, std::string text, std::int32_t bits)
    : CParamDisplay(setup, bits), label(std::move(text)) {}

void CTextLabel::setText(std::string utf8) {
  if (label == utf8) return;
  label = std::move(utf8);
  setDirty();
}
