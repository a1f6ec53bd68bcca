#include "editor/controls/option_menus.h"

#include <algorithm>
#include <cmath>

#include "editing/parameter_ids.h"
#include "editor/controls/tiled_menus.h"
#include "toolkit/look.h"

namespace {

constexpr float kMenuArrowRoom = 11.0F;
constexpr float kMenuArrow = 9.0F;
constexpr float kSlopeStep = 6.0F;
constexpr float kSourceColumns = 12.0F;  // of what a source is told by
constexpr int kBands = 8;
constexpr std::string_view kLinkSign = "\xC4\x83";

enum Source : std::uint8_t { kWide, kBand, kExternal };

std::string slopesFrom(const ValueSource& values, std::int32_t tag) {
  const ValueSteps steps = values.stepsOf(tag);
  std::string entries;
  for (float slope = kSlopeStep; slope <= steps.most; slope += kSlopeStep) {
    if (slope >= steps.least) entries += std::to_string(static_cast<int>(slope)) + "dB/Oct\n";
  }
  return entries;
}

}  // namespace

nOptionMenu::nOptionMenu(const ControlSetup& setup, ValueSource& source, std::string_view entries,
                         const TextStyle& written)
    : ValuePart(setup, kCheckStyle),
      values(source),
      restColour(written.colour),
      isParameter(!source.nameOf(setup.tag).empty()) {
  setFont(written.face, written.size);
  setFontColor(written.colour);
  setHoriAlign(written.align);
  addEntries(entries);
}

float nOptionMenu::plainAt(int index) const {
  const ValueSteps steps = values.stepsOf(getTag());
  const float step = plainStepOf(steps.curve);
  if (step > 0.0F) return steps.least + static_cast<float>(index) * step;
  const auto last = static_cast<float>(std::max(getNbEntries() - 1, 1));
  return steps.least + static_cast<float>(index) / last * (steps.most - steps.least);
}

int nOptionMenu::indexOf(float plain) const {
  const ValueSteps steps = values.stepsOf(getTag());
  const float step = plainStepOf(steps.curve);
  if (step > 0.0F) return static_cast<int>(std::lround((plain - steps.least) / step));
  const float span = std::max(steps.most - steps.least, 1e-6F);
  const auto last = static_cast<float>(std::max(getNbEntries() - 1, 1));
  return static_cast<int>(std::lround((plain - steps.least) / span * last));
}

void nOptionMenu::setValue(float normalised) {
  const int index = isParameter ? indexOf(values.plainOf(getTag(), normalised))
                                : static_cast<int>(std::lround(normalised));
  COptionMenu::setValue(static_cast<float>(index));
}

void nOptionMenu::valueChanged() {
  if (!isParameter || getListener() == nullptr) {
    tellItself();
    return;
  }
  const int index = getCurrentIndex();
  if (index < 0) return;
  CTagUpdate::send(*getListener(), getTag(), values.normalisedOf(getTag(), plainAt(index)));
}

void nOptionMenu::putValue(float index) {
  choose(static_cast<int>(index));
  valueChanged();
}

std::string nOptionMenu::shownText() const {
  const CMenuItem* const current = getEntry(getCurrentIndex());
  return current != nullptr ? current->title : values.textOf(getTag());
}

float nOptionMenu::shownWidth() const {
  return look::widthOf(getTextStyle(), shownText()) + kMenuArrowRoom;
}

void nOptionMenu::draw(CDrawContext& context) {
  drawOutline(context);
  TextStyle written = getTextStyle();
  written.colour = isPoppedUp() ? look::kHotValue : marks().valueColour(restColour, shownHover());
  const std::string title = shownText();
  const CRect room{size.left, size.top, size.right - kMenuArrowRoom, size.bottom};
  if (!title.empty())
    context.drawTextCached(look::cutTo(room.width(), written, title), room, written);
  float end = size.right;
  if (written.align == kLeftText) end = std::min(end, size.left + shownWidth());
  arrow.draw(context, {end - 4.0F, size.centre().y + 0.5F}, kMenuArrow, Icon::kDown,
             written.colour);
  setDirty(false);
}

