#include "graphs/eq_graph_base.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/plug.h"
#include "editing/graph_nodes.h"
#include "editor/controls/tiled_menus.h"
#include "graphs/graph_drawing.h"
#include "graphs/graph_grid.h"
#include "host/editor_state.h"
#include "toolkit/look.h"

namespace {

constexpr float kPerNotch = 1.5F;  // by which a notch changes Q
constexpr float kFineNotch = 0.1F;
constexpr float kTextHeight = 10.0F;
constexpr std::uint64_t kFrameMs = 16;

}  // namespace

EQGraphBase::EQGraphBase(const ControlSetup& setup, ValueSource& source, Plug& effect,
                         Options options)
    : CControl(setup),
      plugin(effect),
      values(source),
      numBands(options.numBands),
      drawFlags(options.drawFlags),
      curveFlags(options.curveFlags),
      handles(static_cast<std::size_t>(2 * options.numBands)),
      hasAxes(options.hasAxes),
      labelStyle(look::bold(options.labelSize, CColor::rgb(0xFFFFFF, 158))) {
  frequencies.width = static_cast<int>(setup.size.width());
  levels.height = static_cast<int>(setup.size.height());
}

EQGraphBase::~EQGraphBase() = default;

// What the editor tells it.

void EQGraphBase::setPreferences(const GraphPreferences& chosen) {
  if (preferences == chosen && levels.range == static_cast<double>(chosen.range)) return;
  preferences = chosen;
  analyserAxis = {chosen.analyserRange, chosen.analyserTop};
  grDecay = chosen.grDecay;
  setRange(chosen.range);
  redrawLabels(true);
}

void EQGraphBase::setAnalyser(bool on) {
  if (on == analyserOn) return;
  if (on) {
    analysed.emplace(plugin.getEngine().analyserFeed());
  } else {
    analysed.reset();
  }
  analyserOn = on;
  redrawLabels(true);
}

void EQGraphBase::setSelectedBand(int band) {
  if (std::exchange(selectedBand, band) != band) setDirty();
}

void EQGraphBase::setSelectedMask(std::uint32_t mask) {
  if (std::exchange(selectedMask, mask) != mask) setDirty();
}

void EQGraphBase::setDrawFlags(std::uint32_t flags) {
  if (std::exchange(drawFlags, flags) != flags) setDirty();
}

void EQGraphBase::setCurveFlags(std::uint32_t flags) {
  if (std::exchange(curveFlags, flags) != flags) setDirty();
}

void EQGraphBase::setGrDecay(double share) {
  grDecay = static_cast<float>(share);
  setDirty();
}

void EQGraphBase::setRange(float dB) {
  levels.range = static_cast<double>(dB);
  rangeChanged();
}

void EQGraphBase::redrawLabels(bool now) {
  areTextsStale = true;
  if (now) setDirty();
}

void EQGraphBase::loadExtras() {
  EditorState& state = plugin.editorState();
  zoom_strip::Range stored{};
  {
    const Plug::StateScope scope(plugin);
    stored = {state.graphLowest, state.graphHighest};
  }
  // What no axis can show stays in the document alone.
  const double ratio = stored.maxf / stored.minf;
  if (!(stored.minf > 0.0 && ratio > 1.0 && std::isfinite(ratio))) {
    stored = {EditorState::kLowestShown, EditorState::kHighestShown};
  }
  if (stored == shownRange()) return;
  frequencies.minf = stored.minf;
  frequencies.maxf = stored.maxf;
  rangeChanged();
}

void EQGraphBase::saveExtras() {
  EditorState& state = plugin.editorState();
  {
    const Plug::StateScope scope(plugin);
    state.graphLowest = frequencies.minf;
    state.graphHighest = frequencies.maxf;
  }
  plugin.markChanged();
}

// What it knows of its nodes.

float EQGraphBase::getBandValue(int kind, int handle) const {
  return plugin.getBandValue(kind, nodeOf(handle));
}

std::int32_t EQGraphBase::bandParameter(int kind, int handle) const {
  return plugin.bandParameter(kind, nodeOf(handle));
}

