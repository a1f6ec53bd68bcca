// What an effect stores and what it makes of damaged documents.

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <thread>

#include "state/chunk_codec.h"
#include "tests/host/test_effect.h"
#include "tests/support/test_directory.h"

namespace {

// As sessions on disk have it: changing any byte of it breaks them.
TEST(Document, BothFormsAreExactToTheByteAndPackedAsSmallAsZlibCan) {
  TestEffect effect;
  effect.setParameter(kB2Mode, 0.1F);
  effect.setParameter(kGain, 0.0F);
  effect.setParameter(kB1Slope, 0.5F);
  effect.setParameter(kB1Slope, effect.getParameterDefault(kB1Slope));
  effect.setProgramName("A \"B\"\n\x01");
  for (const bool isPreset : {false, true}) {
    std::string text = readBytes(isPreset ? TEST_DATA "/preset.json" : TEST_DATA "/full.json");
    text.back() = '\0';
    for (const int level : {0, 1, 9}) {
      std::string packed(compressBound(text.size()), '\0');
      uLongf size = packed.size();
      compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                reinterpret_cast<const Bytef*>(text.data()), text.size(), level);
      effect.setCompressionLevel(level == 9 ? 12 : level == 0 ? -1 : level);
      void* data = nullptr;
      const auto length = effect.dispatcher(kEffectGetChunk, isPreset ? 1 : 0, 0, &data, 0);
      EXPECT_EQ(std::string(static_cast<char*>(data), static_cast<std::size_t>(length)),
                level == 0 ? text : "ZIP " + packed.substr(0, size));
    }
  }
}

TEST(Document, AFullFormIsKeptUntilSomethingChanges) {
  TestEffect effect;
  effect.chunkCacheEnabled = true;
  void* first = nullptr;
  void* again = nullptr;
  const auto isKept = [&] {
    const std::int32_t size = effect.getChunk(&first, false);
    return effect.getChunk(&again, false) == size && again == first;
  };
  // Those of values and banks are part of the walk.
  for (const bool byName : {true, false}) {
    EXPECT_TRUE(isKept());
    const std::string preset = effect.chunk(true);
    EXPECT_EQ(effect.chunk(false), preset) << "the last buffer, whatever its form";
    byName ? effect.setProgramName("B") : static_cast<void>(effect.load("{\"name\":\"C\"}", true));
    const std::string changed = effect.chunk();
    EXPECT_EQ(changed, effect.document(false));
    // What a thread was handed stays as it was until it asks again.
    effect.getChunk(&first, false);
    std::thread([&] {
      effect.setParameter(kB2Wide, effect.getParameter(kB2Wide) + 0.1F);
      EXPECT_NE(effect.chunk(), changed);
    }).join();
    EXPECT_EQ(std::string(static_cast<char*>(first), changed.size()), changed);
  }
  effect.getChunk(&first, false);
  effect.resume();
  effect.getChunk(&again, false);
  EXPECT_NE(again, first) << "a session that begins anew asks anew";
  effect.chunkCacheEnabled = false;
  effect.setProgramName("D");
  EXPECT_FALSE(isKept()) << "although it was not asked for";
}

TEST(Document, WhatIsNoDocumentChangesNothing) {
  TestEffect effect;
  for (std::int32_t i = 0; i < kNumIds; ++i) effect.setParameter(i, 0.3F);
  const std::string good = effect.chunk();
  const auto expectRefused = [&](const std::string& bytes) {
    EXPECT_TRUE(effect.load(bytes, bytes.size() % 2 == 0));
    EXPECT_TRUE(effect.chunkRefused());
    ASSERT_EQ(effect.document(false), good);
  };
  // Without its checksum, the last four bytes, and the end mark before it the text is still whole.
  for (std::size_t cut = 0; cut + 6 < good.size(); ++cut) expectRefused(good.substr(0, cut));
  for (const char* const bad : {"[1]", "7", "\"parameters\"", "null", "{\"a\":1", "ZIP {}"}) {
    expectRefused(bad);
  }
  // Well written, but made to take memory and time.
  const std::string head = R"({"parameters":{"kGain":1},"x":)";
  std::string many = head + "[0";
  for (std::size_t i = 0; i < kMostDocumentNodes; ++i) many += ",0";
  for (const std::string& text :
       {head + '"' + std::string(kMostDocumentBytes, 'x') + "\"}", many + "]}"}) {
    expectRefused(text);
    expectRefused(*packChunk(text, 1));
  }
  // The checksum sees every bit, unless the stream loses its end and with it the checksum.
  for (std::size_t bit = 0; bit < 8 * (good.size() - 16); ++bit) {
    std::string flipped = good;
    flipped[bit / 8] ^= static_cast<char>(1U << bit % 8);
    expectRefused(flipped);
  }
  EXPECT_EQ(effect.setChunk(nullptr, 5, false), 0);
  EXPECT_EQ(effect.setChunk("{}", -1, false), 0);
  EXPECT_EQ(effect.document(false), good);
  EXPECT_TRUE(effect.load(good, false));
  EXPECT_FALSE(effect.chunkRefused());
}

}  // namespace
