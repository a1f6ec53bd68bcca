#include "toolkit/face.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/resources.h"
#include "toolkit/baked_font.h"
#include "toolkit/kept_resources.h"
#include "toolkit/label_cache.h"

namespace {

// Where a table of a TrueType file begins.
std::size_t tableOf(std::string_view file, std::string_view tag) {
  const std::size_t entry = file.find(tag);
  std::size_t offset = 0;
  for (std::size_t i = 8; i < 12; ++i) {
    offset = offset << 8 | static_cast<unsigned char>(file[entry + i]);
  }
  return offset;
}

void useAll(const Face& face) {
  std::vector<std::uint8_t> pixels(std::size_t{16} * 2 * 13 * 16 * 2 * 13);
  for (const char32_t character : {U'A', U'g', U'\u00E4', U'\u2022', U'\uF0E2', U'\uFFFF'}) {
    const Face::Box box = face.box(character, 13.0F, 0.5F);
    ASSERT_LE(std::max(box.width(), box.height()), 16 * 2 * 13);
    if (box.isEmpty()) continue;
    face.rasterise(character, 13.0F, 0.5F, pixels.data(), box.width());
    ASSERT_TRUE(std::isfinite(face.advance(character, 13.0F)));
  }
}

TEST(Face, DamagedBytesGiveNone) {
  const std::string good(findResource("TTF", "DSP-Bold"));
  ASSERT_TRUE(Face::read(good));
  const struct {
    const char* what;
    const char* table;
    std::size_t at;
    std::string bytes;
  } cases[] = {{"version", nullptr, 0, "OTTO"},
               {"count of tables", nullptr, 4, "\x7F"},
               {"units", "head", 18, {"\0\1", 2}},
               {"form of places", "head", 50, {"\0\2", 2}},
               {"no height", "hhea", 4, {"\0\0\0\0", 4}},
               {"no advances", "hhea", 34, {"\0\0", 2}},
               {"too many glyphs", "maxp", 4, "\xFF\xFF"},
               {"place of a glyph", "loca", 8, "\x7F\xFF"},
               {"first contour's end", "glyf", 10, "\xFF\xFE"},
               {"form of characters", "cmap", 4 + 8, {"\0\0\0\2", 4}}};
  for (const auto& [what, table, at, bytes] : cases) {
    std::string bad = good;
    const std::size_t start = table != nullptr ? tableOf(bad, table) : 0;
    bad.replace(start + at, bytes.size(), bytes);
    EXPECT_FALSE(Face::read(bad)) << what;
  }
  for (std::size_t size = 0; size < good.size(); size += 97) {
    EXPECT_FALSE(Face::read(std::string_view(good).substr(0, size))) << size << " bytes";
  }
  constexpr unsigned kSeed = 11;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 2000; ++i) {
    std::string odd = good;
    for (int k = 0; k < 4; ++k) odd[random() % odd.size()] = static_cast<char>(random());
    const auto face = Face::read(odd);
    if (face) useAll(*face);
    ASSERT_FALSE(HasFatalFailure()) << "try " << i << ", seed " << kSeed;
  }
}

