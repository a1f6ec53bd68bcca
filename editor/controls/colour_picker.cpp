#include "editor/controls/colour_picker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr float kPanelWidth = 208.0F;
constexpr float kPanelHeight = 176.0F;
constexpr float kPanelInside = 12.0F;
constexpr float kStripWidth = 16.0F;
constexpr float kStripGap = 8.0F;
constexpr float kCodeHeight = 22.0F;
constexpr float kKeyStep = 0.02F;
constexpr float kMostColour = 16777215.0F;
constexpr std::array<std::uint32_t, 7> kHues = {0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF,
                                                0x0000FF, 0xFF00FF, 0xFF0000};

CColor colourOfHue(float hue) {
  const float place = std::clamp(hue, 0.0F, 1.0F) * 6.0F;
  const auto sector = std::min<std::size_t>(5, static_cast<std::size_t>(place));
  return mix(CColor::rgb(kHues[sector]), CColor::rgb(kHues[sector + 1]),
             place - static_cast<float>(sector));
}

CColor colourOf(float hue, float saturation, float brightness) {
  return mix(kBlackCColor, mix(kWhiteCColor, colourOfHue(hue), saturation), brightness);
}

float valueOf(CColor colour) {
  return static_cast<float>((colour.red << 16) + (colour.green << 8) + colour.blue);
}

std::uint32_t codeOf(float value) {
  return static_cast<std::uint32_t>(std::clamp(value, 0.0F, kMostColour));
}

void fillBetween(CDrawContext& context, const CRect& place, const std::array<CColor, 4>& corners) {
  const std::array<CVertex, 4> strip = {{{{place.left, place.top}, corners[0]},
                                         {{place.right, place.top}, corners[1]},
                                         {{place.left, place.bottom}, corners[2]},
                                         {{place.right, place.bottom}, corners[3]}}};
  context.drawTriangleStrip(strip);
}

float shareOf(float at, float from, float to) {
  return std::clamp((at - from) / (to - from), 0.0F, 1.0F);
}

}  // namespace

nColourPicker::nColourPicker(const ControlSetup& setup) : CControl(setup) { setMax(kMostColour); }

CRect nColourPicker::square() const {
  return {size.left, size.top, size.right - kStripWidth - kStripGap, size.bottom};
}

CRect nColourPicker::strip() const {
  return {size.right - kStripWidth, size.top, size.right, size.bottom};
}

void nColourPicker::setValue(float plain) {
  if (plain == valueOf(colourOf(hue, saturation, brightness))) {
    CControl::setValue(plain);
    return;
  }
  const CColor colour = CColor::rgb(codeOf(plain));
  const float red = colour.red;
  const float green = colour.green;
  const float blue = colour.blue;
  const float most = std::max({red, green, blue});
  const float range = most - std::min({red, green, blue});
  brightness = most / 255.0F;
  saturation = most > 0.0F ? range / most : 0.0F;
  if (range > 0.0F) {
    float sector = 4.0F + (red - green) / range;
    if (most == green) sector = 2.0F + (blue - red) / range;
    if (most == red) sector = (green - blue) / range;
    hue = sector / 6.0F - std::floor(sector / 6.0F);
  }
  CControl::setValue(static_cast<float>(codeOf(plain)));
  setDirty();
}

void nColourPicker::draw(CDrawContext& context) {
  const CRect field = square();
  const CColor pure = colourOfHue(hue);
  fillBetween(context, field, {kWhiteCColor, pure, kWhiteCColor, pure});
  constexpr CColor kClear{0, 0, 0, 0};
  fillBetween(context, field, {kClear, kClear, kBlackCColor, kBlackCColor});
  const CRect hues = strip();
  const float part = hues.height() / 6.0F;
  for (std::size_t i = 0; i < 6; ++i) {
    const float top = hues.top + part * static_cast<float>(i);
    const CColor from = CColor::rgb(kHues[i]);
    const CColor to = CColor::rgb(kHues[i + 1]);
    fillBetween(context, {hues.left, top, hues.right, top + part}, {from, from, to, to});
  }
  const float y = hues.top + hue * hues.height();
  context.fillRect(
      {hues.left, std::max(hues.top, y - 1.0F), hues.right, std::min(hues.bottom, y + 1.0F)},
      kWhiteCColor);
  const CPoint at{field.left + saturation * field.width(),
                  field.bottom - brightness * field.height()};
  context.setLineWidth(1.5F);
  context.setFrameColor(brightness > 0.5F ? kBlackCColor : kWhiteCColor);
  const float x = std::clamp(at.x, field.left + 4.0F, field.right - 4.0F);
  const float middle = std::clamp(at.y, field.top + 4.0F, field.bottom - 4.0F);
  context.drawEllipse({x - 4.0F, middle - 4.0F, x + 4.0F, middle + 4.0F}, kDrawStroked);
  setDirty(false);
}

void nColourPicker::choose(float wantedHue, float wantedSaturation, float wantedBrightness) {
  hue = std::clamp(wantedHue, 0.0F, 1.0F);
  saturation = std::clamp(wantedSaturation, 0.0F, 1.0F);
  brightness = std::clamp(wantedBrightness, 0.0F, 1.0F);
  setDirty();
  changeValue(valueOf(colourOf(hue, saturation, brightness)));
}

CMouseEventResult nColourPicker::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  held = where.x >= strip().left - 0.5F * kStripGap ? Grip::kStrip : Grip::kSquare;
  return onMouseMoved(where, buttons);
}

