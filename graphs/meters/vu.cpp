#include "graphs/meters/vu.h"

#include <algorithm>
#include <cmath>

#include "editor/controls/tiled_menus.h"
#include "editor/layout/tag_table.h"
#include "graphs/meters/meter_look.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr CColor kMiddleGround = CColor::rgb(0x121212);
constexpr CColor kZeroLine = CColor::rgb(0x6A6A6A);
constexpr CColor kZeroInBar{0, 0, 0, 140};
constexpr CColor kPeakBar = mix(look::kLit, meter_look::kBarGround, 0.48F);
constexpr CColor kHeldReduction{look::kSand.red, look::kSand.green, look::kSand.blue, 150};
constexpr float kLadderWidth = 13.0F;
constexpr float kLadderGap = 3.0F;  // to the bars
constexpr float kHoldHeight = 2.0F;
constexpr float kLaneWidth = 6.0F;  // of both gain reductions
constexpr float kReductionWidth = 2.5F;
constexpr double kSeenParts = 8.0;  // of a pixel, at the largest zoom on the finest screen

// From the top of the view, or the end of the plot.
constexpr float kNameTop = 6.0F;
constexpr float kLampTop = 21.0F;
constexpr float kReadingBelow = 8.0F;
constexpr float kReductionBelow = 28.0F;

}  // namespace

nVU::nVU(const ControlSetup& setup) : CControl(setup) { nVU::setSize(setup.size, false); }

double nVU::levelToRow(double level) const { return scale.levelToRow(level); }

double nVU::rowToLevel(double row) const { return scale.rowToLevel(row); }

void nVU::setZoomed(bool on) {
  const MeterScale before = scale;
  scale.isZoomed = on;
  scale.zoomRange = zoomRangeBase;
  if (scale != before) scaleChanged();
}

void nVU::setRange(double halfRange) {
  zoomRangeBase = halfRange;
  setZoomed(scale.isZoomed);
}

void nVU::setScale(int choice) {
  const double offset = markOffsetOf(choice);
  if (scale.markOffset == offset) return;
  scale.markOffset = offset;
  scaleChanged();
}

void nVU::setSize(const CRect& rect, bool redraw) {
  CControl::setViewSize(rect, redraw);
  scale.height = static_cast<double>(rect.height() - kTextHeight);
  scaleChanged();
}

void nVU::setViewSize(const CRect& rect, bool invalidates) { setSize(rect, invalidates); }

void nVU::scaleChanged() {
  scaleIsStale = true;
  setDirty();
}

void nVU::rebuildScale() {
  scaleIsStale = false;
  marks = scaleMarks(scale);
  markTexts.clear();
  for (const ScaleMark& mark : marks) markTexts.push_back(scaleText(scale, mark));
}

void nVU::setSettings(const MeterSettings& wanted) {
  settings = wanted;
  held.setMode(wanted.hold);
  setScale(wanted.scale);
  setRange(zoomRangeOf(wanted.zoomRange));
  setDirty();
}

double nVU::nowSeconds() const {
  constexpr double kMillisecond = 0.001;
  return getFrame() != nullptr ? static_cast<double>(getFrame()->now()) * kMillisecond : 0.0;
}

void nVU::setLevels(float peakL, float peakR, float rmsL, float rmsR, float grL, float grR) {
  levels = {{peakL, peakR}, {rmsL, rmsR}, {grL, grR}};
  held.take(levels, nowSeconds());
  const double before = scale.zoomRange;
  widenRange();
  if (scale.zoomRange != before) scaleChanged();
  const Shown now = shownNow();
  if (now == shown) return;
  shown = now;
  setDirty();
}

void nVU::widenRange() {
  if (!scale.isZoomed || !settings.autoRange) return;
  for (const float peak : held.holds().peak) {
    scale.zoomRange = widenedRange(scale.zoomRange, static_cast<double>(peak));
  }
}

void nVU::resetHolds() {
  held.reset(levels);
  shown = shownNow();
  setDirty();
}

