#include "editor/controls/control_block.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/look.h"

namespace {

constexpr float kRowHeight = 20.0F;  // of name and value
constexpr float kEntryWidth = 66.0F;
constexpr float kIconShift = 12.0F;  // of a name that has an icon before it
constexpr float kLeastGap = 6.0F;    // between name and value
constexpr float kNarrowSize = 10.0F;
constexpr float kDot = 3.0F;
constexpr float kSetupReach = 8.0F;  // of a row under the mouse, to either side
constexpr std::string_view kChain = "\xC4\x83";
constexpr CColor kSetupName = CColor::rgb(0x9A9A9A);

enum Mode { kTextAndFader, kText, kSwitch, kMenu };
constexpr int kModes = 3;
constexpr int kSetupLook = 4;
constexpr int kNoName = 8;

std::string nameFor(const ControlSetup& setup, const ValueSource& values,
                    const ControlBlock::Options& options) {
  if ((options.mode & kNoName) != 0) return {};
  return options.label.empty() ? values.nameOf(setup.tag) : options.label;
}

TextStyle valueFont() { return look::bold(look::kTextSize, look::kValue, kRightText); }

CTTText* makeText(const ControlSetup& setup, ValueSource& values, float dragFactor) {
  auto* const text = new CTTText(setup, values, valueFont());
  text->setDragFactor(dragFactor);
  text->setEntryWidth(kEntryWidth);
  return text;
}

CTextValueButton* makeSwitch(const ControlSetup& setup, const ValueSource& values) {
  auto* const button =
      new CTextValueButton(setup, {"ON", "OFF", look::kValue, look::kOff},
                           look::bold(look::kSmallTextSize, look::kValue, kRightText));
  button->setDefaultValue(values.defaultOf(setup.tag));
  return button;
}

}  // namespace

ValueBlock::ValueBlock(const ControlSetup& setup, std::string name, bool asSetupRow)
    : CGViewContainer(setup.size), tag(setup.tag), label(std::move(name)), isSetupRow(asSetupRow) {}

template <typename Part>
void ValueBlock::setParts(Part* part, LineFader* line) {
  shownPart = part;
  shownMarks = part;
  shownFocus = part;
  widthShown = [part] { return part->shownWidth(); };
  isPartDragged = [part] { return part->isDragged(); };
  part->setHolder(this);
  addView(part);
  rail = line;
  if (line != nullptr) {
    line->setHolder(this, part);
    addView(line);
  }
  layOut();
}

void ValueBlock::layOut() {
  if (shownPart == nullptr) return;
  const float width = size.width();
  const float rowHeight = rail != nullptr ? std::min(kRowHeight, size.height()) : size.height();
  const auto place = [](CControl& part, const CRect& rect) {
    part.setViewSize(rect, false);
    part.setMouseableArea(rect);
  };
  place(*shownPart, {0.0F, 0.0F, width, rowHeight});
  if (rail != nullptr) place(*rail, {0.0F, rowHeight, width, size.height()});
}

void ValueBlock::setViewSize(const CRect& rect, bool invalidates) {
  CGViewContainer::setViewSize(rect, invalidates);
  layOut();
}

void ValueBlock::setLabel(std::string text) {
  label = std::move(text);
  partChanged();
}

void ValueBlock::setAlert(bool on) {
  if (std::exchange(isAlert, on) != on) partChanged();
}

template <typename Act>
void ValueBlock::forMarks(Act&& act) {
  act(*shownMarks);
  if (rail != nullptr) act(static_cast<ControlMarks&>(*rail));
}

void ValueBlock::setLinkHighlight(bool on, CColor colour) {
  forMarks([&](ControlMarks& part) { part.setLinkHighlight(on, colour); });
}

void ValueBlock::setMidiHighlight(bool on, CColor colour) {
  forMarks([&](ControlMarks& part) { part.setMidiHighlight(on, colour); });
}

void ValueBlock::setDisabled(bool on) {
  forMarks([on](ControlMarks& part) { part.setDisabled(on); });
}

void ValueBlock::setLearning(bool on) {
  forMarks([on](ControlMarks& part) { part.setLearning(on); });
}

void ValueBlock::setLinkState(bool linked, bool locked) {
  forMarks([&](ControlMarks& part) { part.setLinkState(linked, locked); });
}

void ValueBlock::partHovered(bool on) {
  if (getFrame() == nullptr) return;
  on ? fade.begin(getFrame()->now()) : fade.end(getFrame()->now());
  getFrame()->wantIdle(*this, true);
}

void ValueBlock::partChanged() {
  if (isShown()) getRoot()->invalidFrameRect(localToFrame(ControlOutline::reachOf(size)));
  if (getFrame() != nullptr && shownMarks->marks().isLearning) getFrame()->wantIdle(*this, true);
}

void ValueBlock::onIdle() {
  const bool fades = fade.advance(getFrame()->now());
  const bool learns = shownMarks->marks().isLearning;
  const bool blinked = std::exchange(wasBlinkOn, outlineState().isBlinkOn) != wasBlinkOn;
  if (fades || !learns || blinked) partChanged();
  if (!fades && !learns) getFrame()->wantIdle(*this, false);
}

void ValueBlock::removed() {
  fade.forget();
  CGViewContainer::removed();
}

