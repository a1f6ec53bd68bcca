#include "dynamics/chain_parts.h"

#include <gtest/gtest.h>

#include <memory>

#include "dynamics/band_layout.h"
#include "dynamics/output_levels.h"

namespace {

constexpr double kRate = 48000.0;

/// A control side that provides for chains and publishes them.
struct Control {
  void change(int list, bool hadTaken, bool oversampling = false) {
    layout.moveBand(0, list, 1000.0);
    parts.provide(StagePlan::of(layout), oversampling, kRate);
    parts.published(hadTaken);
  }
  [[nodiscard]] std::shared_ptr<BandParts> band() const { return parts.latest()->bands[0]; }

  BandLayout layout;
  PartsOwner parts;
};

TEST(PartsOwnerTest, KeepsWhatTheAudioThreadMayUseUntilItHasOthers) {
  Control control;
  control.change(kXoverList, true);
  const std::weak_ptr<BandParts> first = control.band();
  ASSERT_NE(control.band(), nullptr);
  EXPECT_EQ(control.parts.latest()->bands[1], nullptr);
  EXPECT_EQ(control.parts.latest()->products[0], nullptr);
  EXPECT_NE(control.parts.latest()->crossover, nullptr);

  control.change(kOffList, true);  // the audio thread has the band, and may have it still
  EXPECT_FALSE(first.expired());
  control.change(kXoverList, false, true);  // nor has it heard that the band was off
  EXPECT_EQ(control.band(), first.lock()) << "its past goes on";
  EXPECT_NE(control.parts.latest()->products[0], nullptr);
  control.change(kPreList, true);
  EXPECT_NE(control.band(), first.lock()) << "as a stage it needs more";
  EXPECT_EQ(control.parts.latest()->crossover, nullptr);
  EXPECT_FALSE(first.expired());
  control.change(kOffList, false);
  control.change(kOffList, false);
  EXPECT_FALSE(first.expired()) << "nothing newer was taken";
  control.parts.taken();
  EXPECT_TRUE(first.expired());

  control.change(kPreList, true);
  const std::weak_ptr<BandParts> last = control.band();
  control.parts.superseded(true);  // the audio thread has the band, and hears of another chain
  control.change(kOffList, true);
  EXPECT_FALSE(last.expired());
  control.parts.superseded(false);
  control.change(kOffList, true);
  EXPECT_FALSE(last.expired()) << "it was the other chain that was taken";
}

// What nobody reads is not kept.
TEST(OnDemandTest, KeepsSamplesForAsLongAsThereAreReaders) {
  OutputFeed feed;
  const float sample = 0.5F;
  const float* const signals[] = {&sample, &sample};
  feed.write(signals, 2, 1);
  EXPECT_EQ(feed.samples(), nullptr);
  EXPECT_EQ(feed.position(), 0U);
  std::weak_ptr<const OutputFeed::Samples> kept;
  {
    const OutputLevels first(feed);
    { const OutputLevels second(feed); }
    kept = feed.samples();
    feed.write(signals, 2, 1);
    EXPECT_EQ(kept.lock()->sample(1, 0), 0.5F);
    const std::size_t size = kept.lock()->size();
    feed.setSampleRate(192000.0);
    EXPECT_TRUE(kept.expired());
    kept = feed.samples();
    EXPECT_EQ(kept.lock()->size(), 4 * size) << "as long as the rate asks";
  }
  EXPECT_TRUE(kept.expired());
}

}  // namespace