nVU::Shown nVU::shownNow() const {
  Shown now;
  auto row = now.rows.begin();
  const auto add = [&row](double where) {
    *row++ = static_cast<int>(std::lround(where * kSeenParts));
  };
  for (std::size_t c = 0; c < levels.peak.size(); ++c) {
    add(levelToRow(static_cast<double>(levels.peak[c])));
    add(levelToRow(static_cast<double>(levels.rms[c])));
    add(levelToRow(static_cast<double>(holds().peak[c])));
    add(scale.gainToRow(static_cast<double>(levels.reduction[c])));
    add(scale.gainToRow(static_cast<double>(holds().reduction[c])));
    now.texts[c] = holdText(static_cast<int>(c));
    now.over[c] = isOver(static_cast<int>(c));
  }
  now.texts.back() = reductionText();
  return now;
}

bool nVU::isOver(int channel) const {
  return holds().peak[static_cast<std::size_t>(channel)] >= 1.0F;
}

std::string nVU::holdText(int channel) const {
  return levelText(static_cast<double>(holds().peak[static_cast<std::size_t>(channel)]));
}

std::string nVU::reductionText() const {
  const auto& reduction = holds().reduction;
  const float furthest = furtherFromUnity(reduction[0], reduction[1]);
  return "GR " + gainText(decibelsOf(static_cast<double>(furthest)));
}

std::string nVU::shownText() const {
  return holdText(0) + " " + holdText(1) + " " + reductionText();
}

float nVU::middle() const { return size.left + std::floor(size.width() * 0.5F); }

CRect nVU::barOf(int channel) const {
  const float half = kGap * 0.5F;
  const float left = channel == 0 ? middle() - half - kBarWidth : middle() + half;
  const float top = size.top + kScaleTop;
  return {left, top, left + kBarWidth, top + static_cast<float>(scale.height)};
}

float nVU::rowY(double row) const { return size.top + kScaleTop + static_cast<float>(row); }

CMouseEventResult nVU::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  resetHolds();
  const bool isOnPlot = where.y >= rowY(0.0) && where.y < rowY(scale.height);
  if (isOnPlot && getListener() != nullptr) {
    CTagUpdate::send(*getListener(), kGUIMeterZoom, scale.isZoomed ? 0.0F : 1.0F);
  }
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

// Drawing.

void nVU::draw(CDrawContext& context) {
  if (scaleIsStale) rebuildScale();
  drawScale(context);
  for (int channel = 0; channel < kChannels; ++channel) drawBar(context, channel);
  drawReduction(context);
  setDirty(false);
}

void nVU::drawScale(CDrawContext& context) {
  const float leftEnd = barOf(0).left - kLadderGap;
  const float right = barOf(1).right + kLadderGap;
  const float top = rowY(0.0);
  const float bottom = rowY(scale.height);
  ladders[0].draw(context, {leftEnd - kLadderWidth, top, leftEnd, bottom}, true);
  ladders[1].draw(context, {right, top, right + kLadderWidth, bottom}, false);
  const float hair = context.hairline();
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const ScaleMark& mark = marks[i];
    // The last one stands on the plot's last row, not below it.
    const float y = std::min(context.snap(rowY(mark.row)), bottom - hair);
    const CColor line = mark.isZero() ? kZeroLine : meter_look::kMarkLine;
    context.fillRect({leftEnd - kLadderWidth, y, leftEnd, y + hair}, line);
    context.fillRect({right, y, right + kLadderWidth, y + hair}, line);
    if (!mark.hasText) continue;
    const float text = rowY(mark.row) - 5.0F;
    drawLabel(context, markTexts[i], {size.left, text, leftEnd - 19.0F, text + 10.0F},
              mark.isZero());
  }
}

void nVU::drawBar(CDrawContext& context, int channel) {
  const auto c = static_cast<std::size_t>(channel);
  const CRect bar = barOf(channel);
  const auto fill = [&](double fromRow, double toRow, CColor colour) {
    if (toRow > fromRow)
      context.fillRect({bar.left, rowY(fromRow), bar.right, rowY(toRow)}, colour);
  };
  const double peak = levelToRow(static_cast<double>(levels.peak[c]));
  fill(0.0, scale.height, meter_look::kBarGround);
  fill(peak, scale.height, kPeakBar);
  fill(levelToRow(static_cast<double>(levels.rms[c])), scale.height, look::kLit);
  fill(peak, levelToRow(1.0), settings.overColour());
  const double hold = levelToRow(static_cast<double>(holds().peak[c]));
  if (settings.hold != HoldMode::kOff && hold < scale.height) {
    const float y = std::min(std::round(rowY(hold)), bar.bottom - kHoldHeight);
    context.fillRect({bar.left, y, bar.right, y + kHoldHeight},
                     isOver(channel) ? settings.overColour() : look::kText);
  }
  const double zero = scale.gainToRow(1.0);
  if (zero <= 0.0 || zero >= scale.height) return;
  const float y = context.snap(rowY(zero));
  context.fillRect({bar.left, y, bar.right, y + context.hairline()}, kZeroInBar);
}

