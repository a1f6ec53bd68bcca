// What an effect stores and what it makes of documents.

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

#include "host/plug_base_json.h"
#include "state/chunk_codec.h"
#include "tests/host/test_effect.h"

namespace {

class DocumentTest : public testing::Test {
 protected:
  DocumentTest() { effect.getAeffect()->user = &host; }

  std::string chunk(bool isPreset = false) {
    void* data = nullptr;
    const auto size = static_cast<std::size_t>(effect.getChunk(&data, isPreset));
    return {static_cast<const char*>(data), size};
  }
  /// The text that a chunk holds, unpacked apart from the code under test.
  static std::string textOf(const std::string& chunk) {
    EXPECT_EQ(chunk.substr(0, 4), "ZIP ");
    std::string text(1 << 20, '\0');
    uLongf size = text.size();
    const auto* const packed = reinterpret_cast<const Bytef*>(chunk.data() + 4);
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(text.data()), &size, packed, chunk.size() - 4),
              Z_OK);
    text.resize(size);
    return text;
  }
  std::string text(bool isPreset = false) { return textOf(chunk(isPreset)); }
  void load(const std::string& bytes, bool isPreset = false) {
    const auto size = static_cast<std::int32_t>(bytes.size());
    EXPECT_EQ(effect.setChunk(bytes.data(), size, isPreset), size);
  }

  HostRecorder host;
  TestEffect effect;
};

std::string withZero(const std::string& text) { return text + '\0'; }

// By hand, as sessions on disk have it: changing any byte of it breaks them.
TEST_F(DocumentTest, BothFormsAreExactToTheByte) {
  effect.setParameter(kB2Mode, 0.1F);
  effect.setParameter(kGain, 0.0F);
  effect.setParameter(kB1Slope, 0.5F);
  effect.setParameter(kB1Slope, effect.getParameterDefault(kB1Slope));
  effect.setProgramName("A \"B\"\n\x01");
  const std::string parameters =
      "\"parameters\":\t{\n%\t\"kGain\":\t0,\n%\t\"kB2Mode\":\t0.1000000015\n%}";
  const auto at = [&](const std::string& tabs) {
    std::string result = parameters;
    for (std::size_t i; (i = result.find('%')) != std::string::npos;) result.replace(i, 1, tabs);
    return result;
  };
  const std::string usual = "{\n\t\t\t\"parameters\":\t\"default\"\n\t\t}";
  std::string banks = "{\n\t\t\t" + at("\t\t\t") + "\n\t\t}";
  for (int i = 0; i < 7; ++i) banks += ", " + usual;
  EXPECT_EQ(text(), withZero("{\n\t\"presets\":\t[{\n\t\t\t" + at("\t\t\t") +
                             ",\n\t\t\t\"name\":\t\"A \\\"B\\\"\\n\\u0001\"\n\t\t}, "
                             "{\n\t\t\t\"parameters\":\t\"default\",\n\t\t\t\"name\":\t\"None\"\n"
                             "\t\t}],\n\t\"ab\":\t[" +
                             banks + "]\n}"));
  EXPECT_EQ(text(true),
            withZero("{\n\t" + at("\t") + ",\n\t\"name\":\t\"A \\\"B\\\"\\n\\u0001\"\n}"));
  effect.setCompressionLevel(0);
  EXPECT_EQ(chunk(true).substr(0, 16), "{\n\t\"parameters\":");
  EXPECT_EQ(chunk(true).back(), '\0');
}

TEST_F(DocumentTest, AChunkIsPackedAsSmallAsZlibCan) {
  for (std::int32_t i = 0; i < kNumIds; ++i) effect.setParameter(i, 0.123456F);
  const std::string plain = text();
  std::string packed(compressBound(plain.size()), '\0');
  uLongf size = packed.size();
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
            reinterpret_cast<const Bytef*>(plain.data()), plain.size(), 9);
  EXPECT_EQ(chunk(), "ZIP " + packed.substr(0, size));
}

