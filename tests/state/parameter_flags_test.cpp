#include "state/parameter_flags.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <span>

namespace {

TEST(ParameterFlags, MatchAListOfTruthsAndTheirWords) {
  constexpr int kCount = 70;
  constexpr int kNumWords = 3;
  ParameterFlags<kCount> flags;
  std::array<bool, kNumWords * 32> model{};
  std::mt19937 random(6);
  for (int turn = 0; turn < 3000; ++turn) {
    const int id = static_cast<int>(random() % 80) - 5;
    const bool on = random() % 2 == 0;
    if (turn % 50 == 0) {
      // As documents hold them: too few, as many or too many.
      std::array<std::int32_t, kNumWords + 1> words{};
      for (std::int32_t& word : words) word = static_cast<std::int32_t>(random());
      const std::size_t given = random() % 5;
      flags.setWords(std::span(words).first(given));
      for (std::size_t i = 0; i < std::min<std::size_t>(given * 32, kCount); ++i) {
        model.at(i) = (static_cast<std::uint32_t>(words.at(i / 32)) >> i % 32 & 1U) != 0;
      }
    } else if (turn % 401 == 0) {
      flags.clear();
      model = {};
    } else {
      flags.set(id, on);
      if (id >= 0 && id < kCount) model.at(static_cast<std::size_t>(id)) = on;
    }
    const auto words = flags.words();
    ASSERT_EQ(words.size(), std::size_t{kNumWords});
    for (int i = -5; i < 75; ++i) {
      ASSERT_EQ(flags.get(i), i >= 0 && model.at(static_cast<std::size_t>(i))) << i;
    }
    for (std::size_t i = 0; i < model.size(); ++i) {
      const bool inWord = (static_cast<std::uint32_t>(words.at(i / 32)) >> i % 32 & 1U) != 0;
      ASSERT_EQ(inWord, model.at(i)) << i;
    }
  }
}

}  // namespace
