// How the main graph is drawn: spectrum, curves and readouts.

#include "graphs/eq_graph_picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/plug.h"
#include "editor/controls/band_hues.h"
#include "graphs/graph_readouts.h"
#include "platform/index.h"
#include "toolkit/look.h"

namespace {

constexpr CColor kBack = CColor::rgb(0x2D5E83);
constexpr CColor kFront = CColor::rgb(0x5785A6);
constexpr CColor kRed = CColor::rgb(0xFF0000);

constexpr float kFillAlpha = 149.0F / 255.0F;  // of bodies and slabs
constexpr float kQuietShare = 0.4F;            // of it, where another band is soloed
constexpr float kHotShare = 1.25F;             // under the mouse
constexpr std::uint8_t kLineAlpha = 0xE5;
constexpr double kSlabReach = 12.0;  // dB from a band's top to where its slab ends

using Style = GraphPreferences::Style;

}  // namespace

/// Rows of a curve in dB; lines stand half a pixel above.
std::span<const float> EQGraphPicture::rowsOf(std::span<const double> curve, double gain,
                                              std::vector<float>& rows) const {
  rows.resize(curve.size());
  const double perDb = (levels.height - 1) / (2 * levels.range);
  const double zero = static_cast<double>(size.top) - 0.5 + (levels.range - gain) * perDb;
  for (std::size_t i = 0; i < curve.size(); ++i) {
    rows[i] = static_cast<float>(zero - curve[i] * perDb);
  }
  return rows;
}

void EQGraphPicture::drawSpectrum(CDrawContext& context, const std::vector<double>& heights,
                                  bool isFront) {
  if (!isSeen(heights)) return;
  const auto height = size.height();
  upperRows.resize(heights.size());
  for (std::size_t i = 0; i < heights.size(); ++i) {
    upperRows[i] = size.top + static_cast<float>(1.0 - heights[i]) * height;
  }
  const bool isRed = !isFront && (drawFlags & kRedInput) != 0;
  CColor colour = isFront ? kFront : kBack;
  if (isRed) colour = kRed;
  if (!preferences.analyserOutlined) {
    const float top = isFront ? 0.34F : 0.62F;
    const float bottom = isFront ? 0.08F : 0.14F;
    const CurvePainter::Fade fade[] = {{size.top, size.bottom, top, bottom}};
    painter.fill(context, upperRows, {}, colour, fade);
  }
  if (isFront || preferences.analyserOutlined) {
    painter.line(context, upperRows, 1.0F, band_hues::withOpacity(colour, isFront ? 0.55F : 0.8F));
  }
}

void EQGraphPicture::drawAnalyser(CDrawContext& context) {
  painter.setPlot(size);
  drawSpectrum(context, analyserLeft, false);
  drawSpectrum(context, analyserRight, true);
}

void EQGraphPicture::drawSum(CDrawContext& context) {
  const std::span<const float> rows = rowsOf(curves.response(), 0.0, liveRows);
  painter.line(context, rows, 3.5F, CColor::rgb(0x000000, 140));
  painter.line(context, rows, 1.5F, CColor::rgb(0xE0E0E0, 242));
}

void EQGraphPicture::drawResponse(CDrawContext& context) {
  painter.setPlot(size);
  drawSum(context);
}

void EQGraphPicture::drawBands(CDrawContext& context) {
  const auto drawAll = [&](bool ofCrossover) {
    for (int band = 0; band < kBands; ++band) {
      if (band == selectedBand || !curves.runs(band)) continue;
      const bool isCrossover = std::ranges::find(xover, band) != xover.end();
      if (isCrossover == ofCrossover) drawBand(context, band);
    }
  };
  drawAll(true);
  drawAll(false);
  if (isBand(selectedBand) && curves.runs(selectedBand)) drawBand(context, selectedBand);
  // Once more, over what has been drawn since.
  drawSum(context);
}

