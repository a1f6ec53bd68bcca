#include "graphs/dynamic_response.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "graphs/small_graph.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr CColor kUnityColour{255, 255, 255, 26};
constexpr CColor kReductionColour = CColor::rgb(0x4E9ACC, 33);
constexpr CColor kBeyondColour = CColor::rgb(0x4E9ACC, 107);
constexpr CColor kLevelColour = CColor::rgb(0x4E9ACC, 77);

}  // namespace

DynamicResponse::DynamicResponse(const ControlSetup& setup, const Plug& effect, int which)
    : CControl(setup), plugin(effect), band(which) {
  plot.side = static_cast<double>(size.width());
  take(read());
}

void DynamicResponse::attached(CViewContainer& holder) {
  CControl::attached(holder);
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, true);
}

void DynamicResponse::onIdle() {
  if (!isShown()) return;
  const Shown now = read();
  if (now == shown) return;
  take(now);
  setDirty();
}

DynamicResponse::Shown DynamicResponse::read() const {
  Shown now;
  now.curve = plugin.getStaticCurve(band);
  now.level = response_shape::levelOf(plugin.getBandEnvelope(band));
  const response_shape::Plot place{now.curve.thresholdHigh, plot.side};
  constexpr double kPerPixel = 8.0;
  const double column = std::clamp(place.columnOf(now.level), -1.0, plot.side + 1.0);
  now.column = std::round(column * kPerPixel) / kPerPixel;
  now.level = place.levelAt(now.column);
  return now;
}

void DynamicResponse::take(const Shown& now) {
  if (rows.empty() || now.curve != shown.curve) {
    plot.threshold = now.curve.thresholdHigh;
    response_shape::placeRows(plot, now.curve, rows);
    std::array<char, 16> text{};
    // The sum has no -0.
    std::snprintf(text.data(), text.size(), "%.0f", std::nearbyint(plot.threshold) + 0.0);
    thresholdText = text.data();
  }
  shown = now;
}

CRect DynamicResponse::inside() const {
  return size.inset(small_graph::kInside, small_graph::kInside);
}

CPoint DynamicResponse::at(double column, double row) const {
  return {size.left + static_cast<float>(column), size.top + static_cast<float>(row)};
}

void DynamicResponse::draw(CDrawContext& context) {
  setDirty(false);
  if (inside().isEmpty()) return;
  frame.draw(context, size.inset(small_graph::kFrame, small_graph::kFrame),
             {3.0F, look::kPanel, look::kBorder});
  drawGrid(context);
  drawCurve(context);
  drawLevel(context);
}

void DynamicResponse::drawGrid(CDrawContext& context) {
  const CRect area = inside();
  const CPoint middle = size.centre();
  const CPoint unity[] = {{area.left, area.bottom}, {area.right, area.top}};
  context.drawPath(unity, context.hairline(), kUnityColour);
  context.setFrameColor(CColor::rgb(0x333333));
  context.setLineWidth(context.hairline());
  context.moveTo({middle.x, area.top});
  context.lineTo({middle.x, area.bottom});
  context.moveTo({area.left, middle.y});
  context.lineTo({area.right, middle.y});
  constexpr float kTextHeight = 10.0F;
  const CRect text{area.left, size.bottom - 15.0F, middle.x - 4.0F,
                   size.bottom - 15.0F + kTextHeight};
  context.drawText(thresholdText, text, look::bold(10.0F, look::kLabel, kRightText));
}

void DynamicResponse::drawCurve(CDrawContext& context) {
  const CRect area = inside();
  const auto pressed = [&](CPoint point) -> CPoint {
    return {std::clamp(point.x, area.left, area.right), std::clamp(point.y, area.top, area.bottom)};
  };
  way.clear();
  for (std::size_t x = 0; x < rows.size(); ++x) {
    const auto column = static_cast<double>(x);
    way.push_back({pressed(at(column, static_cast<double>(rows[x]))), kReductionColour});
    way.push_back({pressed(at(column, plot.side - column)), kReductionColour});
  }
  context.drawTriangleStrip(way);
  way.clear();
  for (std::size_t x = 0; x < rows.size(); ++x) {
    const auto column = static_cast<double>(x);
    way.push_back({at(column, static_cast<double>(rows[x])),
                   shown.column > column ? look::kLit : kBeyondColour});
  }
  drawThickCurve(context, thick, way, 2.0F, area);
}

void DynamicResponse::drawLevel(CDrawContext& context) {
  const double least = static_cast<double>(small_graph::kDot + small_graph::kInside);
  const double most = plot.side - least;
  if (shown.column < least || shown.column > most) return;
  const double out = shown.level + shown.curve.gainAtDb(shown.level);
  const CPoint dot = at(shown.column, std::clamp(plot.rowOf(out), least, most));
  context.fillRect({dot.x - context.hairline() * 0.5F, dot.y, dot.x + context.hairline() * 0.5F,
                    size.bottom - small_graph::kInside},
                   kLevelColour);
  context.setFillColor(look::kPanel);
  context.drawEllipse(small_graph::around(dot, 5.0F), kDrawFilled);
  context.setFillColor(look::kText);
  context.drawEllipse(small_graph::around(dot, small_graph::kDot), kDrawFilled);
}
