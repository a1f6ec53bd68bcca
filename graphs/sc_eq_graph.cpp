#include "graphs/sc_eq_graph.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "core/plug.h"
#include "editing/graph_nodes.h"
#include "editor/controls/action_menu.h"
#include "editor/controls/value_keys.h"
#include "graphs/small_graph.h"
#include "platform/index.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

using sidechain_kinds::Kind;

constexpr int kFirstNode = 15;
constexpr double kFilterRange = 24.0;  // dB, that of the gains
constexpr double kHandleInset = 8.0;

CColor weakened(CColor colour, float share) {
  colour.alpha = static_cast<std::uint8_t>(std::lround(static_cast<float>(colour.alpha) * share));
  return colour;
}

}  // namespace

SCEQGraph::SCEQGraph(const ControlSetup& setup, ValueSource& source, Plug& effect, int which)
    : EQGraphBase(setup, source, effect,
                  {.numBands = kFilters,
                   .labelSize = look::kSmallTextSize,
                   .drawFlags = 0x480802,
                   .curveFlags = 0x400000,
                   .hasAxes = false}),
      band(which),
      leastGain(source.stepsOf(bandParameter(kNodeGain, kMidFilter)).least) {
  levels.range = kFilterRange;
}

int SCEQGraph::nodeOf(int handle) const {
  return handle >= 0 && handle < kFilters ? kFirstNode + kFilters * band + handle : -1;
}

Kind SCEQGraph::kindOf(int filter) const {
  return sidechain_kinds::kindOf(filter, getBandValue(kNodeType, filter) != 0.0F,
                                 getBandValue(kNodeGain, filter) <= leastGain);
}

// What it shows.

SCEQGraph::Seen SCEQGraph::read() const {
  constexpr std::array<int, kWatched> kKinds = {kNodeOn, kNodeType, kNodeGain, kNodeFrequency};
  Seen now;
  now.response = plugin.getEngine().getSidechainRevision(band);
  now.axis = frequencies;
  std::size_t i = 0;
  for (int filter = 0; filter < kFilters; ++filter) {
    for (const int kind : kKinds) now.values[i++] = getBandValue(kind, filter);
  }
  return now;
}

bool SCEQGraph::hasChanged() {
  if (!isShown()) return false;
  const Seen now = read();
  if (std::exchange(hasSeen, true) && now == seen) return false;
  seen = now;
  return true;
}

CRect SCEQGraph::inside() const { return size.inset(small_graph::kInside, small_graph::kInside); }

void SCEQGraph::placeHandles() {
  placeCurve();
  const auto held = [](double place, int extent) {
    return std::clamp(place, kHandleInset, std::max(extent - kHandleInset, kHandleInset));
  };
  for (int filter = 0; filter < kFilters; ++filter) {
    const double frequency = static_cast<double>(getBandValue(kNodeFrequency, filter));
    const double own = plugin.getEngine().getSidechainResponse(band, filter, frequency);
    const double level = sidechain_kinds::hasGain(kindOf(filter))
                             ? static_cast<double>(getBandValue(kNodeGain, filter))
                             : graph_handles::decibels(own);
    graph_handles::Handle& handle = handles[at(filter)];
    handle.isActive = true;
    handle.isRunning = getBandValue(kNodeOn, filter) != 0.0F;
    handle.centre = {held(frequencies.columnOf(frequency), frequencies.width),
                     held(levels.rowOf(level), levels.height)};
    handle.setRow = handle.targetRow = handle.centre.y;
  }
}

void SCEQGraph::placeCurve() {
  const compressor& engine = plugin.getEngine();
  rows.resize(at(frequencies.width) + 1);
  for (std::size_t x = 0; x < rows.size(); ++x) {
    const double frequency = frequencies.frequencyAt(static_cast<double>(x));
    const double all = engine.getSidechainResponse(band, kAllFilters, frequency);
    rows[x] = static_cast<float>(levels.rowOf(graph_handles::decibels(all))) - 0.5F;
  }
}

int SCEQGraph::usedHandle() const {
  if (dragBand >= 0) return dragBand;
  if (hoverBand >= 0) return hoverBand;
  return hasFocus() ? keyHandle : -1;
}

// What the user does.

