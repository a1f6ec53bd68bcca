#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "platform/resources.h"
#include "toolkit/bitmap.h"

namespace {

Held<CDIB> picture(int width, int height) { return Held<CDIB>::adopt(new CDIB(width, height)); }

std::string pngOf(const std::vector<std::uint32_t>& pixels, unsigned width, unsigned height) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.format = PNG_FORMAT_BGRA;
  image.width = width;
  image.height = height;
  png_alloc_size_t size = 0;
  png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), 0, nullptr);
  std::string file(size, '\0');
  png_image_write_to_memory(&image, file.data(), &size, 0, pixels.data(), 0, nullptr);
  return file;
}

double coveredPixels(const CBitmap& shape) {
  double sum = 0.0;
  for (int i = 0; i < shape.getWidth() * shape.getHeight(); ++i) sum += shape.pixels()[i] >> 24;
  return sum / 255.0;
}

TEST(Picture, IsReadPremultipliedOrNotAtAll) {
  const std::string file = pngOf({0xFF102030U, 0x80FF8000U, 0x00FFFFFFU, 0x01FFFFFFU}, 2, 2);
  const Held<CBitmap> read = CBitmap::decode(file);
  ASSERT_TRUE(read);
  const std::uint32_t expected[] = {0xFF102030U, 0x80804000U, 0x00000000U, 0x01010101U};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(read->pixels()[i], expected[i]) << i;

  // Without its end mark a picture is whole; without anything before that it is not.
  for (std::size_t size = 0; size + 16 < file.size(); ++size) {
    EXPECT_FALSE(CBitmap::decode(file.substr(0, size)))
        << size << " of " << file.size() << " bytes";
  }
  for (std::size_t i = 0; i < file.size(); ++i) {
    std::string flipped = file;
    flipped[i] = static_cast<char>(flipped[i] ^ 0x10);
    const Held<CBitmap> odd = CBitmap::decode(flipped);
    EXPECT_TRUE(!odd || odd->getWidth() * odd->getHeight() <= 4096 * 4096) << "byte " << i;
  }
  EXPECT_TRUE(CBitmap::decode(pngOf(std::vector<std::uint32_t>(4096), 4096, 1)));
  EXPECT_FALSE(CBitmap::decode(pngOf(std::vector<std::uint32_t>(4097), 4097, 1)));
  EXPECT_FALSE(CBitmap::load(999));
  EXPECT_EQ(CBitmap::load(801)->getHeight(), 25);
}

// Shapes of white on a clear ground: the shares of all pixels add up to the area.
TEST(Picture, ShapesCoverTheirArea) {
  constexpr double kPi = std::numbers::pi;
  const std::vector<CPoint> star{{20, 2}, {30.5F, 37}, {3, 15}, {37, 15}, {9.5F, 37}};
  const struct {
    const char* name;
    double area;
    std::function<void(CDIB&, float dx)> draw;
  } cases[] = {{"box", 10.5 * 7.25,
                [](CDIB& at, float dx) {
                  at.box({3.25F + dx, 4.5F, 13.75F + dx, 11.75F}, kWhiteCColor);
                }},
               {"thin box", 0.5 * 20.0,
                [](CDIB& at, float dx) {
                  at.box({9.25F + dx, 4, 9.75F + dx, 24}, kWhiteCColor);
                }},
               {"disc", kPi * 12.3 * 12.3,
                [](CDIB& at, float dx) {
                  at.disc({20.4F + dx, 19.7F}, 12.3F, kWhiteCColor);
                }},
               {"dot", kPi * 0.3 * 0.3,
                [](CDIB& at, float dx) {
                  at.disc({20.4F + dx, 19.7F}, 0.3F, kWhiteCColor);
                }},
               {"ring", 2.0 * kPi * 14.0 * 1.5,
                [](CDIB& at, float dx) {
                  at.ring({20 + dx, 20}, 14, 1.5F, kWhiteCColor);
                }},
               {"round box", 30.0 * 20.0 - (2.0 - kPi / 2.0) * 25.0,
                [](CDIB& at, float dx) {
                  at.roundBox({5 + dx, 5, 35 + dx, 25}, 5, true, false, kWhiteCColor);
                }},
               {"line", 3.0 * std::hypot(30.0, 17.0),
                [](CDIB& at, float dx) {
                  at.line({4 + dx, 8}, {34 + dx, 25}, 3, kWhiteCColor);
                }},
               {"faint", 0.25 * 100.0,
                [](CDIB& at, float dx) {
                  at.box({5 + dx, 5, 15 + dx, 15}, kWhiteCColor, 0.25F);
                }},
               {"star", 390.0, [&](CDIB& at, float dx) {
                  std::vector<CPoint> moved = star;
                  for (CPoint& point : moved) point.x += dx;
                  at.polygon(moved, kWhiteCColor);
                }}};
  for (const auto& [name, area, draw] : cases) {
    SCOPED_TRACE(name);
    const Held<CDIB> whole = picture(40, 40);
    draw(*whole, 0.0F);
    // Each pixel is rounded to a 255th.
    EXPECT_NEAR(coveredPixels(*whole), area, 0.004 * area + 0.02);
    // The same to the left and right of an edge as without one.
    for (const int dx : {-20, 15}) {
      const Held<CDIB> cut = picture(40, 40);
      draw(*cut, static_cast<float>(dx));
      for (int i = 0; i < 40 * 40; ++i) {
        const int x = i % 40 - dx;
        if (x < 0 || x >= 40) continue;
        const auto here = static_cast<int>(cut->pixels()[i] >> 24);
        const auto there = static_cast<int>(whole->pixels()[i - dx] >> 24);
        ASSERT_NEAR(here, there, 1) << "pixel " << i % 40 << ", " << i / 40;
      }
    }
  }
  // What a line goes round twice is inside, too.
  const Held<CDIB> twice = picture(40, 40);
  twice->polygon(star, kWhiteCColor);
  EXPECT_EQ(twice->pixels()[40 * 20 + 20], 0xFFFFFFFFU);
}

TEST(Picture, BlendsOverWhatIsThere) {
  const Held<CDIB> ground = picture(4, 4);
  ground->clear(CColor::rgb(0x204060));
  ground->setPixel(1, 1, {255, 0, 0, 128});
  EXPECT_EQ(ground->pixels()[5], 0xFF902030U);
  const Held<CDIB> stamp = picture(2, 2);
  stamp->clear({255, 255, 255, 128});
  ground->blend(*stamp, 3, -1, {255, 0, 0, 255});
  EXPECT_EQ(ground->pixels()[3], 0xFF902030U);
  EXPECT_EQ(ground->pixels()[2], 0xFF204060U);
  EXPECT_EQ(ground->pixels()[7], 0xFF204060U);
}

}  // namespace