CMouseEventResult nOptionMenu::onMouseDown(CPoint where, CButtonState buttons) {
  if (marks().isDisabled || (!buttons.isLeft() && !buttons.isRight())) {
    return kMouseEventNotHandled;
  }
  if (takesPress(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return COptionMenu::onMouseDown(where, buttons);
}

/// The next entry that can be chosen; -1 for none.
int nOptionMenu::neighbour(int direction) const {
  for (int i = getCurrentIndex() + direction; i >= 0 && i < getNbEntries(); i += direction) {
    const CMenuItem* const item = getEntry(i);
    if (!item->isSeparator && item->isEnabled && !item->submenu) return i;
  }
  return -1;
}

bool nOptionMenu::onWheel(CPoint /*where*/, float steps, CButtonState /*buttons*/) {
  if (marks().isDisabled) return false;
  const int whole = canChange() ? notches.take(steps, values) : 0;
  const int to = whole == 0 ? -1 : neighbour(whole > 0 ? -1 : 1);
  if (to >= 0) takeValue(static_cast<float>(to));
  return true;
}

bool nOptionMenu::onKeyDown(const KeyEvent& key) {
  if (ValuePart::onKeyDown(key)) return true;
  if (!canChange() || !isMenuKey(key)) return false;
  popup();
  return true;
}

std::optional<float> nOptionMenu::valueByKey(const KeyEvent& key) {
  int to = -1;
  switch (key.key) {
    case Key::kUp:
    case Key::kLeft:
      to = neighbour(-1);
      break;
    case Key::kDown:
    case Key::kRight:
      to = neighbour(1);
      break;
    case Key::kHome:
    case Key::kPageUp:
      to = 0;
      break;
    case Key::kEnd:
    case Key::kPageDown:
      to = getNbEntries() - 1;
      break;
    case Key::kDelete:
      if (isParameter) to = indexOf(values.plainOf(getTag(), values.defaultOf(getTag())));
      break;
    default:
      break;
  }
  if (to < 0 || to >= getNbEntries() || to == getCurrentIndex()) return std::nullopt;
  return static_cast<float>(to);
}

nOptionMenuFilterSlope::nOptionMenuFilterSlope(const ControlSetup& setup, ValueSource& source,
                                               const TextStyle& written)
    : nOptionMenu(setup, source, slopesFrom(source, setup.tag), written) {}

float nOptionMenuFilterSlope::plainAt(int index) const {
  const float first = std::max(
      kSlopeStep, kSlopeStep * std::ceil(getValues().stepsOf(getTag()).least / kSlopeStep));
  return first + static_cast<float>(index) * kSlopeStep;
}

int nOptionMenuFilterSlope::indexOf(float plain) const {
  return std::clamp(static_cast<int>(std::lround((plain - plainAt(0)) / kSlopeStep)), 0,
                    std::max(getNbEntries() - 1, 0));
}

SCSelectMenu::SCSelectMenu(const ControlSetup& setup, ValueSource& source)
    : nOptionMenu(setup, source, "", look::bold(look::kTextSize, look::kValue, kRightText)) {
  fill();
}

SCSelectMenu::Choice SCSelectMenu::choiceOf(float told) {
  const float whole = std::trunc(told);
  const float row = std::trunc(whole / kSourceColumns);
  return {row, whole - row * kSourceColumns - 1.0F};
}

float SCSelectMenu::toldOf(Choice choice) {
  return choice.source * kSourceColumns + choice.band + 1.0F;
}

SCSelectMenu::Choice SCSelectMenu::present() const {
  const std::int32_t base = bandOf(getTag()) * kBandRows;
  const float source = std::trunc(plainNow(base + kB1SCSrc));
  // Only a crossover band can listen to another one.
  return {source, splits(bandOf(getTag())) ? std::trunc(plainNow(base + kB1SCSBand)) : -1.0F};
}

float SCSelectMenu::plainNow(std::int32_t parameter) const {
  return getValues().plainOf(parameter, getValues().valueOf(parameter));
}

bool SCSelectMenu::splits(int band) const {
  const std::int32_t base = band * kBandRows;
  return plainNow(base + kB1State) != 0.0F && plainNow(base + kB1Type) < 0.5F;
}

void SCSelectMenu::fill() {
  removeAllEntry();
  choices.clear();
  const auto add = [this](std::string title, Choice choice) {
    addEntry(std::move(title));
    choices.push_back(choice);
  };
  const int own = bandOf(getTag());
  add("WIDE", {kWide, -1.0F});
  add("BAND", {kBand, -1.0F});
  for (int band = 0; band < kBands && splits(own); ++band) {
    if (band == own || !splits(band)) continue;
    add("BAND " + std::to_string(band + 1), {kBand, static_cast<float>(band)});
  }
  add("EXTERNAL", {kExternal, -1.0F});
  const Choice now = present();
  const auto current = std::ranges::find_if(choices, [&now](const Choice& choice) {
    return choice.band == now.band && (choice.band >= 0.0F || choice.source == now.source);
  });
  // Of a band that it cannot listen to any more none is checked.
  choose(static_cast<int>(current - choices.begin()));
}

/// The entries that are open stay what they are.
void SCSelectMenu::setValue(float /*normalised*/) {
  if (!isPoppedUp()) fill();
}

void SCSelectMenu::valueChanged() {
  const int index = getCurrentIndex();
  if (index < 0 || static_cast<std::size_t>(index) >= choices.size()) return;
  value = toldOf(choices[static_cast<std::size_t>(index)]);
  tellItself();
  fill();
}

std::optional<float> SCSelectMenu::valueByKey(const KeyEvent& key) {
  if (key.key != Key::kDelete) return nOptionMenu::valueByKey(key);
  const float source = getValues().plainOf(getTag(), getValues().defaultOf(getTag()));
  const auto first = std::ranges::find(choices, source, &Choice::source);
  if (first == choices.end()) return std::nullopt;
  return static_cast<float>(first - choices.begin());
}

std::string SCSelectMenu::shownText() const {
  const Choice now = present();
  if (now.band >= 0.0F) return "BAND " + std::to_string(static_cast<int>(now.band) + 1);
  if (now.source == static_cast<float>(kExternal)) return "EXT";
  return now.source == static_cast<float>(kWide) ? "WIDE" : "BAND";
}

nLinkButton::nLinkButton(const ControlSetup& setup, ValueSource& source, std::string_view entries)
    : nOptionMenu(setup, source, entries, look::bold(14.0F, look::kLabel, kCenterText)) {}

void nLinkButton::draw(CDrawContext& context) {
  drawOutline(context);
  TextStyle written = getTextStyle();
  written.colour = getCurrentIndex() > 0 ? look::kLinkedValue : marks().labelColour(shownHover());
  context.drawTextCached(kLinkSign, size, written);
  setDirty(false);
}
