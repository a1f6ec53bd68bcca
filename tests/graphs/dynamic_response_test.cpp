#include "graphs/dynamic_response.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "graphs/thick_curve.h"
#include "tests/core/plug_rig.h"
#include "toolkit/plain_context.h"

namespace {

constexpr CColor kColour = CColor::rgb(0x4E9ACC, 200);

std::uint32_t pixelAt(const CBitmap& picture, int x, int y) {
  return picture.pixels()[y * picture.getWidth() + x];
}
int redOf(std::uint32_t pixel) { return static_cast<int>(pixel >> 16 & 255); }
int blueOf(std::uint32_t pixel) { return static_cast<int>(pixel & 255); }

/// The middles of a strip's sections, and how far apart their sides are.
struct Section {
  CPoint middle;
  float width;
};
std::vector<Section> sectionsOf(std::span<const CVertex> strip) {
  std::vector<Section> sections;
  for (std::size_t i = 0; i + 1 < strip.size(); i += 2) {
    const CPoint a = strip[i].at;
    const CPoint b = strip[i + 1].at;
    sections.push_back(
        {{(a.x + b.x) / 2.0F, (a.y + b.y) / 2.0F}, std::hypot(a.x - b.x, a.y - b.y)});
  }
  return sections;
}

TEST(ThickCurve, SidesOfALineMeetInItsCorners) {
  const CRect everywhere{-1000, -1000, 1000, 1000};
  ThickCurve curve;
  const struct {
    std::vector<CPoint> points;
    float widening;  // at the second point
  } rows[] = {{{{0, 0}, {10, 0}, {20, 0}}, 1.0F},
              {{{0, 0}, {10, 0}, {10, 0}, {10, 9}}, std::sqrt(2.0F)},
              {{{0, 0}, {10, 10}, {20, 0}}, std::sqrt(2.0F)},
              {{{0, 0}, {10, 0}, {0, 0.5F}}, 10.0F},  // a spike
              {{{0, 0}, {10, 0}, {0, 0}}, 10.0F}};    // straight back
  for (const auto& row : rows) {
    SCOPED_TRACE(row.points.back().x);
    std::vector<CVertex> points;
    for (const CPoint at : row.points) points.push_back({at, kColour});
    curve.set(points, 3.0F, 0.5F, everywhere);
    const std::vector<Section> core = sectionsOf(curve.strip(ThickCurve::kCore));
    ASSERT_EQ(core.size(), 3U) << "points that repeat are left out";
    EXPECT_NEAR(core[0].width, 2.5F, 1e-5F);
    EXPECT_NEAR(core[1].width, 2.5F * row.widening, 1e-3F);
    EXPECT_NEAR(core[1].middle.x, 10.0F, 1e-4F);
    for (const auto which : {ThickCurve::kLeftEdge, ThickCurve::kRightEdge}) {
      EXPECT_NEAR(sectionsOf(curve.strip(which))[0].width, 0.5F, 1e-5F);
      int opaque = 0;
      for (const CVertex& corner : curve.strip(which)) {
        opaque += corner.colour == kColour ? 1 : 0;
        EXPECT_TRUE(corner.colour == kColour || corner.colour.alpha == 0);
      }
      EXPECT_EQ(opaque, 3);
    }
  }
  const CVertex twice[] = {{{5, 5}, kColour}, {{5, 5}, kColour}};
  curve.set(twice, 3.0F, 1.0F, everywhere);
  EXPECT_TRUE(curve.strip(ThickCurve::kCore).empty());
}

/// White where the line covers a pixel.
Held<CDIB> drawn(std::span<const CVertex> points, float scale, float width, const CRect& within) {
  Held<CDIB> picture = Held<CDIB>::adopt(new CDIB(100, 100));
  PlainContext context(*picture);
  context.beginFrame();
  context.setScale(scale);
  context.setClipRect({0, 0, 100.0F / scale, 100.0F / scale});
  ThickCurve curve;
  drawThickCurve(context, curve, points, width, within);
  return picture;
}

TEST(ThickCurve, CoversItsWidthAtEveryScaleAndNothingBeyondItsFrame) {
  for (const float scale : {1.0F, 1.25F, 2.0F}) {
    SCOPED_TRACE(scale);
    const CRect within{10, 10, 40, 40};
    const CVertex points[] = {
        {{0, 20}, kWhiteCColor}, {{30, 20}, kWhiteCColor}, {{30, 60}, kWhiteCColor}};
    const Held<CDIB> picture = drawn(points, scale, 3.0F, within);
    double covered = 0.0;
    for (int y = 0; y < 100; ++y) {
      for (int x = 0; x < 100; ++x) {
        const int light = redOf(pixelAt(*picture, x, y));
        covered += light / 255.0;
        const auto at = [&](int pixel) { return (static_cast<float>(pixel) + 0.5F) / scale; };
        if (at(x) < 10 || at(x) > 40 || at(y) < 10 || at(y) > 40) {
          EXPECT_EQ(light, 0);
        }
      }
    }
    // Along the top from 10 to 31.5 and down the side from 18.5 to 40, the corner once.
    EXPECT_NEAR(covered / (scale * scale), 21.5 * 3.0 + 18.5 * 3.0, 2.5);
  }
}

TEST(DynamicResponse, RowsAreTheStaticLaw) {
  StaticCurve hard = StaticCurve::make(-20.0, 1.0, 6.0, 0.0, 24.0, 0.0, 0.0);
  response_shape::Plot plot{-20.0, 96.0};  // half a dB a column
  std::vector<float> rows;
  response_shape::placeRows(plot, hard, rows);
  ASSERT_EQ(rows.size(), 97U);
  EXPECT_EQ(rows[0], 96.0F);
  EXPECT_EQ(rows[20], 76.0F) << "below the threshold what goes in";
  EXPECT_EQ(rows[48], 48.0F);
  EXPECT_NEAR(rows[54], 48.0F, 1e-4F) << "held at the threshold for the 6 dB of the ceiling";
  EXPECT_NEAR(rows[96], 12.0F, 1e-4F) << "and 6 dB less from there on";
  plot.threshold = 10.0;  // the curve of another threshold runs into the edge
  response_shape::placeRows(plot, StaticCurve::make(-20.0, 1.0, 60.0, 0.0, 24.0, 0.0, 0.0), rows);
  EXPECT_EQ(rows[90], 96.0F);
  EXPECT_EQ(response_shape::levelOf(0.0), -200.0);
  EXPECT_EQ(response_shape::levelOf(0.99e-10), -200.0);
  EXPECT_NEAR(response_shape::levelOf(0.1), -20.0, 1e-12);
}

TEST(DynamicResponse, IsBrightUpToTheLiveLevel) {
  PlugRig rig("B1State=1 B1Threshold=-30 B1Ratio=0 B1RelSlow=1000");
  for (const double level : {-40.0, -20.0, -200.0}) {
    SCOPED_TRACE(level);
    Stereo<double> tone(24000);
    for (auto& channel : tone.channels) {
      for (std::size_t i = 0; i < channel.size(); ++i) {
        channel[i] =
            std::pow(10.0, level * 0.05) * std::sqrt(2.0) * std::sin(0.13 * static_cast<double>(i));
      }
    }
    render(rig.plug, tone, 480, [](int) {});
    DynamicResponse view({{0, 0, 124, 124}, nullptr, -1}, rig.plug, 0);
    const Held<CDIB> picture = Held<CDIB>::adopt(new CDIB(124, 124));
    PlainContext context(*picture);
    context.beginFrame();
    context.setClipRect({0, 0, 124, 124});
    view.draw(context);
    const double live =
        response_shape::Plot{-30.0, 124.0}.columnOf(20.0 * std::log10(rig.plug.getBandEnvelope(0)));
    for (int x = 8; x < 116; ++x) {
      if (std::abs(x - live) < 6.0 || std::abs(x - 62) < 4) continue;  // the dot, the grid
      const int blue = blueOf(pixelAt(*picture, x, 123 - x));
      EXPECT_EQ(blue > 150, x < live) << x << ": " << blue;
      EXPECT_GT(blue, 60) << x;
    }
    EXPECT_FALSE(view.isDirty());
  }
}

}  // namespace
