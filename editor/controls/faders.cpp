#include "editor/controls/faders.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "editor/controls/tiled_menus.h"
#include "toolkit/look.h"

namespace {

constexpr float kPixelsPerDragFactor = 100.0F;
constexpr float kFineShare = 0.1F;
constexpr float kHandleReach = 5.0F;  // to either side of the rail
constexpr float kLevelBelow = 4.0F;
constexpr CColor kLevelBar{look::kValue.red, look::kValue.green, look::kValue.blue, 191};
constexpr float kRounding = 1e-3F;     // device pixels
constexpr float kCaliperText = 44.0F;  // at either end

}  // namespace

std::vector<float> detentsOf(std::string_view list) {
  std::vector<float> detents;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    std::string_view word = list.substr(0, comma);
    word.remove_prefix(std::min(word.find_first_not_of(" \t"), word.size()));
    double number = 0.0;
    const auto end = std::from_chars(word.data(), word.data() + word.size(), number);
    if (end.ec == std::errc()) detents.push_back(static_cast<float>(number));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return detents;
}

nFader::nFader(const ControlSetup& setup, ValueSource& source, const FaderOptions& options,
               Held<CBitmap> picture)
    : ValuePart(setup, options.style, 0.0F, 0.0F, Held<CBitmap>(), std::move(picture)),
      values(source),
      detents(detentsOf(options.detents)),
      dragFactor(options.dragFactor),
      altAtDetents(options.altAtDetents) {
  setDefaultValue(source.defaultOf(setup.tag));
}

float nFader::along(CPoint where) const {
  return isVertical() ? size.bottom - where.y : where.x - size.left;
}

float nFader::railLength() const { return isVertical() ? size.height() : size.width(); }

float nFader::place() const {
  return vmax > vmin ? std::clamp((value - vmin) / (vmax - vmin), 0.0F, 1.0F) : 0.0F;
}

float nFader::placeAt(CPoint where) const {
  return std::clamp(along(where) / std::max(railLength(), 1.0F), 0.0F, 1.0F);
}

void nFader::moveTo(float wanted) {
  changeValue(heldValue(values, getTag(), vmin + wanted * (vmax - vmin)));
}

void nFader::draw(CDrawContext& context) {
  drawOutline(context);
  if (getBackground() != nullptr) context.drawBitmap(*getBackground(), size);
  const CColor colour = mix(marks().railColour(), look::kHotValue, shownHover());
  const float at = std::floor(place() * (railLength() - handleSize()));
  const CPoint middle = size.centre();
  if (isVertical()) {
    const float bottom = size.bottom - at;
    context.fillRect({middle.x - 1.0F, size.top, middle.x + 1.0F, size.bottom}, look::kOff);
    context.fillRect({size.left, bottom - handleSize(), size.right, bottom}, colour);
  } else {
    const float left = size.left + at;
    context.fillRect({size.left, middle.y - 1.0F, size.right, middle.y + 1.0F}, look::kOff);
    context.fillRect({left, size.top, left + handleSize(), size.bottom}, colour);
  }
  setDirty(false);
}

CMouseEventResult nFader::onMouseDown(CPoint where, CButtonState buttons) {
  if (marks().isDisabled || (!buttons.isLeft() && !buttons.isRight())) {
    return kMouseEventNotHandled;
  }
  if (takesPress(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  if (buttons.isDouble() || goesToDefault(values, buttons)) {
    const Held<CView> stays(this);
    startGesture();
    moveTo(buttons.isDouble() ? placeAt(where) : defaultPlace());
    endGesture();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  // The handle keeps its distance from the mouse, so that a press alone moves nothing.
  lastAt = along(where);
  dragPlace = presentPlace();
  pressed = true;
  rememberMouse(getFrame());
  return kMouseEventHandled;
}

CMouseEventResult nFader::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!pressed || !buttons.isLeft()) return kMouseEventNotHandled;
  const float moved = along(where) - std::exchange(lastAt, along(where));
  if (moved == 0.0F) return kMouseEventHandled;
  if (!isDragged()) {
    setDragged(true);
    hideMouse(getFrame(), values);
    startGesture();
  }
  const float way = dragFactor > 0.0F ? kPixelsPerDragFactor * dragFactor
                                      : std::max(railLength() - handleSize(), 1.0F);
  // Beyond an end it waits for the mouse to come back, as a handle that is held does.
  dragPlace += moved / way * (buttons.has(kShift) ? kFineShare : 1.0F);
  moveTo(std::clamp(dragPlace, 0.0F, 1.0F));
  return kMouseEventHandled;
}

CMouseEventResult nFader::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  endDrag();
  return kMouseEventHandled;
}

void nFader::onMouseCancel() { endDrag(); }

void nFader::endDrag() {
  pressed = false;
  restoreMouse(getFrame());
  if (!isDragged()) return;
  setDragged(false);
  endGesture();
}