CMouseEventResult nColourPicker::onMouseMoved(CPoint where, CButtonState /*buttons*/) {
  const CRect field = square();
  if (held == Grip::kNothing) return kMouseEventNotHandled;
  if (held == Grip::kStrip) {
    choose(shareOf(where.y, size.top, size.bottom), saturation, brightness);
  } else {
    choose(hue, shareOf(where.x, field.left, field.right),
           1.0F - shareOf(where.y, field.top, field.bottom));
  }
  return kMouseEventHandled;
}

CMouseEventResult nColourPicker::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  held = Grip::kNothing;
  return kMouseEventHandled;
}

bool nColourPicker::onWheel(CPoint /*where*/, float steps, CButtonState /*buttons*/) {
  choose(hue - steps * kKeyStep, saturation, brightness);
  return true;
}

bool nColourPicker::onKeyDown(const KeyEvent& key) {
  const float step = key.modifiers.has(kShift) ? 0.25F * kKeyStep : kKeyStep;
  switch (key.key) {
    case Key::kLeft:
      choose(hue, saturation - step, brightness);
      return true;
    case Key::kRight:
      choose(hue, saturation + step, brightness);
      return true;
    case Key::kUp:
      choose(hue, saturation, brightness + step);
      return true;
    case Key::kDown:
      choose(hue, saturation, brightness - step);
      return true;
    case Key::kPageUp:
      choose(hue - step, saturation, brightness);
      return true;
    case Key::kPageDown:
      choose(hue + step, saturation, brightness);
      return true;
    default:
      return false;
  }
}

nColourPickerText::nColourPickerText(const ControlSetup& setup) : CTextEdit(setup) {
  setMax(kMostColour);
  setMaxLength(7);
  const TextStyle typed = look::bold(look::kTextSize, look::kValue);
  setFont(typed.face, typed.size);
  setFontColor(typed.colour);
  setHoriAlign(kCenterText);
}

void nColourPickerText::setValue(float plain) {
  CTextEdit::setValue(plain);
  std::array<char, 16> code{};
  std::snprintf(code.data(), code.size(), "#%06X", codeOf(plain));
  setText(code.data());
}

void nColourPickerText::takeText(const std::string& utf8) {
  const char* const digits = utf8.c_str() + (utf8.starts_with('#') ? 1 : 0);
  char* end = nullptr;
  const unsigned long code = std::strtoul(digits, &end, 16);
  if (end != digits + 6 || *end != '\0') return;
  changeValue(static_cast<float>(code));
}

void nPickerCloser::draw(CDrawContext& /*context*/) { setDirty(false); }

CMouseEventResult nPickerCloser::onMouseDown(CPoint /*where*/, CButtonState /*buttons*/) {
  valueChanged();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool nPickerCloser::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return true;
}

ColourPanel::ColourPanel(const CRect& window, const CRect& place, std::uint32_t colour,
                         Chosen chosen)
    : CViewContainer(window), box(place), told(std::move(chosen)) {
  addView(new nPickerCloser({window.movedBy(-window.left, -window.top), this, -1}));
  const CRect inner = box.inset(kPanelInside, kPanelInside);
  const float textTop = inner.bottom - kCodeHeight;
  picker = new nColourPicker({{inner.left, inner.top, inner.right, textTop - kStripGap}, this, -1});
  addView(picker);
  text = new nColourPickerText({{inner.left, textTop, inner.right, inner.bottom}, this, -1});
  addView(text);
  picker->setValue(static_cast<float>(colour));
  text->setValue(static_cast<float>(colour));
}

void ColourPanel::open(CFrame& frame, const CRect& beside, std::uint32_t colour, Chosen chosen) {
  const CRect window{0.0F, 0.0F, frame.getSize().width(), frame.getSize().height()};
  const float left = std::clamp(beside.left, 0.0F, std::max(0.0F, window.right - kPanelWidth));
  const bool isBelow = beside.bottom + kPanelHeight <= window.bottom;
  const float top = isBelow ? beside.bottom : std::max(0.0F, beside.top - kPanelHeight);
  auto* const panel = new ColourPanel(window, {left, top, left + kPanelWidth, top + kPanelHeight},
                                      colour, std::move(chosen));
  frame.addView(panel);
  frame.setFocusView(panel);
  frame.wantIdle(*panel, true);
}

void ColourPanel::drawBackgroundRect(CDrawContext& context, const CRect& /*part*/) {
  ground.draw(context, box, {4.0F, look::kBluePanel, look::kBlueBorder, 8});
}

bool ColourPanel::onKeyDown(const KeyEvent& key) {
  if (key.key != Key::kEscape && key.key != Key::kReturn && key.key != Key::kEnter) {
    return picker->onKeyDown(key);
  }
  close();
  return true;
}

void ColourPanel::onIdle() {
  // After its own text has had the keys.
  const bool isWriting = text->isEditing();
  if (std::exchange(wasWriting, isWriting) && !isWriting) getFrame()->setFocusView(this);
}

void ColourPanel::valueChanged(CControl& control) {
  const Held<ColourPanel> stays(this);
  if (&control != picker && &control != text) {
    close();
    return;
  }
  const float value = control.getValue();
  if (&control == picker) {
    text->setValue(value);
  } else {
    picker->setValue(value);
  }
  if (told) told(codeOf(value));
}

void ColourPanel::close() {
  const Held<ColourPanel> stays(this);
  CFrame* const frame = getFrame();
  if (frame != nullptr) frame->removeView(this);
}
