#include "graphs/opengl/cgl_context.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/gl_context.h"
#include "tests/support/drawing_page.h"
#include "toolkit/plain_context.h"

namespace {

constexpr int kSide = 1280;

class OpenGl : public testing::Test {
 protected:
  OpenGl() : screen(GlContext::makeOffScreen(kSide, kSide, 0)) {
    if (screen == nullptr || !screen->makeCurrent()) std::abort();
    context = std::make_unique<CGLContext>();
  }
  ~OpenGl() override {
    context.reset();
    screen->release();
  }

  void begin(float scale = 1.0F) {
    context->setScale(scale);
    context->beginFrame(static_cast<int>(DrawingPage::kWidth * scale),
                        static_cast<int>(DrawingPage::kHeight * scale));
    context->setClipRect({0, 0, DrawingPage::kWidth, DrawingPage::kHeight});
  }

  // Rows from the top.
  std::vector<std::uint32_t> end(float scale = 1.0F) {
    context->endFrame();
    const auto width = static_cast<int>(DrawingPage::kWidth * scale);
    const auto height = static_cast<int>(DrawingPage::kHeight * scale);
    std::vector<std::uint32_t> rows(static_cast<std::size_t>(width * height));
    for (int y = 0; y < height; ++y) {
      glReadPixels(0, height - 1 - y, width, 1, GL_BGRA, GL_UNSIGNED_BYTE, &rows[at(y * width)]);
    }
    return rows;
  }

  static std::size_t at(int index) { return static_cast<std::size_t>(index); }

  static int textures() {
    int count = 0;
    for (unsigned name = 1; name < 500; ++name) count += glIsTexture(name) == GL_TRUE ? 1 : 0;
    return count;
  }

  std::unique_ptr<GlContext> screen;
  std::unique_ptr<CGLContext> context;
};

TEST_F(OpenGl, ShowsWhatThePlainContextShows) {
  const DrawingPage page(Face::find("DSP-Bold"), Face::find("OpenSans-Regular"));
  for (const float scale : {1.0F, 1.25F, 1.5F, 2.0F}) {
    const auto width = static_cast<int>(DrawingPage::kWidth * scale);
    const auto height = static_cast<int>(DrawingPage::kHeight * scale);
    const Held<CBitmap> picture = Held<CBitmap>::adopt(new CBitmap(width, height));
    PlainContext plain(*picture);
    plain.setScale(scale);
    page.draw(plain);
    begin(scale);
    page.draw(*context);
    const std::vector<std::uint32_t> shown = end(scale);
    for (int i = 0; i < width * height; ++i) {
      for (int shift = 0; shift < 24; shift += 8) {
        const auto one = static_cast<int>(picture->pixels()[i] >> shift & 255U);
        const auto other = static_cast<int>(shown[at(i)] >> shift & 255U);
        // Each blending rounds by at most half a level, and some pixels are blended five times.
        ASSERT_NEAR(one, other, 3) << "scale " << scale << ", " << i % width << ", " << i / width;
      }
    }
  }
  context.reset();
  EXPECT_EQ(textures(), 0);
  EXPECT_EQ(glGetError(), unsigned{GL_NO_ERROR});
}

TEST_F(OpenGl, ShowsAChangedPictureAsItIsWhenDrawn) {
  const Held<CDIB> picture = Held<CDIB>::adopt(new CDIB(8, 8));
  const CColor colours[] = {CColor::rgb(0x102030), CColor::rgb(0x405060), CColor::rgb(0x708090)};
  for (int frame = 0; frame < 2; ++frame) {
    begin();
    float x = 0;
    for (const CColor colour : colours) {
      picture->clear(colour);
      picture->setDirty();
      context->drawBitmap(*picture, {x, 0, x + 8, 8});
      x += 8;
    }
    const std::vector<std::uint32_t> shown = end();
    EXPECT_EQ(shown[0] & 0xFFFFFFU, 0x102030U) << "frame " << frame;
    EXPECT_EQ(shown[8] & 0xFFFFFFU, 0x405060U) << "frame " << frame;
    EXPECT_EQ(shown[16] & 0xFFFFFFU, 0x708090U) << "frame " << frame;
  }
}

TEST_F(OpenGl, KeepsPicturesUntilTheyAreForgotten) {
  begin();
  context->fillRect({0, 0, 1, 1}, kWhiteCColor);
  const Held<CDIB> large = Held<CDIB>::adopt(new CDIB(100, 100));
  context->drawBitmap(*large, {0, 0, 100, 100});
  static_cast<void>(end());
  const int before = textures();
  context->forgetBitmap(*large);
  begin();
  EXPECT_EQ(textures(), before - 1);
  context->drawBitmap(*large, {0, 0, 100, 100});
  static_cast<void>(end());
  EXPECT_EQ(textures(), before);
}

// More small pictures than all pages hold: the first ones make room and come back when drawn.
TEST_F(OpenGl, PlacesMorePicturesThanFitAtOnce) {
  constexpr int kPictures = 150;
  std::vector<Held<CDIB>> pictures;
  for (int i = 0; i < kPictures; ++i) {
    pictures.push_back(Held<CDIB>::adopt(new CDIB(1000, 60)));
    pictures.back()->clear(CColor::rgb(0x010101U * static_cast<unsigned>(i + 1)));
  }
  for (int frame = 0; frame < 3; ++frame) {
    begin();
    for (int i = 0; i < kPictures; ++i) {
      const int row = i / 10;
      const auto x = static_cast<float>(i % 10 * 20);
      const auto y = static_cast<float>(row * 20);
      context->drawBitmap(*pictures[at(i)], {x, y, x + 10, y + 10}, {900, 40});
    }
    const std::vector<std::uint32_t> shown = end();
    for (int i = 0; i < kPictures; ++i) {
      const int pixel = (i / 10 * 20 + 5) * DrawingPage::kWidth + i % 10 * 20 + 5;
      ASSERT_EQ(shown[at(pixel)] & 0xFFU, static_cast<unsigned>(i + 1)) << "frame " << frame;
    }
  }
}

}  // namespace