CMouseEventResult SCEQGraph::onMouseDown(CPoint where, CButtonState buttons) {
  constexpr auto kDone = kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  if (!buttons.isLeft() && !buttons.isRight()) return kMouseEventNotHandled;
  const Held<CView> stays(this);
  const int hit = getNearestBand(where);
  if (hit < 0) return kMouseEventNotHandled;
  if (buttons.isLeft()) getFrame()->setFocusView(this);
  keyHandle = hit;
  if (buttons.isRight()) {
    openMenu(hit, where, true);
    return kDone;
  }
  if (buttons.isDouble()) {
    toggle(hit);
    return kDone;
  }
  dragBand = hit;
  isMoving = false;
  lastPoint = where;
  rememberMouse(getFrame());
  setDirty();
  return kMouseEventHandled;
}

void SCEQGraph::toggle(int handle) {
  edit(bandParameter(kNodeOn, handle), handleOf(handle).isRunning ? 0.0F : 1.0F);
}

void SCEQGraph::openMenu(int handle, CPoint where, bool isPressed) {
  Menu menu;
  for (const Kind kind : sidechain_kinds::kindsOf(handle)) {
    menu.addChecked(std::string(sidechain_kinds::menuText(kind)), kind == kindOf(handle),
                    [this, handle, kind] { choose(handle, kind); });
  }
  openActionMenu(*this, std::move(menu), {where.x, where.y, where.x, where.y}, isPressed);
}

void SCEQGraph::choose(int handle, Kind kind) {
  const Kind before = kindOf(handle);
  if (kind == before) return;
  const HistoryGroup group(plugin.edits());
  edit(bandParameter(kNodeType, handle), sidechain_kinds::isSecondType(kind) ? 1.0F : 0.0F);
  const std::int32_t gain = bandParameter(kNodeGain, handle);
  if (kind == Kind::kNotch) edit(gain, values.normalisedOf(gain, leastGain));
  // A peak at the lower end would still be a notch.
  const bool isLeast = getBandValue(kNodeGain, handle) <= leastGain;
  if (kind == Kind::kPeak && isLeast) edit(gain, values.defaultOf(gain));
}

/// The edits begin with the first move: what only presses edits nothing.
void SCEQGraph::beginMoving() {
  isMoving = true;
  hideMouse(getFrame(), values);
  const HistoryGroup group(plugin.edits());
  if (!handleOf(dragBand).isRunning) edit(bandParameter(kNodeOn, dragBand), 1.0F);
  dragTags = {bandParameter(kNodeFrequency, dragBand), -1};
  if (sidechain_kinds::hasGain(kindOf(dragBand))) {
    dragTags[1] = bandParameter(kNodeGain, dragBand);
  }
  const double gain = static_cast<double>(getBandValue(kNodeGain, dragBand));
  // The row that `gainAt` takes for this gain.
  dragAt = {frequencies.columnOf(static_cast<double>(getBandValue(kNodeFrequency, dragBand))),
            (1.0 - gain / levels.range) * levels.height * 0.5};
  for (const std::int32_t id : dragTags) beginEdit(id);
}

void SCEQGraph::moveDrag(CPoint where, CButtonState buttons) {
  const CPoint moved = where - std::exchange(lastPoint, where);
  if (moved == CPoint{}) return;
  if (!isMoving) beginMoving();
  const double share = buttons.has(kShift) ? 0.1 : 1.0;
  dragAt.x = std::clamp(dragAt.x + static_cast<double>(moved.x) * share, 0.0,
                        static_cast<double>(frequencies.width));
  dragAt.y = std::clamp(dragAt.y + static_cast<double>(moved.y) * share, 0.0,
                        static_cast<double>(levels.height));
  if (moved.x != 0.0F) writePlain(dragTags[0], frequencies.frequencyAt(dragAt.x));
  if (moved.y != 0.0F) writePlain(dragTags[1], levels.gainAt(dragAt.y));
  setDirty();
}

void SCEQGraph::endDrag() {
  if (std::exchange(dragBand, -1) < 0) return;
  if (std::exchange(isMoving, false)) {
    for (const std::int32_t id : std::exchange(dragTags, {-1, -1})) endEdit(id);
  }
  restoreMouse(getFrame());
  setDirty();
}