int EQGraphBase::getBandFlags(int handle) const {
  return plugin.getBandFlags(nodeOf(handle), handle >= numBands ? kNodeIsCrossover : 0);
}

Cursor EQGraphBase::getBandCursor(int handle, CButtonState modifiers) const {
  if (modifiers.has(kControl)) return Cursor::kSizeDiagonal;
  return (getBandFlags(handle) & kNodeIsCrossover) != 0 ? Cursor::kSizeHorizontal : Cursor::kMove;
}

int EQGraphBase::getNearestBand(CPoint where, double limit) {
  freshenHandles();
  const graph_handles::Point point = toPlot(where);
  const int found = graph_handles::nearest(handles, point, limit);
  if (found >= 0) grabOffset = point.x - handleOf(found).centre.x;
  return found;
}

void EQGraphBase::freshenHandles() {
  if (hasChanged()) {
    isStale = true;
    setDirty();
  }
  if (std::exchange(isStale, false)) placeHandles();
}

std::int32_t EQGraphBase::tagAt(CPoint where) {
  const int handle = getNearestBand(where);
  return handle >= 0 ? bandParameter(kNodeFrequency, handle) : -1;
}

// Size and range.

zoom_strip::Strip EQGraphBase::strip() const { return {frequencies.width, levels.height, nyquist}; }

graph_handles::Point EQGraphBase::toPlot(CPoint where) const {
  return {static_cast<double>(where.x - size.left), static_cast<double>(where.y - size.top)};
}

CPoint EQGraphBase::fromPlot(graph_handles::Point point) const {
  return {size.left + static_cast<float>(point.x), size.top + static_cast<float>(point.y)};
}

void EQGraphBase::setViewSize(const CRect& rect, bool invalidates) {
  CControl::setViewSize(rect, invalidates);
  rebuild();
}

void EQGraphBase::rebuild() {
  frequencies.width = std::max(static_cast<int>(size.width()), 0);
  levels.height = std::max(static_cast<int>(size.height()), 0);
  nyquist = nyquistNow();
  rangeChanged();
}

double EQGraphBase::nyquistNow() const {
  const auto rate = static_cast<double>(plugin.getSampleRate());
  return rate > 0.0 ? rate * 0.5 : nyquist;
}

void EQGraphBase::rangeChanged() {
  isStale = true;
  closeTextEdit();
  axisChanged();
  redrawLabels(true);
}

void EQGraphBase::showRange(zoom_strip::Range range) {
  if (range == shownRange()) return;
  frequencies.minf = range.minf;
  frequencies.maxf = range.maxf;
  saveExtras();
  rangeChanged();
}

// Values of nodes.

void EQGraphBase::beginEdit(std::int32_t id) {
  if (id >= 0 && getFrame() != nullptr) getFrame()->getEditor()->beginEdit(id);
}

void EQGraphBase::endEdit(std::int32_t id) {
  if (id >= 0 && getFrame() != nullptr) getFrame()->getEditor()->endEdit(id);
}

void EQGraphBase::write(std::int32_t id, float normalised) {
  if (id < 0 || getListener() == nullptr) return;
  CTagUpdate::send(*getListener(), id, std::clamp(normalised, 0.0F, 1.0F));
}

void EQGraphBase::writePlain(std::int32_t id, double plain) {
  if (id >= 0) write(id, values.normalisedOf(id, static_cast<float>(plain)));
}

void EQGraphBase::edit(std::int32_t id, float normalised) {
  beginEdit(id);
  write(id, normalised);
  endEdit(id);
}

void EQGraphBase::tell(std::int32_t id, int what, const CRect& place) {
  if (getListener() == nullptr) return;
  CTagUpdate::send(*getListener(), id, static_cast<float>(what), place);
}