float nFader::atDetent(float steps) const {
  const float at = place();
  const auto nearest = std::ranges::min_element(
      detents, [at](float a, float b) { return std::abs(a - at) < std::abs(b - at); });
  auto index = nearest - detents.begin();
  const auto last = static_cast<std::ptrdiff_t>(detents.size()) - 1;
  if (steps > 0.0F && *nearest <= at) index = std::min(index + 1, last);
  if (steps < 0.0F && *nearest >= at) index = std::max<std::ptrdiff_t>(index - 1, 0);
  return detents[static_cast<std::size_t>(index)];
}

bool nFader::onWheel(CPoint /*where*/, float steps, CButtonState buttons) {
  if (marks().isDisabled) return false;
  if (!canChange() || isDragged() || steps == 0.0F) return true;
  const bool isStepped = plainStepOf(values.stepsOf(getTag()).curve) > 0.0F;
  if (buttons.has(kAlt) == altAtDetents && !detents.empty()) {
    if (notches.take(steps, values) == 0) return true;
    takeValue(vmin + atDetent(steps) * (vmax - vmin));
  } else if (isStepped) {
    const int whole = notches.take(steps, values);
    if (whole != 0) {
      takeValue(valueAfter(values, getTag(), value, static_cast<float>(whole), false));
    }
  } else {
    takeValue(
        valueAfter(values, getTag(), value, steps * wheelSensitivity(values), buttons.has(kShift)));
  }
  return true;
}

std::optional<float> nFader::valueByKey(const KeyEvent& key) {
  return parameterByKey(values, getTag(), value, key);
}

nFaderH::nFaderH(const ControlSetup& setup, ValueSource& source, Held<CBitmap> picture)
    : nFader(setup, source, {}, std::move(picture)) {}

void RailPicture::draw(CDrawContext& context, const CRect& rail, const RailLook& wanted) {
  const CRect around = wanted.isVertical ? rail.inset(-1.0F, 0.0F) : rail.inset(0.0F, -1.0F);
  Place place = placeOf(context, around);
  // A pixel beyond the clip, by rounding, and nothing would be drawn.
  const CRect clip = context.getClipRect().movedBy(context.getOffset());
  const float scale = context.getScale();
  place.left = std::max(place.left, static_cast<int>(std::ceil(clip.left * scale - kRounding)));
  place.right = std::min(place.right, static_cast<int>(clip.right * scale + kRounding));
  if (place.right <= place.left || place.bottom <= place.top) return;
  if (needsPaint(context, place, painted == wanted)) {
    painted = wanted;
    paint(context.getScale());
  }
  put(context, place);
}

/// Rows of dots count device pixels: a dot is a hairline, and so is what lies between two.
void RailPicture::paint(float scale) const {
  const bool upright = painted.isVertical;
  const int length = upright ? picture->getHeight() : picture->getWidth();
  const int across = upright ? picture->getWidth() : picture->getHeight();
  const int dot = std::max(1, static_cast<int>(std::lround(scale)));
  const auto box = [&](int from, int to, int top, int bottom, CColor colour, float alpha) {
    // The way of an upright rail begins at its lower end.
    const CRect lying{static_cast<float>(from), static_cast<float>(top), static_cast<float>(to),
                      static_cast<float>(bottom)};
    const auto end = static_cast<float>(length);
    picture->box(
        upright ? CRect{lying.top, end - lying.right, lying.bottom, end - lying.left} : lying,
        colour, alpha);
  };
  const int top = (across - dot) / 2;
  const auto litFrom = static_cast<int>(std::lround(painted.litFrom * scale));
  const auto litTo = static_cast<int>(std::lround(painted.litTo * scale));
  for (int at = 0; at < length; at += 2 * dot) {
    const bool isLit = at >= litFrom && at < litTo;
    box(at, std::min(at + dot, length), top, top + dot, isLit ? painted.colour : look::kOff,
        painted.alpha);
  }
  for (const float detent : painted.detents) {
    const int at = static_cast<int>(std::trunc(static_cast<float>(length) * detent));
    const int from = std::clamp(at, 0, std::max(0, length - dot));
    box(from, from + dot, 0, across, look::kDetent, 1.0F);
  }
}

void LineFader::setZeroMark(float at) {
  zeroMark = at;
  setDirty();
}

void LineFader::setLevel(float wanted) {
  if (std::exchange(level, wanted) != wanted) setDirty();
}

CRect LineFader::railRect() const {
  const CPoint middle{std::floor(size.centre().x) - 1.0F, std::floor(size.centre().y) - 1.0F};
  if (isVertical()) return {middle.x, size.top, middle.x + 1.0F, size.bottom};
  return {size.left, middle.y, size.right, middle.y + 1.0F};
}

