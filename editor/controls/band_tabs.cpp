#include "editor/controls/band_tabs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "editing/parameter_ids.h"
#include "editor/controls/tiled_menus.h"
#include "editor/layout/tag_table.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

// From the upper edge of the view.
constexpr float kTop = 25.0F;
constexpr float kHeight = 27.0F;
constexpr float kGap = 2.0F;
constexpr float kStripHeight = 3.0F;
constexpr float kMeterRange = 12.0F;  // dB to either side
constexpr float kStill = 0.05F;       // dB that are no gain change

constexpr CColor kRestGround = CColor::rgb(0x111315);
constexpr CColor kInactiveGround = CColor::rgb(0x090909);
constexpr CColor kKindWord = CColor::rgb(0xA8A8A8);
constexpr CColor kQuietKind = CColor::rgb(0x6A6A6A);
constexpr CColor kRing = CColor::rgb(0x4E9ACC, 217);
constexpr std::string_view kPowerGlyph = "\xC4\x84";

constexpr std::array<std::string_view, 8> kKinds = {"BPF",   "BPF B", "BPF E", "LPF",
                                                    "LPF B", "HPF",   "HPF B", "FLAT"};

CRect box(const CRect& tab, float x, float y, float width, float height) {
  return {tab.left + x, tab.top + y, tab.left + x + width, tab.top + y + height};
}

bool isOn(const ValueSource& values, int band, std::int32_t bandOneId) {
  return values.valueOf(bandParameterId(band, bandOneId)) >= 0.5F;
}

}  // namespace

BandTabState BandTabState::read(const ValueSource& values, int band) {
  BandTabState state{isOn(values, band, kB1State), isOn(values, band, kB1Bypass),
                     isOn(values, band, kB1Solo), "XOVER"};
  if (isOn(values, band, kB1Type)) {
    const std::int32_t id = bandParameterId(band, kB1SubType);
    const auto kind = static_cast<int>(values.plainOf(id, values.valueOf(id)));
    state.kind = kKinds[static_cast<std::size_t>(std::clamp(kind, 0, 7))];
  }
  return state;
}

bandTabs::bandTabs(const ControlSetup& setup, const ValueSource& source)
    : WithHover(setup),
      values(source),
      graphWidth(setup.size.width()),
      text(look::bold(look::kSmallTextSize, look::kLabel)),
      smallText(look::bold(10.0F, look::kLabel, kCenterText)),
      glyph(look::bold(13.0F, look::kLabel, kCenterText)) {
  setMax(static_cast<float>(kBands - 1));
  refresh();
}

void bandTabs::setGraphWidth(float width) {
  if (std::exchange(graphWidth, width) != width) invalid();
}

void bandTabs::setSelectedMask(std::uint32_t bands) {
  if (std::exchange(selectedMask, bands) != bands) setDirty();
}

void bandTabs::setGainChange(int band, float dB) {
  if (std::exchange(gains[at(band)], dB) != dB) setDirty();
}

void bandTabs::setLearning(bool on) {
  isLearning = on;
  isBlinkOn = on;
  setDirty();
}

void bandTabs::refresh() {
  for (int band = 0; band < kBands; ++band) {
    const BandTabState now = BandTabState::read(values, band);
    if (std::exchange(states[at(band)], now) != now) setDirty();
  }
}

void bandTabs::attached(CViewContainer& holder) {
  WithHover::attached(holder);
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, true);
}

void bandTabs::onIdle() {
  const float goal = isUnderMouse ? 1.0F : 0.0F;
  if (hoverShare() != goal) {
    WithHover::onIdle();
    getFrame()->wantIdle(*this, true);  // also where the fade has ended: parameters go on
  }
  refresh();
  const bool blink = isLearning && getFrame()->now() / look::kBlinkMs % 2 != 0;
  if (std::exchange(isBlinkOn, blink) != blink) setDirty();
}

CRect bandTabs::tabOf(int band) const {
  const auto edge = [this](int k) {
    return std::round(static_cast<float>(k) * graphWidth / static_cast<float>(kBands));
  };
  const float gap = band == kBands - 1 ? 0.0F : kGap;
  const float top = size.top + kTop;
  return {size.left + edge(band), top, size.left + edge(band + 1) - gap, top + kHeight};
}

bandTabs::Part bandTabs::partAt(const CRect& tab, CPoint where) {
  const float x = where.x - tab.left;
  const float y = where.y - tab.top;
  if (x >= tab.width() - 19.0F && y < 16.0F) return Part::kCross;
  if (y < 14.0F) return Part::kBody;
  if (x < 22.0F) return Part::kPower;
  return x < 40.0F ? Part::kSolo : Part::kBody;
}