void EQGraphBase::turnQ(int handle, float notches, bool fine) {
  const std::int32_t id = bandParameter(kNodeQ, handle);
  if (id < 0 || (getBandFlags(handle) & kNodeHasQ) == 0) return;
  if (preferences.invertedQ) notches = -notches;
  const float factor = std::pow(kPerNotch, fine ? notches * kFineNotch : notches);
  const ValueSteps steps = values.stepsOf(id);
  const float plain = std::clamp(getBandValue(kNodeQ, handle) * factor, steps.least, steps.most);
  edit(id, values.normalisedOf(id, plain));
}

// The entry of a value: it stands over the graph, in its container, so that the mouse and the keys
// reach it as any other control.

void EQGraphBase::openTextEdit(int kind, int handle, const CRect& place, CPoint where,
                               CButtonState buttons) {
  const std::int32_t id = bandParameter(kind, handle);
  if (id < 0 || getParentView() == nullptr) return;
  closeTextEdit();
  auto* const opened = new CEQText({place, this, id}, values,
                                   look::bold(look::kSmallTextSize, look::kText, kCenterText));
  textEdit = Held<CEQText>(opened);
  textHandle = handle;
  opened->setValue(values.valueOf(id));
  getParentView()->addView(opened);
  isTextPressed = true;
  wasTextMoved = false;
  opened->onMouseDown(where, buttons);
}

void EQGraphBase::closeTextEdit() {
  const Held<CEQText> closing = std::exchange(textEdit, {});
  isTextPressed = false;
  if (!closing || closing->getParentView() == nullptr) return;
  closing->getParentView()->removeView(closing.get());
  setDirty();
}

bool EQGraphBase::isTextOpen() const {
  return textEdit && (isTextPressed || textEdit->isEditing());
}

void EQGraphBase::valueChanged(CControl& control) {
  if (getListener() != nullptr) getListener()->valueChanged(control);
}

bool EQGraphBase::controlModifierClicked(CControl& control, CButtonState buttons) {
  return getListener() != nullptr && getListener()->controlModifierClicked(control, buttons);
}

// Mouse and keys.

CMouseEventResult EQGraphBase::onMouseDown(CPoint where, CButtonState buttons) {
  const graph_handles::Point point = toPlot(where);
  if (!hasAxes || !strip().contains(point.y)) return kMouseEventNotHandled;
  if (buttons.isDouble() || buttons.isRight()) {
    showRange(strip().whole());
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  stripMode = strip().modeAt(point.x, shownRange());
  stripStart = shownRange();
  stripFrom = point.x;
  stripMoved = 0.0;
  isStripDragged = true;
  return kMouseEventHandled;
}

CMouseEventResult EQGraphBase::onMouseMoved(CPoint where, CButtonState buttons) {
  if (isTextPressed && textEdit) {
    const CMouseEventResult moved = textEdit->onMouseMoved(where, buttons);
    wasTextMoved = wasTextMoved || textEdit->isDragged();
    return moved;
  }
  const graph_handles::Point point = toPlot(where);
  const CPoint inFrame = localToFrame(where);
  cursorX = static_cast<int>(inFrame.x);
  cursorY = static_cast<int>(inFrame.y);
  isCursorIn = true;
  if (preferences.readout != 0) setDirty();
  if (isStripDragged) {
    const double share = buttons.has(kShift) ? 0.1 : 1.0;
    stripMoved += (point.x - std::exchange(stripFrom, point.x)) * share;
    showRange(strip().dragged(stripMode, stripStart, stripMoved));
    return kMouseEventHandled;
  }
  const bool isHot = hasAxes && buttons.buttons() == 0 && strip().contains(point.y);
  if (isHot != isStripHot && getFrame() != nullptr) {
    isStripHot = isHot;
    if (isHot) {
      stripFade.begin(getFrame()->now());
    } else {
      stripFade.end(getFrame()->now());
    }
    setDirty();
  }
  if (isHot && getFrame() != nullptr) {
    const bool isEnd = strip().modeAt(point.x, shownRange()) != zoom_strip::Mode::kNone;
    getFrame()->setCursor(isEnd ? Cursor::kSizeHorizontal : Cursor::kArrow);
  }
  return isHot ? kMouseEventHandled : kMouseEventNotHandled;
}

CMouseEventResult EQGraphBase::onMouseUp(CPoint where, CButtonState buttons) {
  if (std::exchange(isTextPressed, false) && textEdit) {
    const Held<CEQText> pressed = textEdit;
    pressed->onMouseUp(where, buttons);
    if (!wasTextMoved && !pressed->isEditing()) pressed->openField();
    if (!pressed->isEditing()) closeTextEdit();
    return kMouseEventHandled;
  }
  return std::exchange(isStripDragged, false) ? kMouseEventHandled : kMouseEventNotHandled;
}

void EQGraphBase::onMouseCancel() {
  isStripDragged = false;
  if (std::exchange(isTextPressed, false) && textEdit) textEdit->onMouseCancel();
}

void EQGraphBase::onMouseEntered(CPoint where, CButtonState buttons) {
  onMouseMoved(where, buttons);
}

void EQGraphBase::onMouseExited() {
  isCursorIn = false;
  if (getFrame() == nullptr) return;
  if (std::exchange(isStripHot, false)) stripFade.end(getFrame()->now());
  getFrame()->setCursor(Cursor::kArrow);
  setDirty();
}

bool EQGraphBase::onWheel(CPoint where, float steps, CButtonState /*buttons*/) {
  if (isStripDragged) return true;
  if (!hasAxes || values.preference("MouseWheel Zoom") != 1) return false;
  const double column = std::clamp(toPlot(where).x, 0.0, static_cast<double>(frequencies.width));
  const auto notches = static_cast<double>(steps * wheelSensitivity(values));
  showRange(zoom_strip::zoomed(frequencies, nyquist, column, notches));
  return true;
}

bool EQGraphBase::onKeyDown(const KeyEvent& key) {
  if (key.key != Key::kEscape || !textEdit) return false;
  closeTextEdit();
  return true;
}

void EQGraphBase::takeFocus() {
  focused = true;
  walked = 1;
  setDirty();
}

void EQGraphBase::looseFocus() {
  focused = false;
  setDirty();
}

void EQGraphBase::attached(CViewContainer& holder) {
  CControl::attached(holder);
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, true);
}