void EQGraphPicture::drawBodies(CDrawContext& context, int band, bool isBright) {
  const float quiet = isAnySoloed() && !isOn(band, kB1Solo) ? kQuietShare : 1.0F;
  const float hot = underMouse == band ? 1.0F + (kHotShare - 1.0F) * hoverShare() : 1.0F;
  const float alpha = std::min(kFillAlpha * quiet * hot, 1.0F);
  const auto topOf = [this](std::span<const float> rows) {
    return std::max(*std::ranges::min_element(rows), size.top);
  };
  const float top = topOf(liveRows);
  const CurvePainter::Fade body[] = {{top, top + (isBright ? 170.0F : 130.0F), alpha, 0.0F}};
  painter.fill(context, liveRows, {}, band_hues::deep(band, isBright), body);

  const double change = curves.liveGain(band) - curves.setGain(band);
  if (change == 0.0) return;
  const auto& upper = change > 0.0 ? liveRows : setRows;
  const auto& lower = change > 0.0 ? setRows : liveRows;
  const float peak = topOf(upper);
  const auto reach = static_cast<float>(kSlabReach * (levels.height - 1) / (2 * levels.range));
  const float strength = alpha * (isBright ? 1.0F : 0.7F);
  const CurvePainter::Fade slab[] = {{peak, peak + 0.35F * reach, strength, strength * 0.8F},
                                     {peak + 0.35F * reach, peak + reach, strength * 0.8F, 0.0F}};
  const CColor hue = band_hues::full(band);
  painter.fill(context, upper, lower, isBright ? hue : mix(hue, look::kPanel, 0.25F), slab);
}

void EQGraphPicture::drawBand(CDrawContext& context, int band) {
  rowsOf(curves.shape(band), curves.setGain(band), setRows);
  rowsOf(curves.shape(band), curves.liveGain(band), liveRows);
  if (setRows.empty()) return;
  const bool isBright = band == selectedBand || !preferences.highlightsCurrent;
  if (preferences.drawStyle != Style::kOutlined) drawBodies(context, band, isBright);
  if (preferences.drawStyle == Style::kFilled) return;
  CColor line = isBright ? band_hues::full(band) : band_hues::dim(band);
  if (curves.liveGain(band) != curves.setGain(band)) {
    painter.line(context, setRows, 1.0F, band_hues::withOpacity(line, isBright ? 0.55F : 0.42F));
  }
  line.alpha = isBright ? 255 : kLineAlpha;
  painter.line(context, liveRows, 1.0F, line);
  if (!preferences.showsMeasured) return;
  // What is heard, where that is something else.
  const std::span<const ColumnSpan> spans = curves.measuredSpans(band);
  if (spans.empty()) return;
  rowsOf(curves.measured(band), curves.setGain(band), upperRows);
  for (const ColumnSpan& span : spans) {
    painter.line(context, upperRows, 1.0F, band_hues::withOpacity(band_hues::dim(band), 0.7F),
                 at(span.begin), at(span.end));
  }
}

void EQGraphPicture::drawReadout(CDrawContext& context) {
  if (preferences.readout == 0 || !isCursorIn) return;
  const CPoint corner = localToFrame(size.topLeft());
  graph_readouts::Values shown;
  shown.readout = preferences.readout;
  shown.analyserOn = analyserOn;
  shown.x = cursorX - static_cast<int>(corner.x);
  shown.y = cursorY - static_cast<int>(corner.y);
  const std::span<const double> response = curves.response();
  if (shown.x >= 0 && at(shown.x) < response.size()) {
    shown.response = response[at(shown.x)];
    shown.left = analyserLeft[at(shown.x)];
    shown.right = analyserRight[at(shown.x)];
  }
  const TextStyle style = look::bold(look::kSmallTextSize, look::kLabel, kCenterText);
  const float top = size.top + static_cast<float>(graph_readouts::rowOf(preferences.readoutAtBottom,
                                                                        levels.height));
  constexpr float kHalf = 100.0F;
  for (const auto& [column, text] :
       graph_readouts::texts(shown, frequencies, analyserAxis, levels.height)) {
    const float middle = size.left + static_cast<float>(column);
    context.drawText(text, {middle - kHalf, top, middle + kHalf, top + 12.0F}, style);
  }
}