TEST_F(DocumentTest, AFullFormIsKeptUntilSomethingChanges) {
  void* first = nullptr;
  void* again = nullptr;
  effect.chunkCacheEnabled = true;
  const std::int32_t size = effect.getChunk(&first, false);
  EXPECT_FALSE(effect.chunkDirty);
  EXPECT_EQ(effect.getChunk(&again, false), size);
  EXPECT_EQ(again, first);
  const std::string preset = chunk(true);
  EXPECT_EQ(chunk(false), preset) << "the last buffer, whatever its form";
  const std::function<void()> changes[] = {[&] { effect.setParameter(kGain, 0.5F); },
                                           [&] { effect.resume(); },
                                           [&] { effect.switchBank(3); },
                                           [&] { effect.copyToBank(4); },
                                           [&] { effect.setProgramName("B"); },
                                           [&] { effect.setChunk("{}", 3, true); },
                                           [&] { effect.setParameterFromAudio(kGain, 0.7F); }};
  for (const auto& change : changes) {
    static_cast<void>(chunk());
    change();
    EXPECT_TRUE(effect.chunkDirty) << &change - changes;
    const std::string changed = text();
    effect.chunkDirty = true;
    EXPECT_EQ(changed, text()) << &change - changes;
  }
  effect.chunkCacheEnabled = false;
  effect.chunkDirty = true;
  static_cast<void>(chunk());
  EXPECT_TRUE(effect.chunkDirty);
}