CMouseEventResult SCEQGraph::onMouseMoved(CPoint where, CButtonState buttons) {
  if (dragBand >= 0 && buttons.buttons() != 0) {
    moveDrag(where, buttons);
    return kMouseEventHandled;
  }
  if (buttons.buttons() != 0) return kMouseEventNotHandled;
  const int hit = getNearestBand(where);
  if (hit != hoverBand) {
    setHover(hit);
    getFrame()->getEditor()->mouseOver(this);
  }
  getFrame()->setCursor(hit >= 0 ? getBandCursor(hit, buttons) : Cursor::kArrow);
  return kMouseEventHandled;
}

CMouseEventResult SCEQGraph::onMouseUp(CPoint where, CButtonState buttons) {
  endDrag();
  return onMouseMoved(where, buttons.modifiers());
}

void SCEQGraph::onMouseCancel() {
  EQGraphBase::onMouseCancel();
  endDrag();
}

void SCEQGraph::onMouseExited() {
  if (dragBand < 0) setHover(-1);
  EQGraphBase::onMouseExited();
}

bool SCEQGraph::onWheel(CPoint where, float steps, CButtonState buttons) {
  const int hit = getNearestBand(where);
  if (hit < 0 || dragBand >= 0) return false;
  turnQ(hit, steps * wheelSensitivity(values), buttons.has(kShift));
  return true;
}

bool SCEQGraph::onKeyDown(const KeyEvent& key) {
  if (dragBand >= 0) return false;
  if (key.key == Key::kTab) {
    const bool isOnNext = nextHandle(!key.modifiers.has(kShift)) >= 0;
    if (isOnNext) setDirty();
    return isOnNext;
  }
  if (key.modifiers.has(kControl) || key.modifiers.has(kAlt)) return false;
  if (keyHandle < 0) return false;
  freshenHandles();
  if (isMenuKey(key)) {
    openMenu(keyHandle, fromPlot(handleOf(keyHandle).centre), false);
    return true;
  }
  if (key.key == Key::kSpace) {
    toggle(keyHandle);
    return true;
  }
  if (isGainKey(key) && !sidechain_kinds::hasGain(kindOf(keyHandle))) return true;
  return moveByKey(keyHandle, key, 1.0);
}

void SCEQGraph::removed() {
  endDrag();
  EQGraphBase::removed();
}

void SCEQGraph::takeFocus() {
  EQGraphBase::takeFocus();
  if (keyHandle < 0) keyHandle = 0;
}

/// A band that is off has nothing but its + here.
bool SCEQGraph::isTabStop() const { return plugin.getBandValue(kNodeOn, band) != 0.0F; }

// The drawing.

void SCEQGraph::draw(CDrawContext& context) {
  setDirty(false);
  if (inside().isEmpty()) return;
  freshenHandles();
  frame.draw(context, size.inset(small_graph::kFrame, small_graph::kFrame),
             {3.0F, look::kPanel, look::kBorder});
  drawGrid(context);
  drawResponse(context);
  drawHandles(context);
  if (hasFocus()) {
    focusBox.draw(context, size.inset(small_graph::kFrame, small_graph::kFrame),
                  {3.0F, kTransparentCColor, CColor::rgb(0x4E9ACC, 217)});
  }
}

void SCEQGraph::drawGrid(CDrawContext& context) {
  const CRect area = inside();
  context.setLineWidth(context.hairline());
  context.setFrameColor({255, 255, 255, 23});
  for (const double frequency : {100.0, 1000.0, 10000.0}) {
    const float x = size.left + static_cast<float>(frequencies.columnOf(frequency));
    context.moveTo({x, area.top});
    context.lineTo({x, area.bottom});
  }
  for (const double level : {12.0, 0.0, -12.0}) {
    const float y = size.top + static_cast<float>(levels.rowOf(level));
    context.setFrameColor({255, 255, 255, static_cast<std::uint8_t>(level == 0.0 ? 41 : 13)});
    context.moveTo({area.left, y});
    context.lineTo({area.right, y});
  }
}

void SCEQGraph::drawResponse(CDrawContext& context) {
  const CRect area = inside();
  const auto pressed = [&](std::size_t column, float row) -> CPoint {
    return {std::clamp(size.left + static_cast<float>(column), area.left, area.right),
            std::clamp(size.top + row, area.top, area.bottom)};
  };
  const auto zero = static_cast<float>(levels.rowOf(0.0)) - 0.5F;
  way.clear();
  for (std::size_t x = 0; x < rows.size(); ++x) {
    way.push_back({pressed(x, rows[x]), weakened(look::kLit, 0.16F)});
    way.push_back({pressed(x, zero), weakened(look::kLit, 0.16F)});
  }
  context.drawTriangleStrip(way);
  way.clear();
  for (std::size_t x = 0; x < rows.size(); ++x) {
    way.push_back({{size.left + static_cast<float>(x), size.top + rows[x]}, look::kLit});
  }
  drawThickCurve(context, thick, way, 1.5F, area);
}