bool ValueBlock::isAnyDragged() const {
  return isPartDragged() || (rail != nullptr && rail->isDragged());
}

bool ValueBlock::hasIcon() const {
  return shownMarks->marks().isLocked || shownMarks->marks().isLinked;
}

ControlOutline::State ValueBlock::outlineState() const {
  ControlOutline::State state;
  state.isFocused = shownFocus->hasFocus();
  state.isDragged = isAnyDragged();
  state.isBlinkOn = getFrame() != nullptr && (getFrame()->now() / look::kBlinkMs) % 2 != 0;
  return state;
}

void ValueBlock::drawRect(CDrawContext& context, const CRect& part) {
  // What lies around it is drawn in the clip of its container.
  const bool isOpen = !shownMarks->marks().isDisabled && !shownMarks->marks().isLocked;
  if (isSetupRow && isOpen && fade.share() > 0.0F) {
    const auto alpha = static_cast<std::uint8_t>(std::lround(13.0F * fade.share()));
    rowGround.draw(context, size.inset(-kSetupReach, 0.0F), {2.5F, {255, 255, 255, alpha}});
  }
  outline.draw(context, size, shownMarks->marks(), outlineState());
  drawIcon(context);
  CGViewContainer::drawRect(context, part);
}

void ValueBlock::drawBackgroundRect(CDrawContext& context, const CRect& part) {
  CGViewContainer::drawBackgroundRect(context, part);
  drawLabel(context);
}

void ValueBlock::drawIcon(CDrawContext& context) {
  const MarkState& marks = shownMarks->marks();
  const CPoint middle{size.left + 4.0F, size.top + shownPart->getViewSize().height() * 0.5F - 0.5F};
  if (marks.isLocked) {
    padlock.draw(context, middle, 12.0F, Icon::kLock, look::kLocked);
  } else if (marks.isLinked) {
    context.drawTextCached(kChain,
                           {middle.x - 6.0F, middle.y - 6.0F, middle.x + 6.0F, middle.y + 6.0F},
                           look::bold(look::kSmallTextSize, look::kLinked, kCenterText));
  }
  if (!marks.hasLinkColour || marks.linkColour == kBlackCColor) return;
  const CPoint dot{hasIcon() ? middle.x + 4.0F : size.left - 4.0F, middle.y + 3.0F};
  context.setFillColor(marks.linkColour);
  context.drawEllipse({dot.x, dot.y, dot.x + kDot, dot.y + kDot}, kDrawFilled);
}

void ValueBlock::drawLabel(CDrawContext& context) {
  const MarkState& marks = shownMarks->marks();
  const float rowHeight = shownPart->getViewSize().height();
  const float middle = rowHeight * 0.5F;
  float left = hasIcon() ? kIconShift : 0.0F;
  if (label.empty()) return;
  TextStyle style = isSetupRow ? look::regular(look::kTextSize, kSetupName)
                               : look::bold(look::kSmallTextSize, look::kLabel);
  style.colour = marks.labelColour(isAnyDragged() ? 1.0F : fade.share());
  if (isSetupRow && !marks.isDisabled) {
    style.colour = mix(kSetupName, look::kQuietText, fade.share());
  }
  const float room = size.width() - left - widthShown() - kLeastGap;
  if (!isSetupRow && look::widthOf(style, label) > room) style.size = kNarrowSize;
  const std::string shown = look::cutTo(std::max(room, 0.0F), style, label);
  if (isAlert && !marks.isDisabled) {
    const float width = look::widthOf(style, shown);
    alertGround.draw(context, {left, middle - 7.0F, left + width + 8.0F, middle + 7.0F},
                     {2.5F, look::kOver});
    style.colour = kWhiteCColor;
    left += 4.0F;
  }
  context.drawTextCached(shown, {left, 0.0F, size.width(), rowHeight}, style);
}

ControlBlock::ControlBlock(const ControlSetup& setup, ValueSource& values, Options options)
    : ValueBlock(setup, nameFor(setup, values, options), (options.mode & kSetupLook) != 0) {
  const ControlSetup part{{}, setup.listener, setup.tag};
  switch (options.mode & kModes) {
    case kTextAndFader: {
      auto* const line = new LineFader(
          part, values,
          {CSlider::Style::kHorizontal, std::move(options.detents), options.dragFactor});
      if (options.marksZero) line->setZeroMark(values.normalisedOf(setup.tag, 0.0F));
      setParts(makeText(part, values, options.dragFactor), line);
      break;
    }
    case kText:
      setParts(makeText(part, values, options.dragFactor), nullptr);
      break;
    case kSwitch:
      setParts(makeSwitch(part, values), nullptr);
      break;
    case kMenu:
      setParts(new nOptionMenu(part, values, options.menuText, valueFont()), nullptr);
      break;
    default:
      break;
  }
}

ScalableLFControlBlock::ScalableLFControlBlock(const ControlSetup& setup, ValueSource& values,
                                               Options options)
    : ValueBlock(setup, nameFor(setup, values, options), false) {
  const ControlSetup part{{}, setup.listener, setup.tag};
  auto* const line =
      new SLineFader(part, values, {CSlider::Style::kHorizontal, std::move(options.detents), 0.0F});
  if (options.marksZero) line->setZeroMark(values.normalisedOf(setup.tag, 0.0F));
  setParts(makeText(part, values, options.dragFactor), line);
}
