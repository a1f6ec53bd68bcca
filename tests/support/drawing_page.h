#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>

#include "toolkit/draw_context.h"

/// A page that holds every figure that views draw with, once or in some rows, 640 by 480.
class DrawingPage {
 public:
  static constexpr int kWidth = 640;
  static constexpr int kHeight = 480;

  /// `bold`, `regular`: the editor's faces.
  DrawingPage(std::shared_ptr<const Face> boldFace, std::shared_ptr<const Face> regularFace)
      : bold(std::move(boldFace)), regular(std::move(regularFace)) {
    shapes->disc({20.0F, 20.0F}, 12.5F, CColor::rgb(0xDC9A5A));
    shapes->ring({20.0F, 20.0F}, 16.0F, 1.5F, CColor::rgb(0x66E7F4));
    shapes->roundBox({42.0F, 4.0F, 76.0F, 36.0F}, 6.0F, true, false, CColor::rgb(0x4E9ACC), 0.8F);
    shapes->line({45.0F, 30.0F}, {73.0F, 9.0F}, 2.0F, kBlackCColor);
    shapes->box({44.5F, 31.25F, 73.5F, 33.0F}, kWhiteCColor);
    for (int i = 0; i < 16 * 16; ++i) {
      const auto share = static_cast<std::uint8_t>(i);
      check->setPixel(i % 16, i / 16, {share, static_cast<std::uint8_t>(255 - share), 96, share});
    }
  }

  void draw(CDrawContext& context) const {
    context.setOffset({});
    context.setClipRect({0, 0, kWidth, kHeight});
    context.setDrawMode(kAntialias);
    context.fillRect({0, 0, kWidth, kHeight}, CColor::rgb(0x0D0D0D));
    drawLines(context);
    drawAreas(context);
    drawPictures(context);
    drawTexts(context);
  }

 private:
  void drawLines(CDrawContext& context) const {
    context.setOffset({10, 10});
    context.setFrameColor(CColor::rgb(0xE0E0E0));
    for (int i = 0; i < 24; ++i) {
      const float angle = static_cast<float>(i) * 0.26179939F;
      context.setLineWidth(i < 8 ? 1.0F : i < 16 ? 2.0F : 0.5F);
      context.moveTo({70 + 12 * std::cos(angle), 70 + 12 * std::sin(angle)});
      context.lineTo({70 + 68 * std::cos(angle), 70 + 68 * std::sin(angle)});
    }
    context.setLineWidth(context.hairline());
    for (int i = 0; i <= 12; ++i) {
      context.setFrameColor({255, 255, 255, static_cast<std::uint8_t>(20 + 18 * i)});
      context.moveTo({150, static_cast<float>(11 * i)});
      context.lineTo({290, static_cast<float>(11 * i)});
      context.moveTo({static_cast<float>(150 + 11 * i), 0});
      context.lineTo({static_cast<float>(150 + 11 * i), 132});
    }
    std::array<CPoint, 281> wave;
    std::array<CPoint, 21> spikes;
    for (std::size_t i = 0; i < wave.size(); ++i) {
      const float x = static_cast<float>(i) * 0.5F;
      wave[i] = {150 + x, 66 + 50 * std::sin(x * x * 0.002F)};
      if (i % 14 == 0) spikes[i / 14] = {150 + x, i % 28 == 0 ? 120.0F : 90 - x * 0.4F};
    }
    context.drawPath(wave, 1.5F, {78, 154, 204, 255});
    context.drawPath(spikes, 1.0F, {237, 208, 83, 140});
    const CPoint stairs[] = {{5, 148}, {40, 148}, {40, 165}, {90, 165}, {130, 150}, {100, 144}};
    context.drawPath(stairs, 4.0F, {187, 164, 255, 140});
  }