void LineFader::drawMarks(CDrawContext& context, const CRect& line) {
  const float length = railLength();
  const float handleAt = place() * (length - handleSize());
  // A piece of the way, from `near` to `far` across it.
  const auto bar = [&](float from, float to, float near, float far, CColor colour) {
    if (isVertical()) {
      context.fillRect({line.left + near, size.bottom - to, line.left + far, size.bottom - from},
                       colour);
    } else {
      context.fillRect({size.left + from, line.top + near, size.left + to, line.top + far}, colour);
    }
  };
  if (zeroMark >= 0.0F) {
    const float middle = std::floor(zeroMark * (length - handleSize()) + handleSize() * 0.5F);
    bar(middle, middle + context.hairline(), -3.0F, 4.0F, look::kOff);
  }
  if (level >= 0.0F) {
    const float end = std::min(level, 1.0F) * (length - handleSize());
    const float quiet = std::min(end, handleAt);
    bar(0.0F, quiet, kLevelBelow, kLevelBelow + 2.0F, kLevelBar);
    if (end > quiet) bar(quiet, end, kLevelBelow, kLevelBelow + 2.0F, look::kSand);
  }
  const float hot = showsDrag() ? 1.0F : shownHover();
  const float left = context.snap(handleAt);
  bar(left, left + handleSize(), -kHandleReach, kHandleReach + 1.0F,
      mix(marks().railColour(), look::kHotValue, hot));
}

void LineFader::draw(CDrawContext& context) {
  drawOutline(context);
  const CRect line = railRect();
  rail.draw(context, line,
            {isVertical(), marks().railColour(), marks().isDisabled ? 0.6F : 1.0F, 0.0F,
             place() * (railLength() - handleSize()), getDetents()});
  drawMarks(context, line);
  setDirty(false);
}

SLineFader::SLineFader(const ControlSetup& setup, ValueSource& source, FaderOptions options)
    : LineFader(setup, source, [&options] {
        options.dragFactor = 0.0F;
        return options;
      }()) {}

CaliperSlider::CaliperSlider(const ControlSetup& setup, ValueSource& source, std::int32_t upper)
    : nFader(setup, source, {}), upperTag(upper) {}

float CaliperSlider::upperPlace() const {
  return std::clamp(getValues().valueOf(upperTag), 0.0F, 1.0F);
}

float CaliperSlider::presentPlace() const { return movesUpper ? upperPlace() : place(); }

float CaliperSlider::defaultPlace() const {
  return movesUpper ? getValues().defaultOf(upperTag) : nFader::defaultPlace();
}

CRect CaliperSlider::railRect() const {
  const float middle = std::floor(size.centre().y) - 1.0F;
  return {size.left + kCaliperText, middle, size.right - kCaliperText, middle + 1.0F};
}

float CaliperSlider::railLength() const { return std::max(railRect().width(), 1.0F); }

float CaliperSlider::along(CPoint where) const { return where.x - railRect().left; }

CMouseEventResult CaliperSlider::onMouseDown(CPoint where, CButtonState buttons) {
  const float at = placeAt(where);
  // Of two handles in one place the one that can still move to where the mouse is.
  const float toLower = std::abs(at - place());
  const float toUpper = std::abs(at - upperPlace());
  movesUpper = toUpper < toLower || (toUpper == toLower && at > upperPlace());
  return nFader::onMouseDown(where, buttons);
}

void CaliperSlider::moveTo(float wanted) {
  if (!movesUpper) {
    nFader::moveTo(std::min(wanted, upperPlace()));
    return;
  }
  const float upper = heldValue(getValues(), upperTag, std::max(wanted, place()));
  if (getListener() != nullptr) CTagUpdate::send(*getListener(), upperTag, upper);
  setDirty();
}

void CaliperSlider::startGesture() {
  if (!movesUpper) {
    nFader::startGesture();
  } else if (getFrame() != nullptr && getFrame()->getEditor() != nullptr) {
    getFrame()->getEditor()->beginEdit(upperTag);
  }
}

void CaliperSlider::endGesture() {
  if (!movesUpper) {
    nFader::endGesture();
  } else if (getFrame() != nullptr && getFrame()->getEditor() != nullptr) {
    getFrame()->getEditor()->endEdit(upperTag);
  }
}

void CaliperSlider::draw(CDrawContext& context) {
  drawOutline(context);
  const CRect line = railRect();
  const float way = line.width() - handleSize();
  const float first = context.snap(place() * way);
  const float second = context.snap(upperPlace() * way);
  const CColor colour = marks().railColour();
  rail.draw(context, line, {false, colour, 1.0F, first, second, {}});
  for (const float at : {first, second}) {
    context.fillRect({line.left + at, line.top - kHandleReach, line.left + at + handleSize(),
                      line.top + kHandleReach + 1.0F},
                     mix(colour, look::kHotValue, isDragged() ? 1.0F : shownHover()));
  }
  const TextStyle written =
      look::bold(look::kSmallTextSize, marks().valueColour(look::kValue, shownHover()));
  context.drawText(getValues().textOf(getTag()), {size.left, size.top, line.left, size.bottom},
                   written);
  TextStyle right = written;
  right.align = kRightText;
  context.drawText(getValues().textOf(upperTag), {line.right, size.top, size.right, size.bottom},
                   right);
  setDirty(false);
}