TEST(Face, TextsAreReadAsUtf8) {
  EXPECT_EQ(codePoints("A\xC3\xA4\xE2\x80\xA2\xF0\x9F\x8E\x9A"), U"A\u00E4\u2022\U0001F39A");
  // Cut off, overlong, a surrogate, beyond the last, a stray byte.
  EXPECT_EQ(codePoints("\xE2\x80"), U"\uFFFD\uFFFD");
  EXPECT_EQ(codePoints("\xC0\x80z"), U"\uFFFD\uFFFDz");
  EXPECT_EQ(codePoints("\xE0\x80\xAF"), U"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(codePoints("\xED\xA0\x80"), U"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(codePoints("\xF4\x90\x80\x80"), U"\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(BakedFont, LiesInOneRowTwoPixelsApart) {
  for (const char* name : {"DSP-Bold", "OpenSans-Regular"}) {
    const auto face = Face::find(name);
    ASSERT_TRUE(face);
    EXPECT_EQ(face, Face::find(name)) << "read once";
    for (const float size : {9.0F, 13.75F, 60.0F}) {
      SCOPED_TRACE(testing::Message() << name << " at " << size);
      const BakedFont font(face, size);
      EXPECT_EQ(font.ascent(), static_cast<int>(std::lround(1755.0 / 2048.0 * size)));
      int x = 0;
      int height = 0;
      for (int code = 32; code < 128; ++code) {
        const char32_t shown = code == 36    ? 0x2022
                               : code == 126 ? 0x2190
                               : code == 127 ? 0x2192
                                             : static_cast<char32_t>(code);
        const Face::Box box = face->box(shown, size);
        const BakedFont::Glyph& glyph = font.glyph(static_cast<char>(code));
        EXPECT_EQ(glyph.character, shown);
        EXPECT_EQ(glyph.x0, x) << code;
        EXPECT_EQ(glyph.x1 - glyph.x0, box.width()) << code;
        EXPECT_EQ(glyph.y1 - glyph.y0, box.height()) << code;
        EXPECT_EQ(glyph.xOffset, box.left) << code;
        EXPECT_EQ(glyph.yOffset, box.top) << code;
        EXPECT_FLOAT_EQ(glyph.advance, face->advance(shown, size)) << code;
        // The picture is the glyph's own: white times coverage.
        std::vector<std::uint8_t> own(static_cast<std::size_t>(box.width() * box.height()));
        face->rasterise(shown, size, 0.0F, own.data(), box.width());
        for (std::size_t i = 0; i < own.size(); ++i) {
          const int row = static_cast<int>(i) / box.width();
          const int column = static_cast<int>(i) % box.width();
          ASSERT_EQ(font.atlas().pixels()[row * font.atlas().getWidth() + x + column],
                    own[i] * 0x01010101U);
        }
        x += box.width() + 2;
        height = std::max(height, box.height());
      }
      EXPECT_EQ(font.atlas().getWidth(), x);
      EXPECT_EQ(font.atlas().getHeight(), height);
      EXPECT_FLOAT_EQ(font.width("-24.5 dB"), face->width("-24.5 dB", size));
    }
  }
  const BakedFont none(nullptr, 12.0F);
  std::vector<DeviceQuad> quads;
  none.place("text", {}, quads);
  EXPECT_EQ(none.width("text"), 0.0F);
  EXPECT_TRUE(quads.empty());
}

TEST(BakedFont, SmallLettersAreSplitAtEmptyColumns) {
  for (const bool isDouble : {false, true}) {
    const BakedPixelFont font(CBitmap::load(101, isDouble), 1);
    int last = -1;
    for (const char letter :
         std::string("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz.%-,+#:/")) {
      EXPECT_EQ(font.glyph(letter).x0, last + 1) << letter;
      EXPECT_GT(font.glyph(letter).x1, font.glyph(letter).x0) << letter;
      last = font.glyph(letter).x1;
    }
    EXPECT_EQ(last, font.atlas().getWidth());
    EXPECT_EQ(font.width("!?"), 2.0F * font.glyph(' ').advance);
    EXPECT_GT(font.glyph(' ').advance, 0.0F);
  }
  EXPECT_EQ(BakedPixelFont({}, 1).width("0"), 0.0F);
}

TEST(KeptResources, LastUntilTheLastOneIsGone) {
  auto first = std::make_unique<KeptResources>();
  const Held<CBitmap> picture = CBitmap::load(101);
  const std::weak_ptr<const Face> face = Face::find("DSP-Bold");
  auto second = std::make_unique<KeptResources>();
  first.reset();
  EXPECT_EQ(CBitmap::load(101).get(), picture.get());
  EXPECT_FALSE(face.expired());
  second.reset();
  EXPECT_NE(CBitmap::load(101).get(), picture.get());
  EXPECT_TRUE(face.expired());
  EXPECT_FALSE(CBitmap::load(0));
}

TEST(LabelCache, KeepsWhatWasUsedLast) {
  const auto face = Face::find("OpenSans-Regular");
  int left = 0;
  StaticTextLabelCache cache([&](const CBitmap& /*label*/) { ++left; });
  const auto first = cache.find("first", face, 12.0F);
  EXPECT_EQ(cache.find("first", face, 12.0F).picture.get(), first.picture.get());
  EXPECT_NE(cache.find("first", face, 12.5F).picture.get(), first.picture.get());
  EXPECT_NE(cache.find("first", Face::find("DSP-Bold"), 12.0F).picture.get(), first.picture.get());
  EXPECT_EQ(cache.find("~$", face, 12.0F).width, face->width("\u2190\u2022", 12.0F));
  EXPECT_EQ(cache.find("~$", face, 12.0F, true).width, face->width("~$", 12.0F));
  for (std::size_t i = 5; i < StaticTextLabelCache::kMostLabels + 100; ++i) {
    static_cast<void>(cache.find(std::to_string(i), face, 10.0F));
    if (i == 500) static_cast<void>(cache.find("first", face, 12.0F));
  }
  EXPECT_EQ(cache.size(), StaticTextLabelCache::kMostLabels);
  EXPECT_EQ(left, 100);
  EXPECT_EQ(cache.find("first", face, 12.0F).picture.get(), first.picture.get());
  cache.clear();
  EXPECT_EQ(left, 100 + static_cast<int>(StaticTextLabelCache::kMostLabels));
  EXPECT_TRUE(cache.find("none", nullptr, 12.0F).picture->isEmpty());
}

}  // namespace