void EQGraphBase::removed() {
  // The container is going, and the entry with it.
  textEdit = {};
  isTextPressed = isStripDragged = focused = false;
  hoverFade.forget();
  stripFade.forget();
  restoreMouse(nullptr);
  CControl::removed();
}

void EQGraphBase::setHover(int handle) {
  if (handle == hoverBand) return;
  if (getFrame() != nullptr) {
    if (hoverBand < 0) hoverFade.begin(getFrame()->now());
    if (handle < 0) hoverFade.end(getFrame()->now());
  }
  hoverBand = handle;
  setDirty();
}

void EQGraphBase::onIdle() {
  const std::uint64_t now = getFrame()->now();
  if (nyquistNow() != nyquist) rebuild();
  const float before = hoverFade.share() + 2.0F * stripFade.share();
  static_cast<void>(hoverFade.advance(now));
  static_cast<void>(stripFade.advance(now));
  if (before != hoverFade.share() + 2.0F * stripFade.share()) setDirty();
  // Nothing is written to what has gone.
  if (textEdit) freshenHandles();
  if (textEdit && (!isTextOpen() || !handleOf(textHandle).isActive)) {
    const bool hadKeys = textEdit->hasFocus();
    closeTextEdit();
    if (hadKeys) getFrame()->setFocusView(this);
  }
  if (hasChanged()) {
    isStale = true;
    setDirty();
  }
  if (now < nextFrame || !hasMoved()) return;
  nextFrame = std::max(nextFrame + kFrameMs, now);
  isStale = true;
  setDirty();
}

// The drawing.

void EQGraphBase::draw(CDrawContext& context) {
  setDirty(false);
  if (frequencies.width <= 0 || levels.height <= 1) return;
  advance();
  freshenHandles();
  drawPlotGround(context, size, preferences.glow());
  if (analyserOn) drawAnalyser(context);
  drawResponse(context);
  drawBands(context);
  drawGrid(context);
  drawReadout(context);
  if (hasAxes) drawStrip(context);
  drawHandles(context);
  if (focused && !isHandle(keyHandle))
    focusRing.draw(context, size, {3.0F, kTransparentCColor, CColor::rgb(0x4E9ACC, 217)});
}

