// The curves that the built program prints, against closed forms and against what it does.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "apps/text.h"
#include "state/json_document.h"
#include "tests/apps/program.h"

namespace {

struct Row {
  double x;
  double y;
};

/// The rows of a CSV text under `header`; "-inf" is minus infinity.
std::vector<Row> readRows(const std::string& text, const std::string& header) {
  EXPECT_TRUE(text.starts_with(header + "\n")) << text.substr(0, 40);
  std::vector<Row> rows;
  for (std::size_t at = text.find('\n') + 1; at < text.size(); at = text.find('\n', at) + 1) {
    const std::string line = text.substr(at, text.find('\n', at) - at);
    const std::size_t comma = line.find(',');
    const std::string y = line.substr(comma + 1);
    const auto number = finiteNumber(y);
    EXPECT_TRUE(number || y == "-inf") << line;
    rows.push_back({finiteNumber(line.substr(0, comma)).value_or(-1.0),
                    number.value_or(-std::numeric_limits<double>::infinity())});
  }
  return rows;
}

std::vector<Row> curve(const std::string& arguments) {
  const ProgramRun result = runProgram("curve " + arguments);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return readRows(result.out, "frequency,dB");
}

double decibels(double magnitude) { return 20.0 * std::log10(magnitude); }

/// A crossover split's low-pass and what is left of it.
double low(double ratio, double slope) { return 1.0 / (1.0 + std::pow(ratio, slope / 6.0)); }
double high(double ratio, double slope) { return 1.0 / (1.0 + std::pow(ratio, -slope / 6.0)); }

/// A Butterworth low-pass of the order that `slope` asks for.
double butterworth(double ratio, double slope) {
  return 1.0 / std::sqrt(1.0 + std::pow(ratio, slope / 3.0));
}

// Splits at 1000 and 4000 Hz, and one band behind the crossover.
const std::string kThree =
    " --set kB1Frequency=500 --set kB2State=1 --set kB2Frequency=2000 --set kB3State=1"
    " --set kB3Frequency=8000 --set kB2Slope=48";
const std::string kBehind = " --set kB2State=1 --set kB2Type=1";

TEST(CurveCommand, drawsTheClosedForms) {
  const struct {
    std::string arguments;
    std::function<double(double)> magnitude;  // by Hz
  } cases[] = {
      {"--band 1" + kThree, [](double f) { return low(f / 1000.0, 24.0); }},
      {"--band 2" + kThree,
       [](double f) { return high(f / 1000.0, 24.0) * low(f / 4000.0, 48.0); }},
      {"--band 3" + kThree,
       [](double f) { return high(f / 1000.0, 24.0) * high(f / 4000.0, 48.0); }},
      {"--band 2 --set kB2SubType=4 --set kB2Slope=36 --set kB2Frequency=300" + kBehind,
       [](double f) { return butterworth(f / 300.0, 36.0); }},
      {"--band 2 --rate 22050 --setn kB2SubType=0.857142857 --set kB2Slope=12" + kBehind,
       [](double f) { return butterworth(1000.0 / f, 12.0); }},
      // Its upper edge would lie at 1.93 times the frequency, past half the rate.
      {"--band 2 --rate 20000 --set kB2SubType=1 --set kB2Frequency=8000 --set kB2Slope2=12" +
           kBehind,
       [](double f) {
         const double ratio =
             std::sqrt(1.0 + (0.5 + std::sqrt(0.71 * 0.71 + 0.25)) / (0.71 * 0.71));
         return butterworth(8000.0 / ratio / f, 12.0) * butterworth(f / 10000.0, 24.0);
       }},
      {"--band 2 --set kB2SubType=7" + kBehind, [](double) { return 1.0; }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const std::vector<Row> rows = curve(c.arguments);
    ASSERT_EQ(rows.size(), 512U);
    EXPECT_EQ(rows.front().x, 10.0);
    EXPECT_EQ(rows.back().x, 24000.0);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      // Frequencies, as the parameters that set the splits, have the seven digits of a float; a
      // slope turns what they lack into decibels.
      ASSERT_NEAR(rows[i].x / (10.0 * std::pow(2400.0, static_cast<double>(i) / 511.0)), 1.0, 1e-7);
      const double level = decibels(c.magnitude(rows[i].x));
      // Deeper, what a split leaves beside its low-pass is lost in the digits of a 1.
      if (level < -200.0) {
        ASSERT_LT(rows[i].y, -199.0) << rows[i].x << " Hz";
      } else {
        ASSERT_NEAR(rows[i].y, level, 1e-4) << rows[i].x << " Hz";
      }
    }
  }
}

TEST(CurveCommand, whatIsHeardIsWhatIsDrawn) {
  const struct {
    int rate;
    std::string arguments;
  } cases[] = {
      {48000, "--band 1 --set kB2State=1 --set kB2Frequency=9000"},
      {44100, "--band 2 --set kB2State=1 --set kB2Frequency=16000 --set kB1Solo=1"},
      {48000, "--band 2 --set kB2SubType=3 --set kB2Frequency=3000" + kBehind},
      {96000, "--band 2 --set kB2SubType=5 --set kB2Frequency=5000 --set kB2Slope=12" + kBehind},
      {44100, "--band 1 --set kB1Type=1 --set kB1Frequency=4000 --set kB1Lookahead=20"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const std::string arguments = c.arguments + " --rate " + std::to_string(c.rate);
    const std::vector<Row> drawn = curve(arguments);
    const std::vector<Row> measured = curve(arguments + " --measured");
    ASSERT_FALSE(measured.empty());
    ASSERT_LE(measured.size(), drawn.size());
    EXPECT_LE(measured.back().x, c.rate / 2.0);
    if (measured.size() < drawn.size()) {
      EXPECT_GT(drawn[measured.size()].x, c.rate / 2.0);
    }
    int compared = 0;
    double lowest = 0.0;
    for (std::size_t i = 0; i < measured.size(); ++i) {
      ASSERT_EQ(measured[i].x, drawn[i].x);
      // Below, the kernels are too short to follow.
      if (drawn[i].x < 300.0 || drawn[i].y < -40.0) continue;
      ASSERT_NEAR(measured[i].y, drawn[i].y, 0.1) << drawn[i].x << " Hz";
      lowest = std::min(lowest, drawn[i].y);
      ++compared;
    }
    EXPECT_GT(compared, 150);
    EXPECT_LT(lowest, -12.0);
  }
}

TEST(CurveCommand, theImpulseComesWithTheLatency) {
  const struct {
    std::string settings;
    double gain;
  } cases[] = {{"", 1.0},
               {" --set kB1Lookahead=0 --rate 96000 --set kIpTrim=-3", std::pow(10.0, -0.15)}};
  for (const auto& [settings, gain] : cases) {
    const auto late = finiteNumber(runProgram("latency" + settings).out);
    ASSERT_TRUE(late);
    const ProgramRun result = runProgram("curve --band 1 --measured --impulse" + settings);
    const std::vector<Row> rows = readRows(result.out, "sample,value");
    ASSERT_GE(static_cast<double>(rows.size()), *late + 4096.0);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      ASSERT_EQ(rows[i].x, static_cast<double>(i));
      ASSERT_NEAR(rows[i].y, rows[i].x == *late ? gain : 0.0, 1e-12) << "sample " << i;
    }
  }
}

TEST(CurveCommand, jsonHoldsTheSameCurve) {
  const struct {
    std::string arguments;
    const char* kind;
    double band;
    double rate;
    bool measured;
  } cases[] = {
      // So steep that the first points are silence.
      {"--band 2 --set kB2SubType=5 --set kB2Slope=96 --set kB2Frequency=20000" + kBehind,
       "dynamic EQ", 2.0, 48000.0, false},
      {"--band 1 --measured --rate 32000" + kThree, "crossover", 1.0, 32000.0, true},
      {"--band 1 --measured --set kOpTrim=-24 --setn kWetDry=0" + kThree, "crossover", 1.0, 48000.0,
       true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const std::string arguments = "--points 60 " + c.arguments;
    const std::vector<Row> rows = curve(arguments);
    const JsonTree tree(jsonParse(runProgram("curve --json " + arguments).out.c_str()));
    const auto item = [&tree](const char* key) { return jsonGetObjectItem(tree.get(), key); };
    ASSERT_TRUE(tree && item("points"));
    EXPECT_STREQ(item("kind")->valueString, c.kind);
    EXPECT_EQ(item("band")->valueDouble, c.band);
    EXPECT_EQ(item("rate")->valueDouble, c.rate);
    EXPECT_EQ(item("measured")->type & kJsonTypeMask, c.measured ? kJsonTrue : kJsonFalse);
    ASSERT_EQ(jsonGetArraySize(item("points")), static_cast<int>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const JsonNode* const point = jsonGetArrayItem(item("points"), static_cast<int>(i));
      const JsonNode* const level = jsonGetObjectItem(point, "dB");
      EXPECT_NEAR(jsonGetObjectItem(point, "frequency")->valueDouble, rows[i].x, 1e-9 * rows[i].x);
      if (std::isfinite(rows[i].y)) {
        EXPECT_NEAR(level->valueDouble, rows[i].y, 1e-9);
      } else {
        EXPECT_EQ(level->type & kJsonTypeMask, kJsonNull);
      }
    }
  }
}

TEST(CurveCommand, aBandOutsideTheChainIsToldHowToGetIn) {
  const std::string on = " --set kB3State=1 --set kB3Frequency=3000";
  const std::string among =
      " --set kB2State=1 --set kB2Frequency=2000 --set kB4State=1 --set kB4Frequency=8000";
  for (const std::string& settings :
       {on, on + " --set kB3Type=1", on + " --set kB3Type=1 --set kB1State=0",
        on + among + " --set kB3Type=1"}) {
    const ProgramRun refused = runProgram("curve --band 3" + settings);
    EXPECT_EQ(refused.status, 1);
    const std::size_t hint = refused.err.find("--set kBandOrder=");
    ASSERT_NE(hint, std::string::npos) << refused.err;
    const std::string order = refused.err.substr(hint, refused.err.find('\n') - hint);
    const std::vector<Row> rows = curve("--band 3" + settings + " " + order);
    ASSERT_FALSE(rows.empty());
    EXPECT_LT(rows.front().y, -10.0);
  }
}

}  // namespace