void nVU::drawReduction(CDrawContext& context) {
  const float left = middle() - kLaneWidth * 0.5F;
  context.fillRect({left, rowY(0.0), left + kLaneWidth, rowY(scale.height)}, kMiddleGround);
  const double zero = scale.gainToRow(1.0);
  for (std::size_t c = 0; c < levels.reduction.size(); ++c) {
    const float x = c == 0 ? left : left + kLaneWidth - kReductionWidth;
    const auto fill = [&](float gain, CColor colour) {
      const double row = scale.gainToRow(static_cast<double>(gain));
      if (row == zero) return;
      context.fillRect(
          {x, rowY(std::min(zero, row)), x + kReductionWidth, rowY(std::max(zero, row))}, colour);
    };
    fill(levels.reduction[c], look::kSand);
    const double hold = scale.gainToRow(static_cast<double>(holds().reduction[c]));
    if (settings.hold == HoldMode::kOff || hold == zero) continue;
    const float hair = context.hairline();
    const float y = std::min(context.snap(rowY(hold)), rowY(scale.height) - hair);
    context.fillRect({x, y, x + kReductionWidth, y + hair}, kHeldReduction);
  }
}

void nVU::drawLabel(CDrawContext& context, const std::string& text, const CRect& rect,
                    bool isZero) {
  context.setFont(nullptr);
  context.setFrameColor(isZero ? look::kText : look::kLabel);  // of pixel letters
  context.drawString(text, rect, kRightText);
}

nTTVU::nTTVU(const ControlSetup& setup)
    : nVU(setup),
      small(look::bold(look::kSmallTextSize, look::kLabel)),
      reading(look::bold(look::kTextSize, look::kText)) {}

void nTTVU::draw(CDrawContext& context) {
  nVU::draw(context);
  for (int channel = 0; channel < kChannels; ++channel) {
    drawHead(context, channel);
    drawReading(context, channel);
  }
  const float top = barOf(0).bottom + kReductionBelow;
  small.align = kCenterText;
  small.colour = look::kSand;
  context.drawText(reductionText(), {middle() - 50.0F, top, middle() + 50.0F, top + 14.0F}, small);
}

void nTTVU::drawHead(CDrawContext& context, int channel) {
  const CRect bar = barOf(channel);
  small.align = kCenterText;
  small.colour = look::kLabel;
  const float name = size.top + kNameTop;
  context.drawTextCached(channel == 0 ? "L" : "R",
                         {bar.left - 6.0F, name, bar.right + 6.0F, name + 12.0F}, small);
  const float lamp = size.top + kLampTop;
  context.fillRect({bar.left, lamp, bar.right, lamp + 3.0F},
                   isOver(channel) ? getSettings().overColour() : meter_look::kBarGround);
}

void nTTVU::drawReading(CDrawContext& context, int channel) {
  const std::string text = holdText(channel);
  const float top = barOf(channel).bottom + kReadingBelow;
  const float left = channel == 0 ? middle() - 64.0F : middle() + 7.0F;
  const CRect place{left, top, left + 57.0F, top + 15.0F};
  reading.align = channel == 0 ? kRightText : kLeftText;
  reading.colour = text == "-inf" ? look::kLabel : look::kText;
  if (isOver(channel)) {
    const float width = look::widthOf(reading, text);
    const float from = channel == 0 ? place.right - width : place.left;
    pills[static_cast<std::size_t>(channel)].draw(
        context, {from - 4.0F, top - 1.0F, from + width + 4.0F, top + 16.0F},
        {2.5F, getSettings().overColour()});
    reading.colour = getSettings().overTextColour();
  }
  context.drawText(text, place, reading);
}

void nTTVU::drawLabel(CDrawContext& context, const std::string& text, const CRect& rect,
                      bool isZero) {
  small.align = kRightText;
  small.colour = isZero ? look::kText : look::kLabel;
  context.drawTextCached(text, rect, small);
}
