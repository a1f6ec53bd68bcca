#include "toolkit/draw_context.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "tests/support/drawing_page.h"
#include "tests/support/realtime_guard.h"
#include "toolkit/device_picture.h"
#include "toolkit/plain_context.h"

namespace {

// Notes down what would be drawn.
class NotedContext : public CDrawContext {
 public:
  std::vector<CRect> boxes;
  std::vector<DeviceQuad> quads;
  int strips = 0;
  int forgotten = 0;

  [[nodiscard]] bool hasDrawn() const { return !boxes.empty() || !quads.empty() || strips > 0; }
  void forgetBitmap(const CBitmap& /*bitmap*/) override { ++forgotten; }

 private:
  void putStrip(std::span<const CVertex> /*corners*/) override { ++strips; }
  void putPolygon(std::span<const CPoint> corners, CColor /*colour*/) override {
    boxes.push_back({corners[0].x, corners[0].y, corners[2].x, corners[2].y});
  }
  void putQuads(const CBitmap& /*bitmap*/, std::span<const DeviceQuad> drawn,
                CColor /*tint*/) override {
    quads.insert(quads.end(), drawn.begin(), drawn.end());
  }
};

TextStyle bold(float size, CHoriTxtAlign align = kLeftText) {
  return {Face::find("DSP-Bold"), size, kWhiteCColor, align};
}

// Its edges are rounded, as those of the clip rectangle are where it fills that.
TEST(DrawContext, ShowsAGroundAtEachScale) {
  for (const float scale : {1.0F, 1.1F, 1.25F, 1.3F, 1.5F, 1.75F}) {
    for (float left = 600.0F; left < 700.0F; left += 1.0F) {
      NotedContext context;
      context.setScale(scale);
      context.setOffset({left, 25});
      context.setClipRect({0, 0, 161, 177});
      BoxPicture ground;
      ground.draw(context, {0, 0, 161, 177}, {.fill = kWhiteCColor});
      ASSERT_EQ(context.quads.size(), 1U) << left << " at scale " << scale;
      ground.draw(context, {1, 0, 162, 177}, {.fill = kWhiteCColor});
      ASSERT_EQ(context.quads.size(), 1U) << left << " at scale " << scale;
    }
  }
}

TEST(DrawContext, DrawsAllOfAFigureOrNothing) {
  const Held<CBitmap> tile = Held<CBitmap>::adopt(new CBitmap(9, 9));
  const std::function<void(CDrawContext&, float, float)> figures[] = {
      [](CDrawContext& to, float x, float y) {
        to.fillRect({x - 9, y - 9, x, y});
      },
      [](CDrawContext& to, float x, float y) {
        to.drawRect({x - 9, y - 9, x, y});
      },
      [](CDrawContext& to, float x, float y) {
        to.drawEllipse({x - 9, y - 9, x, y}, kDrawFilledAndStroked);
      },
      [](CDrawContext& to, float x, float y) {
        to.moveTo({x - 9, y - 9});
        to.lineTo({x, y});
      },
      [](CDrawContext& to, float x, float y) {
        const CPoint points[] = {{x - 9, y - 9}, {x, y - 5}, {x - 3, y}};
        to.drawPolygon(points, kDrawFilled);
      },
      [](CDrawContext& to, float x, float y) {
        const CPoint points[] = {{x - 9, y - 9}, {x, y - 5}, {x - 3, y}};
        to.drawPath(points, 1, kWhiteCColor);
      },
      [](CDrawContext& to, float x, float y) {
        const CVertex corners[] = {{{x - 9, y - 9}, {}}, {{x, y - 5}, {}}, {{x - 3, y}, {}}};
        to.drawTriangleStrip(corners);
      },
      [&](CDrawContext& to, float x, float y) {
        to.drawBitmap(*tile, {x - 9, y - 9, x, y});
      },
      [&](CDrawContext& to, float x, float y) {
        to.drawBitmapTiled(*tile, {x - 9, y - 9, x, y});
      },
      [](CDrawContext& to, float x, float y) {
        to.drawString("1", {x - 9, y - 9, x, y});
      },
      [](CDrawContext& to, float x, float y) {
        to.drawText("x", {x - 9, y - 9, x, y}, bold(8));
      },
      [](CDrawContext& to, float x, float y) {
        to.drawTextCached("x", {x - 9, y - 9, x, y}, bold(8));
      }};
  for (std::size_t i = 0; i < std::size(figures); ++i) {
    const struct {
      float x, y;
      CRect clip;
      bool isDrawn;
    } cases[] = {{20, 20, {0, 0, 20, 20}, true},      {20.5F, 20, {0, 0, 20, 20}, false},
                 {20, 20.5F, {0, 0, 20, 20}, false},  {20, 20, {11.5F, 0, 20, 20}, false},
                 {20, 20, {0, 11.5F, 20, 20}, false}, {20, 20, {0, 20, 40, 0}, false}};
    for (const auto& [x, y, clip, isDrawn] : cases) {
      SCOPED_TRACE(testing::Message() << "figure " << i << " to " << x << ", " << y);
      NotedContext context;
      // The origin moves after the clip is set: it stays where it was.
      context.setOffset({5, 5});
      context.setClipRect(clip);
      context.setOffset({2, 2});
      figures[i](context, x + 3, y + 3);
      EXPECT_EQ(context.hasDrawn(), isDrawn);
      EXPECT_EQ(context.getClipRect(), clip.movedBy(3, 3));
    }
  }
}

TEST(DrawContext, PutsEdgesOnWholePixels) {
  // Panels side by side leave neither gap nor overlap, whatever the scale.
  for (const float scale : {1.0F, 1.25F, 1.5F, 2.0F}) {
    SCOPED_TRACE(scale);
    NotedContext context;
    context.setScale(scale);
    context.setClipRect({0, 0, 1000, 1000});
    for (int i = 0; i < 20; ++i) {
      const auto left = static_cast<float>(i) * 14.3F;
      context.fillRect({left, 0, static_cast<float>(i + 1) * 14.3F, 10});
    }
    for (std::size_t i = 1; i < context.boxes.size(); ++i) {
      EXPECT_EQ(context.boxes[i].left, context.boxes[i - 1].right);
      EXPECT_EQ(context.boxes[i].left, std::round(context.boxes[i].left));
    }
    // A picture as large as its clip is drawn, wherever its edges are rounded to.
    BoxPicture picture;
    for (const CRect& view : {CRect{14, 448, 800, 625}, {31, 9, 162, 47}, {495, 557, 626, 577}}) {
      context.quads.clear();
      context.setOffset(view.topLeft());
      const CRect whole{0, 0, view.width(), view.height()};
      context.setClipRect(whole);
      picture.draw(context, whole, {3.0F, kWhiteCColor});
      EXPECT_EQ(context.quads.size(), 1U) << view.left;
    }
    context.setOffset({});
    context.setClipRect({0, 0, 1000, 1000});
    // Level and upright lines are boxes of whole pixels; whole and half places give one row.
    context.boxes.clear();
    context.setLineWidth(context.hairline());
    for (const CPoint to : {CPoint{90, 10}, CPoint{10, 90}, CPoint{90, 90}}) {
      context.moveTo({10, 10});
      context.lineTo(to);
    }
    ASSERT_EQ(context.boxes.size(), 2U);
    EXPECT_GT(context.strips, 0);
    EXPECT_EQ(context.boxes[0].top, std::round(context.boxes[0].top));
    EXPECT_EQ(context.boxes[0].height(), std::round(scale));
    EXPECT_EQ(context.boxes[1].width(), std::round(scale));
    EXPECT_EQ(context.boxes[0].width(), 80 * scale);
  }
}

TEST(DrawContext, WritesFromWholePixelsInTheMiddleOfTheHeight) {
  const struct {
    float scale, size, height, baseline;
  } cases[] = {{1, 11, 20, 14}, {1, 12, 20, 14}, {1, 10, 20, 14}, {1, 11, 15, 11},
               {2, 11, 20, 28}, {2, 12, 20, 29}, {2, 9, 20, 26},  {1.5F, 12, 20, 21}};
  for (const auto& [scale, size, height, baseline] : cases) {
    for (const CHoriTxtAlign align : {kLeftText, kCenterText, kRightText}) {
      SCOPED_TRACE(testing::Message() << size << " at " << scale << ", " << align);
      const TextStyle style = bold(size, align);
      const float width = style.face->width("HIH", size * scale);
      const Face::Box box = style.face->box(U'H', size * scale);
      const float space = align == kLeftText ? 0 : 100 * scale - width;
      // Halves go up, also those that rounding has made a bit less.
      const float start = std::floor((align == kCenterText ? space / 2 : space) + 0.504F);
      NotedContext context;
      context.setScale(scale);
      context.setClipRect({0, 0, 100, 100});
      context.drawText("HIH", {0, 0, 100, height}, style);
      context.drawTextCached("HIH", {0, 0, 100, height}, style);
      ASSERT_EQ(context.quads.size(), 4U);
      for (const std::size_t i : {0U, 3U}) {
        EXPECT_EQ(context.quads[i].target.bottom, baseline + static_cast<float>(box.bottom));
        EXPECT_EQ(context.quads[i].target.left, start + static_cast<float>(box.left));
      }
      for (const auto& [source, target] : context.quads) {
        EXPECT_EQ(target.left, std::round(target.left));
        EXPECT_EQ(target.width(), source.width());
      }
    }
  }
  NotedContext context;
  context.setClipRect({0, 0, 100, 100});
  context.drawText("text", {0, 0, 100, 20}, {});
  context.drawTextCached("text", {0, 0, 100, 20}, {});
  EXPECT_FALSE(context.hasDrawn());
  context.setClipRect({});
  context.drawText("text", {}, bold(12));
  EXPECT_FALSE(context.hasDrawn());
  context.setClipRect({0, 0, 100, 100});
  // Another scale needs other pictures of both, once.
  context.drawText("text", {0, 0, 100, 20}, bold(12));
  context.drawTextCached("text", {0, 0, 100, 20}, bold(12));
  context.setScale(1.0F);
  EXPECT_EQ(context.forgotten, 0);
  context.setScale(1.5F);
  EXPECT_EQ(context.forgotten, 2);
}

TEST(DrawContext, CutsTilesAtTheEdges) {
  const Held<CBitmap> tile = Held<CBitmap>::adopt(new CBitmap(8, 5));
  NotedContext context;
  context.setClipRect({0, 0, 100, 100});
  context.drawBitmapTiled(*tile, {10, 10, 30, 22}, {-5, 12});
  float area = 0.0F;
  for (const auto& [source, target] : context.quads) {
    EXPECT_EQ(source.width(), target.width());
    EXPECT_EQ(source.height(), target.height());
    EXPECT_EQ(std::fmod(target.left - 10 + 3 - source.left + 80, 8), 0);
    EXPECT_EQ(std::fmod(target.top - 10 + 2 - source.top + 80, 5), 0);
    area += target.width() * target.height();
  }
  EXPECT_EQ(area, 20 * 12);
}

TEST(PlainContext, BlendsNoPixelOfALineTwice) {
  const Held<CBitmap> picture = Held<CBitmap>::adopt(new CBitmap(120, 120));
  const CPoint way[] = {{10, 10}, {60, 10}, {60, 40}, {20, 60}, {110, 80}, {30, 110}};
  for (const float width : {0.7F, 1.0F, 2.5F, 6.0F}) {
    PlainContext context(*picture);
    context.setClipRect({0, 0, 120, 120});
    context.drawPath(way, width, {255, 255, 255, 100});
    double sum = 0.0;
    for (int i = 0; i < 120 * 120; ++i) {
      const std::uint32_t share = picture->pixels()[i] & 255U;
      ASSERT_LE(share, 101U) << "width " << width << ", pixel " << i % 120 << ", " << i / 120;
      sum += share / 100.0;
    }
    double length = 0.0;
    for (std::size_t i = 1; i < std::size(way); ++i) {
      const CPoint step = way[i] - way[i - 1];
      length += static_cast<double>(std::hypot(step.x, step.y));
    }
    // Joints take away from the sum of the pieces, each by less than a square of the width.
    const double wide = static_cast<double>(width);
    EXPECT_NEAR(sum, length * wide, 0.01 * length * wide + 2.5 * wide * wide) << "width " << width;
  }
}

TEST(PlainContext, DrawsAPartAsItDrawsTheWhole) {
  const DrawingPage page(Face::find("DSP-Bold"), Face::find("OpenSans-Regular"));
  const Held<CBitmap> picture = Held<CBitmap>::adopt(new CBitmap(640, 480));
  PlainContext context(*picture);
  page.draw(context);
  const std::vector<std::uint32_t> whole(picture->pixels(), picture->pixels() + 640 * 480);
  const CRect parts[] = {{31, 20, 331, 203}, {331, 123, 600, 300}, {100, 203, 200, 480}};
  context.beginFrame(parts);
  page.draw(context);
  for (int i = 0; i < 640 * 480; ++i) {
    ASSERT_EQ(picture->pixels()[i], whole[static_cast<std::size_t>(i)])
        << i % 640 << ", " << i / 640;
  }
  // Of a picture whole: in parts cairo asks for some memory.
  context.beginFrame();
  const RealtimeGuard guard;
  page.draw(context);
  EXPECT_EQ(guard.heapCalls(), 0) << "allocations after the first frame";
}

}  // namespace