  static void drawAreas(CDrawContext& context) {
    context.setOffset({310, 10});
    context.setLineWidth(1.0F);
    context.setFrameColor(CColor::rgb(0xEDD053));
    context.setFillColor({150, 60, 60, 200});
    const CPoint triangle[] = {{10, 40}, {30, 5}, {50, 40}};
    const CPoint small[] = {{60, 8}, {67, 8}, {63.5F, 12}};
    const CPoint hexagon[] = {{100, 5}, {117, 15}, {117, 33}, {100, 43}, {83, 33}, {83, 15}};
    context.drawPolygon(triangle, kDrawFilledAndStroked);
    context.drawPolygon(small, kDrawFilled);
    context.drawPolygon(hexagon, kDrawFilled);
    context.setLineWidth(3.0F);
    context.drawPolygon(hexagon, kDrawStroked);
    context.setLineWidth(1.0F);
    for (int i = 0; i < 4; ++i) {
      const auto x = static_cast<float>(130 + 46 * i);
      context.drawRect({x + 0.3F, 5, x + 40.3F, 20});
      context.fillRect({x + 2.3F, 7, x + 38.3F, 18}, {96, 231, 244, 120});
      context.drawEllipse({x, 24, x + 40, 44}, i == 0   ? kDrawFilled
                                               : i == 1 ? kDrawStroked
                                                        : kDrawFilledAndStroked);
      context.drawEllipse({x + 0.5F, 50, x + 0.5F + 3 * static_cast<float>(i + 1),
                           50 + 3 * static_cast<float>(i + 1)},
                          kDrawFilled);
    }
    context.setDrawMode(kCopyMode);
    context.drawEllipse({10, 48, 30, 68}, kDrawFilled);
    context.moveTo({40, 48});
    context.lineTo({60, 68});
    context.setDrawMode(kAntialias);
    std::array<CVertex, 202> body;
    for (std::size_t i = 0; i < body.size(); i += 2) {
      const float x = static_cast<float>(i) * 1.5F;
      body[i] = {{x, 110 - 30 * std::exp(-(x - 150) * (x - 150) / 2500)}, {30, 188, 145, 200}};
      body[i + 1] = {{x, 160}, {30, 188, 145, 0}};
    }
    context.drawTriangleStrip(body);
    // Each of these has a corner outside.
    context.setClipRect({0, 120, 300, 160});
    context.setFillColor(CColor::rgb(0xFF0000));
    context.fillRect({10, 110, 60, 150});
    context.drawEllipse({280, 130, 301, 150}, kDrawFilled);
    context.setClipRect({0, 0, 0, 0});
    context.drawRect({0, 0, 0, 0});
    context.setOffset({});
    context.setClipRect({0, 0, kWidth, kHeight});
  }

  void drawPictures(CDrawContext& context) const {
    context.setOffset({10, 190});
    context.drawBitmap(*shapes, {0, 0, 80, 40});
    context.drawBitmap(*shapes, {90, 0, 110, 40}, {10, 0}, 128);
    context.drawBitmapStretched(*shapes, {120, 0, 240, 40});
    context.drawBitmapTiled(*check, {250, 0, 327, 40}, {5, 3});
    context.drawBitmapTiled(*check, {337, 0, 400, 40}, {}, 90);
    context.drawDeviceBitmap(*shapes, {410, 0});
    context.drawDeviceBitmap(*shapes, {500, 0}, {255, 120, 120, 160});
  }

  void drawTexts(CDrawContext& context) const {
    context.setOffset({10, 250});
    context.setFrameColor(CColor::rgb(0xB0B0B0));
    context.setFont(nullptr);
    context.drawString("Pixel letters -12.5% 3:1 +6,0 #7/8", {0, 0, 300, 20}, kLeftText);
    const int sizes[] = {9, 10, 11, 12, 16, 30};
    float y = 24;
    for (const int size : sizes) {
      const TextStyle style{bold, static_cast<float>(size), CColor::rgb(0xE0E0E0), kLeftText};
      const TextStyle same{regular, static_cast<float>(size), CColor::rgb(0x848484), kLeftText};
      const float height = static_cast<float>(size) + 6;
      context.drawText("Thr -24.5 dB $ ~\x7F", {0, y, 300, y + height}, style);
      context.drawTextCached("Schwelle \xC3\xA4\xC3\xB6\xC3\xBC \xC4\x85 -24.5",
                             {310, y, 620, y + height}, same);
      y += height;
    }
    for (int i = 0; i < 3; ++i) {
      const TextStyle style{bold, 11, CColor::rgb(0x5785A6), static_cast<CHoriTxtAlign>(i)};
      const CRect box{static_cast<float>(330 + 100 * i), 0, static_cast<float>(421 + 100 * i), 20};
      context.setFrameColor(CColor::rgb(0x2A3138));
      context.drawRect(box);
      context.drawTextCached("\xEF\x83\xA2 12.50 kHz", box, style);
    }
  }

  std::shared_ptr<const Face> bold;
  std::shared_ptr<const Face> regular;
  Held<CDIB> shapes = Held<CDIB>::adopt(new CDIB(80, 40));
  Held<CDIB> check = Held<CDIB>::adopt(new CDIB(16, 16));
};