void EQGraphBase::drawGrid(CDrawContext& context) {
  grid.draw(context, size, {frequencies, levels});
  if (hasAxes) drawTexts(context);
  drawPlotEdge(context, size);
}

void EQGraphBase::placeTexts() {
  texts = {};
  const auto widthOf = [this](std::string_view text) {
    return static_cast<double>(look::widthOf(labelStyle, text));
  };
  const float top = size.top + static_cast<float>(graph_grid::figureRow(levels.height));
  for (auto& figure : graph_grid::frequencyFigures(frequencies, nyquist, widthOf)) {
    const float left = size.left + static_cast<float>(figure.left);
    texts.frequencies.emplace_back(
        std::move(figure.text),
        CRect{left, top, left + static_cast<float>(figure.width), top + kTextHeight});
  }
  const auto boxAt = [this](int row, bool isFirst, float left, float right) {
    const float first = size.top + 3.0F;
    const float upper = isFirst ? first : size.top + static_cast<float>(row) - 5.0F;
    return CRect{left, upper, right, upper + kTextHeight};
  };
  std::vector<graph_grid::Level> rows = graph_grid::levels(levels);
  if (!rows.empty()) rows.pop_back();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    texts.levels.emplace_back(graph_grid::levelText(rows[i].dB),
                              boxAt(rows[i].row, i == 0, size.right - 64.0F, size.right - 4.0F));
  }
  rows = graph_grid::analyserLevels(analyserAxis, levels.height);
  for (std::size_t i = 0; analyserOn && i < rows.size(); ++i) {
    texts.analyser.emplace_back(graph_grid::levelText(rows[i].dB),
                                boxAt(rows[i].row, i == 0, size.left + 4.0F, size.left + 64.0F));
  }
}

void EQGraphBase::drawTexts(CDrawContext& context) {
  if (std::exchange(areTextsStale, false)) placeTexts();
  const auto write = [&](const auto& list, CHoriTxtAlign align, CColor colour) {
    TextStyle style = labelStyle;
    style.align = align;
    style.colour = colour;
    for (const auto& [text, place] : list) context.drawTextCached(text, place, style);
  };
  write(texts.frequencies, kLeftText, labelStyle.colour);
  write(texts.levels, kRightText, labelStyle.colour);
  write(texts.analyser, kLeftText, look::kValue);
}

void EQGraphBase::drawStrip(CDrawContext& context) {
  const zoom_strip::Strip rail = strip();
  const float hot = rail.isWhole(shownRange()) ? stripFade.share() : 1.0F;
  const float top = size.top + static_cast<float>(rail.middleRow()) - 1.0F;
  const auto right = size.width() - 4.0F;
  const auto placed = [&](double frequency) {
    return size.left + std::clamp(static_cast<float>(rail.columnOf(frequency)), 4.0F, right);
  };
  const float from = placed(frequencies.minf);
  const float to = placed(frequencies.maxf);
  context.fillRect({size.left + 4.0F, top, size.left + right, top + 2.0F},
                   CColor::rgb(0xFFFFFF, 13));
  context.fillRect({from, top, to, top + 2.0F},
                   mix(CColor::rgb(0xFFFFFF, 23), CColor::rgb(0x4E9ACC, 191), hot));
  const CColor grip = mix(CColor::rgb(0x848484, 140), look::kLit, hot);
  const auto drawGrip = [&](BoxPicture& picture, float x) {
    const float left = std::clamp(x - 2.0F, size.left + 3.0F, size.right - 7.0F);
    picture.draw(context, {left, top - 4.0F, left + 4.0F, top + 6.0F}, {2.0F, grip});
  };
  drawGrip(leftGrip, from);
  drawGrip(rightGrip, to);
}