// The values that a document leaves in "kGain", "kB1State", "kB1Slope" of the program, bank A and
// bank H, where the effect held 0.25 everywhere.
TEST_F(DocumentTest, DocumentsOfAllAgesLoad) {
  const float g = 0.625F, one = 1.0F, q = 0.25F;  // defaults, and what was there
  const float slope = effect.getParameterDefault(kB1Slope);
  const struct {
    const char* text;
    bool isPreset;
    float gain, state, slope, gainA, gainH;
    const char* name;
  } cases[] = {
      {R"({"presets":[{"parameters":{"kGain":0.5},"name":"X"}],"ab":[{"parameters":{"kGain":0.1}}]})",
       false, 0.5F, one, slope, 0.1F, q, "X"},
      {R"({"PRESETS":[{"Parameters":{"kGain":0.5}}],"AB":[{},{},{},{},{},{},{},{"parameters":"default"},{}]})",
       false, 0.5F, one, slope, g, g, "Old"},
      {R"({"presets":[{"parameters":{"kGain":0.5,"kB1Slope":0.75}}]})", false, 0.5F, one, 0.75F,
       0.5F, 0.5F, "Old"},
      {R"({"name":"Old one","parameters":{"kGain":0.5}})", false, 0.5F, one, slope, 0.5F, q,
       "Old one"},
      {R"({"parameters":"default","name":"P"})", true, g, one, slope, g, q, "P"},
      {R"({"name":"P","presets":[{"parameters":{"kGain":0.5},"name":"X"},{}]})", true, 0.5F, one,
       slope, 0.5F, q, "P"},
      {R"({"parameters":{"kB1Slope":0.5,"nonsense":3,"KGAIN":0.9,"kGain":0.5,"kNumIds":1}})", true,
       0.5F, one, 0.5F, 0.5F, q, "Old"},
      {R"({"parameters":{"kGain":"0.5","kB1State":true,"kB1Slope":null},"name":7})", true, 0, 0, 0,
       0, q, "Old"},
      {R"({"parameters":{"kGain":5,"kB1State":-1,"kB1Slope":1e999}})", true, one, 0, slope, one, q,
       "Old"},
      {R"({"parameters":{"kGain":0.1,"kGain":0.2}} trailing)", true, 0.2F, one, slope, 0.2F, q,
       "Old"},
      {"{}", true, g, one, slope, g, q, "Old"},
      {R"({"presets":[]})", true, g, one, slope, g, q, "Old"},
      {R"({"presets":7,"ab":"x"})", false, q, q, q, q, q, "Old"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    for (std::int32_t i = 0; i < kNumIds; ++i) {
      if (i != kABBank) effect.setParameter(i, q);
    }
    for (int bank = 0; bank < 8; ++bank) effect.copyToBank(bank);
    effect.setProgramName("Old");
    effect.takeUpdates();
    load(c.text, c.isPreset);
    EXPECT_FALSE(effect.chunkRefused());
    EXPECT_EQ(effect.takeUpdates().back(), 'F');
    EXPECT_EQ(effect.getParameter(kGain), c.gain);
    EXPECT_EQ(effect.getParameter(kB1State), c.state);
    EXPECT_EQ(effect.getParameter(kB1Slope), c.slope);
    EXPECT_EQ(effect.banks[0].values[kGain], c.gainA);
    EXPECT_EQ(effect.banks[7].values[kGain], c.gainH);
    EXPECT_STREQ(effect.programs[0].name.data(), c.name);
    EXPECT_FALSE(effect.isLoading);
  }
}

TEST_F(DocumentTest, APresetChangesTheLiveBankAndLeavesItSelected) {
  effect.setParameter(kABBank, 0.25F);
  load(R"({"parameters":{"kGain":0.5,"kABBank":0.875}})", true);
  EXPECT_EQ(effect.getCurrentBank(), 2);
  EXPECT_EQ(effect.getPlainValue(kABBank), 2);
  EXPECT_EQ(effect.banks[2].values[kGain], 0.5F);
  EXPECT_EQ(effect.banks[0].values[kGain], 0.625F);
}

TEST_F(DocumentTest, WhatIsNoDocumentChangesNothing) {
  for (std::int32_t i = 0; i < kNumIds; ++i) effect.setParameter(i, 0.3F);
  const std::string good = chunk();
  const std::string before = text();
  const auto expectRefused = [&](const std::string& bytes) {
    load(bytes);
    EXPECT_TRUE(effect.chunkRefused());
    ASSERT_EQ(text(), before);
  };
  // Without its checksum, the last four bytes, and the end mark before it the text is still whole.
  for (std::size_t cut = 0; cut + 6 < good.size(); ++cut) expectRefused(good.substr(0, cut));
  const std::string bad[] = {"",     "ZIP ",     "[1]",   "7", "\"parameters\"",
                             "null", "{\"a\":1", "ZIP {}"};
  for (const std::string& bytes : bad) expectRefused(bytes);
  // Well written, but made to take memory and time.
  const std::string head = R"({"parameters":{"kGain":1},"x":)";
  const std::string huge[] = {head + '"' + std::string(2 * kMostDocumentBytes, 'x') + "\"}",
                              head + '[' + std::string(2 * kMostDocumentNodes + 1, '0') + "]}"};
  for (std::string text : huge) {
    for (std::size_t i = 0; (i = text.find("00", i)) != std::string::npos; ++i) text[i + 1] = ',';
    expectRefused(text);
    expectRefused(*packChunk(text, 9));
  }
  // The checksum sees every bit, unless the stream loses its end and with it the checksum.
  std::mt19937 random(5);
  for (int i = 0; i < 2000; ++i) {
    std::string flipped = good;
    flipped[random() % (flipped.size() - 16)] ^= static_cast<char>(1U << random() % 8);
    expectRefused(flipped);
  }
  EXPECT_EQ(effect.setChunk(nullptr, 5, false), 0);
  EXPECT_EQ(effect.setChunk("{}", -1, false), 0);
  EXPECT_EQ(text(), before);
  load(good);
  EXPECT_FALSE(effect.chunkRefused());
}

TEST_F(DocumentTest, RandomValuesComeBackToTenPlaces) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> anywhere(0.0F, 1.0F);
  TestEffect other(nullptr);
  for (int round = 0; round < 500; ++round) {
    for (std::int32_t i = 0; i < kABBank; ++i) effect.setParameter(i, anywhere(random));
    effect.setParameter(kABBank, anywhere(random));
    const std::string bytes = chunk();
    other.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), false);
    for (std::size_t i = 0; i < kABBank; ++i) {
      ASSERT_NEAR(other.programs[0].values[i], effect.programs[0].values[i], 0.6e-10);
      for (std::size_t b = 0; b < 8; ++b) {
        ASSERT_NEAR(other.banks[b].values[i], effect.banks[b].values[i], 0.6e-10);
      }
    }
  }
}

}  // namespace