bandTabs::Spot bandTabs::spotAt(CPoint where) const {
  for (int band = 0; band < kBands; ++band) {
    const CRect tab = tabOf(band);
    if (!tab.contains(where)) continue;
    if (states[at(band)].isActive) return {band, partAt(tab, where)};
    const bool onPlus = std::abs(where.x - tab.centre().x) < 12.0F;
    return {band, onPlus ? Part::kPlus : Part::kBody};
  }
  return {};
}

std::int32_t bandTabs::tagAt(CPoint where) const {
  const Spot spot = spotAt(where);
  if (spot.band < 0) return getTag();
  switch (spot.part) {
    case Part::kPower:
      return bandParameterId(spot.band, kB1Bypass);
    case Part::kSolo:
      return bandParameterId(spot.band, kB1Solo);
    case Part::kCross:
    case Part::kPlus:
      return bandParameterId(spot.band, kB1State);
    case Part::kBody:
      break;
  }
  return getTag();
}

bool bandTabs::hitTest(CPoint where, CButtonState buttons) const {
  return WithHover::hitTest(where, buttons) && spotAt(where).band >= 0;
}

bool bandTabs::isLastActive(int band) const {
  return states[at(band)].isActive && std::ranges::count_if(states, &BandTabState::isActive) <= 1;
}

void bandTabs::tell(std::int32_t number, int band, const CRect& place) {
  if (getListener() == nullptr) return;
  CTagUpdate::send(*getListener(), number, static_cast<float>(band), place);
}

void bandTabs::switchParameter(int band, std::int32_t bandOneId, bool on) {
  const std::int32_t number = bandParameterId(band, bandOneId);
  VSTGUIEditorInterface* const editor = getFrame() != nullptr ? getFrame()->getEditor() : nullptr;
  if (editor != nullptr) editor->beginEdit(number);
  tell(number, on ? 1 : 0);
  if (editor != nullptr) editor->endEdit(number);
  refresh();
}

void bandTabs::select(int band) { tell(kGUISelectedBand, band); }

void bandTabs::openMenu(int band, CPoint where) {
  const CPoint place = localToFrame(where);
  tell(kGUIOpenBandMenu, band, {place.x, place.y, place.x, place.y});
}

void bandTabs::takeFocus() {
  focused = true;
  setDirty();
}

void bandTabs::looseFocus() {
  focused = false;
  setDirty();
}

void bandTabs::act(Spot spot) {
  const BandTabState& state = states[at(spot.band)];
  switch (spot.part) {
    case Part::kPower:
      return switchParameter(spot.band, kB1Bypass, !state.isBypassed);
    case Part::kSolo:
      return switchParameter(spot.band, kB1Solo, !state.isSoloed);
    case Part::kCross:
      if (!isLastActive(spot.band)) switchParameter(spot.band, kB1State, false);
      return;
    case Part::kPlus:
      switchParameter(spot.band, kB1State, true);
      return select(spot.band);
    case Part::kBody:
      return select(spot.band);
  }
}

void bandTabs::beginSelection(int band, CButtonState buttons) {
  if (buttons.has(kControl)) {
    toggled = band;
    tell(kGUISelectToggle, band);
  } else {
    tell(buttons.has(kShift) ? kGUIShiftSelect : kGUISelectedBand, band);
  }
}