void SCEQGraph::drawMarks(CDrawContext& context, int handle, CPoint at, CColor colour) const {
  constexpr float kFar = 7.0F;
  constexpr float kHalf = 1.5F;
  const int flags = getBandFlags(handle);
  const float thin = context.hairline() * 0.5F;
  for (const float side : {-kFar, kFar}) {
    if ((flags & kNodeHasGain) != 0) {
      context.fillRect({at.x - thin, at.y + side - kHalf, at.x + thin, at.y + side + kHalf},
                       colour);
    }
    if ((flags & kNodeHasQ) != 0) {
      context.fillRect({at.x + side - kHalf, at.y - thin, at.x + side + kHalf, at.y + thin},
                       colour);
    }
  }
  if ((flags & kNodeHasSlope) == 0) return;
  // It falls to the side at which the filter ends.
  const float side = handle == 0 ? -1.0F : 1.0F;
  const CPoint slope[] = {{at.x + side * 8.0F, at.y + 8.0F}, {at.x + side * 5.0F, at.y + 4.0F}};
  context.drawPath(slope, 1.0F, colour);
}

void SCEQGraph::drawHandles(CDrawContext& context) {
  const int used = usedHandle();
  for (int filter = 0; filter < kFilters; ++filter) {
    const graph_handles::Handle& handle = handleOf(filter);
    const CPoint centre = fromPlot(handle.centre);
    CColor colour = handle.isRunning ? look::kLit : look::kLabel;
    if (filter == used) colour = handle.isRunning ? look::kHotValue : look::kQuietText;
    if (handle.isRunning) drawMarks(context, filter, centre, colour);
    context.setFillColor(look::kPanel);
    context.drawEllipse(small_graph::around(centre, small_graph::kDot + 1.0F), kDrawFilled);
    if (handle.isRunning) {
      context.setFillColor(colour);
      context.drawEllipse(small_graph::around(centre, small_graph::kDot), kDrawFilled);
    } else {
      context.setFrameColor(weakened(colour, 0.7F));
      context.setLineWidth(1.0F);
      context.drawEllipse(small_graph::around(centre, small_graph::kDot - 0.25F), kDrawStroked);
    }
  }
  if (used >= 0) drawBandLabel(context, used);
}

void SCEQGraph::drawBandLabel(CDrawContext& context, int handle) {
  constexpr float kHeight = 10.0F;
  constexpr float kFromDot = 11.0F;
  constexpr float kLine = 12.0F;
  const CPoint centre = fromPlot(handleOf(handle).centre);
  const CRect area = inside();
  const float fade = handle == hoverBand && dragBand < 0 ? hoverShare() : 1.0F;
  // Above, where the curve is not, or below if there is no room.
  const bool isAbove = centre.y - kFromDot - kHeight - kLine >= area.top;
  const float nameTop = isAbove ? centre.y - kFromDot - kHeight - kLine : centre.y + kFromDot;
  const float valueTop = nameTop + kLine;
  const auto write = [&](std::string_view text, float top, const TextStyle& style) {
    const float half = look::widthOf(style, text) * 0.5F + 1.0F;
    // What is too wide begins at the left edge.
    const float middle =
        std::max(std::min(centre.x, area.right - half - 1.0F), area.left + half + 1.0F);
    context.drawText(text, {middle - half, top, middle + half, top + kHeight}, style);
  };
  write(sidechain_kinds::label(kindOf(handle)), nameTop,
        look::bold(look::kSmallTextSize, weakened(look::kLit, fade), kCenterText));
  const bool isOfGain = dragTags[1] >= 0 && dragBand == handle;
  std::string figure = values.textOf(bandParameter(kNodeFrequency, handle));
  if (isOfGain) figure += " " + values.textOf(dragTags[1]);
  write(figure, valueTop, look::bold(10.0F, weakened(look::kValue, fade), kCenterText));
}