CMouseEventResult bandTabs::onMouseDown(CPoint where, CButtonState buttons) {
  const Spot spot = spotAt(where);
  if (spot.band < 0) return kMouseEventNotHandled;
  if (buttons.isRight()) {
    openMenu(spot.band, where);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  getFrame()->setFocusView(this);
  if (spot.part == Part::kBody) {
    beginSelection(spot.band, buttons);
  } else {
    pressed = spot;
    setDirty();
  }
  return kMouseEventHandled;
}

CMouseEventResult bandTabs::onMouseMoved(CPoint where, CButtonState buttons) {
  const Spot spot = spotAt(where);
  if (buttons.buttons() == 0) {
    if (std::exchange(hovered, spot) != spot) setDirty();
  } else if (toggled >= 0 && spot.band >= 0 && spot.band != toggled) {
    toggled = spot.band;
    tell(kGUISelectToggle, spot.band);
  }
  return kMouseEventHandled;
}

void bandTabs::endToggling() {
  if (std::exchange(toggled, -1) >= 0) tell(kGUISelectToggle, -1);
}

CMouseEventResult bandTabs::onMouseUp(CPoint where, CButtonState /*buttons*/) {
  endToggling();
  const std::optional<Spot> wasPressed = std::exchange(pressed, {});
  if (wasPressed && spotAt(where) == *wasPressed) act(*wasPressed);
  setDirty();
  return kMouseEventHandled;
}

void bandTabs::onMouseCancel() {
  endToggling();
  pressed.reset();
}

void bandTabs::onMouseEntered(CPoint where, CButtonState buttons) {
  isUnderMouse = true;
  WithHover::onMouseEntered(where, buttons);
}

void bandTabs::onMouseExited() {
  isUnderMouse = false;
  WithHover::onMouseExited();
  setDirty();
}

bool bandTabs::onKeyDown(const KeyEvent& key) {
  const int band = selectedBand();
  const bool isActive = states[at(band)].isActive;
  if (isMenuKey(key)) {
    const CRect tab = tabOf(band);
    openMenu(band, {tab.left, tab.bottom});
    return true;
  }
  switch (key.key) {
    case Key::kLeft:
      select(std::max(band - 1, 0));
      return true;
    case Key::kRight:
      select(std::min(band + 1, kBands - 1));
      return true;
    case Key::kHome:
      select(0);
      return true;
    case Key::kEnd:
      select(kBands - 1);
      return true;
    case Key::kSpace:
      if (isActive) act({band, Part::kPower});
      return true;
    case Key::kDelete:
      if (isActive) act({band, Part::kCross});
      return true;
    case Key::kReturn:
    case Key::kEnter:
      if (!isActive) act({band, Part::kPlus});
      return true;
    default:
      return WithHover::onKeyDown(key);
  }
}

void bandTabs::draw(CDrawContext& context) {
  const bool solos = std::ranges::any_of(
      states, [](const BandTabState& state) { return state.isActive && state.isSoloed; });
  for (int band = 0; band < kBands; ++band) {
    const BandTabState& state = states[at(band)];
    const bool runs = state.isActive && !state.isBypassed && (!solos || state.isSoloed);
    const float hover = band == hovered.band ? hoverShare() : 0.0F;
    drawTab(context, {tabOf(band), band, band == selectedBand(), runs, hover});
  }
  drawOutline(context);
  setDirty(false);
}

void bandTabs::drawTab(CDrawContext& context, const Shown& shown) {
  drawGround(context, shown);
  if (states[at(shown.band)].isActive) {
    drawMeter(context, shown);
    drawTitle(context, shown);
    drawSwitches(context, shown);
    return;
  }
  text.colour = look::kOff;
  context.drawTextCached(std::to_string(shown.band + 1), box(shown.tab, 7, 8, 20, 12), text);
  const CPoint middle = shown.tab.centre();
  pictures[at(shown.band)].sign.draw(context, {middle.x, middle.y + 2.0F}, 15.0F, Icon::kPlus,
                                     mix(kQuietKind, look::kText, shown.hover));
}

void bandTabs::openCorner(CDrawContext& context, const Shown& shown) {
  const float hair = context.hairline();
  CRect corner{shown.tab.left, shown.tab.bottom, shown.tab.left + 3.0F, size.bottom};
  CRect line{corner.left, corner.top, corner.left + hair, corner.bottom};
  if (shown.band == kBands - 1) {
    corner = {shown.tab.right - 3.0F, corner.top, shown.tab.right, corner.bottom};
    line = {corner.right - hair, corner.top, corner.right, corner.bottom};
  } else if (shown.band != 0) {
    return;
  }
  context.fillRect(corner, look::kPanel);
  context.fillRect(line, look::kBorder);
}

void bandTabs::drawGround(CDrawContext& context, const Shown& shown) {
  const CRect& tab = shown.tab;
  const bool isActive = states[at(shown.band)].isActive;
  BoxLook look{3.0F, isActive ? kRestGround : kInactiveGround, look::kBorder};
  look.roundBottom = false;
  CRect whole = tab;
  const float hair = context.hairline();
  if (shown.isSelected) {
    look.fill = look::kPanel;
    whole.bottom += hair;
  }
  Pictures& own = pictures[at(shown.band)];
  own.ground.draw(context, whole, look);
  if (shown.isSelected) {  // open into the panel, over the upper edge of that
    context.fillRect({tab.left + hair, tab.bottom - hair, tab.right - hair, whole.bottom},
                     look::kPanel);
    openCorner(context, shown);
  }
  CColor strip = look::kBorder;
  const float quiet = shown.isSelected ? 0.50F : 0.26F;
  if (isActive) strip = band_hues::faint(shown.band, shown.runs ? quiet : 0.16F);
  BoxLook stripLook{1.5F, strip};
  own.strip.draw(context, box(tab, 0, 0, tab.width(), kStripHeight), stripLook);
  const bool isAmong = (selectedMask >> shown.band & 1U) != 0;
  if (isAmong && !shown.isSelected) {  // edited together with the one shown
    context.fillRect(box(tab, 1, 7, 2, kHeight - 11.0F), look::kLit);
  }
}

void bandTabs::drawMeter(CDrawContext& context, const Shown& shown) {
  const CRect& tab = shown.tab;
  const float width = tab.width();
  const float half = width * 0.5F - 2.0F;
  const float gain = gains[at(shown.band)];
  if (shown.runs && std::abs(gain) > kStill) {
    const float length = std::clamp(gain / kMeterRange, -1.0F, 1.0F) * half;
    context.fillRect(
        box(tab, width * 0.5F + std::min(length, 0.0F), 0, std::abs(length), kStripHeight),
        band_hues::full(shown.band));
  }
  for (const float share : {-0.5F, 0.5F}) {
    context.fillRect(box(tab, width * 0.5F + share * half - 0.5F, 0, 1, kStripHeight),
                     band_hues::withOpacity(kBlackCColor, 0.55F));
  }
  context.fillRect(box(tab, width * 0.5F - 0.5F, 0, 1, kStripHeight + 1.0F),
                   band_hues::withOpacity(shown.runs ? look::kText : look::kOff, 0.8F));
}

void bandTabs::drawTitle(CDrawContext& context, const Shown& shown) {
  const CRect& tab = shown.tab;
  text.colour = shown.runs ? band_hues::full(shown.band) : look::kLabel;
  context.drawTextCached(std::to_string(shown.band + 1) + " :", box(tab, 7, 5, 20, 10), text);
  CColor kind = kQuietKind;
  if (shown.runs) kind = shown.isSelected ? look::kText : mix(kKindWord, look::kText, shown.hover);
  text.colour = kind;
  context.drawTextCached(states[at(shown.band)].kind, box(tab, 22, 5, tab.width() - 40, 10), text);
  const bool isOff = isLastActive(shown.band);
  const bool isUnder = !isOff && hovered == Spot{shown.band, Part::kCross};
  CColor cross = shown.isSelected ? look::kLabel : mix(look::kOff, look::kLabel, shown.hover);
  if (isOff) cross = look::kOff;
  if (isUnder) cross = mix(cross, look::kText, shown.hover);
  pictures[at(shown.band)].sign.draw(context, {tab.right - 10.0F, tab.top + 10.0F}, 11.0F,
                                     Icon::kCross, cross);
}

void bandTabs::drawSwitches(CDrawContext& context, const Shown& shown) {
  const CRect& tab = shown.tab;
  const BandTabState& state = states[at(shown.band)];
  const auto brighter = [&](CColor rest, Part part) {
    return hovered == Spot{shown.band, part} ? mix(rest, look::kText, shown.hover * 0.6F) : rest;
  };
  const CColor power = state.isBypassed ? look::kOff : band_hues::full(shown.band);
  glyph.colour = brighter(power, Part::kPower);
  context.drawTextCached(kPowerGlyph, box(tab, 2, 15, 20, 12), glyph);
  if (state.isSoloed) {
    pictures[at(shown.band)].solo.draw(context, box(tab, 24, 15, 13, 12), {2.5F, look::kText});
  }
  smallText.align = kCenterText;
  smallText.colour =
      state.isSoloed ? kBlackCColor : brighter(shown.runs ? look::kLabel : look::kOff, Part::kSolo);
  context.drawTextCached("S", box(tab, 24, 15, 13, 12), smallText);
  if (!shown.runs) return;
  const float gain = gains[at(shown.band)];
  const bool changes = std::abs(gain) > kStill;
  std::array<char, 16> figure{};
  std::snprintf(figure.data(), figure.size(), "%.1f", static_cast<double>(changes ? gain : 0.0F));
  smallText.align = kRightText;
  smallText.colour = changes ? band_hues::full(shown.band) : look::kLabel;
  context.drawText(figure.data(), box(tab, 38, 16, tab.width() - 44, 10), smallText);
}

void bandTabs::drawOutline(CDrawContext& context) {
  if (!focused && !isBlinkOn) return;
  const CColor line = isBlinkOn ? look::kLearn : kRing;
  outline.draw(context, tabOf(selectedBand()), {3.0F, kTransparentCColor, line});
}
