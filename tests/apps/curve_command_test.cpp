// The curves that the built program prints, against closed forms and against what it does.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
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
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, header);
  std::vector<Row> rows;
  while (std::getline(lines, line)) {
    const std::size_t comma = line.find(',');
    const std::string y = line.substr(comma + 1);
    const auto number = finiteNumber(y);
    EXPECT_TRUE(number || y == "-inf") << line;
    rows.push_back({finiteNumber(line.substr(0, comma)).value_or(-1.0),
                    number.value_or(-std::numeric_limits<double>::infinity())});
  }
  return rows;
}

class CurveCommand : public ProgramTest {
 protected:
  /// A curve as it is printed, which is that of its document.
  [[nodiscard]] std::vector<Row> curve(const std::string& arguments, int rate = 48000) const {
    const std::string all = "curve " + arguments + " --rate " + std::to_string(rate);
    std::vector<Row> rows = readRows(answer(all), "frequency,dB");
    const JsonTree tree(jsonParse(answer(all + " --json").c_str()));
    const auto item = [&tree](const char* key) { return jsonGetObjectItem(tree.get(), key); };
    const bool isMeasured = arguments.find("--measured") != std::string::npos;
    EXPECT_EQ(item("band")->valueDouble, arguments[arguments.find("--band ") + 7] - '0');
    EXPECT_EQ(item("rate")->valueDouble, rate);
    EXPECT_TRUE(jsonIsType(item("measured"), isMeasured ? kJsonTrue : kJsonFalse));
    EXPECT_STREQ(item("kind")->valueString,
                 arguments.find("Type=1") == std::string::npos ? "crossover" : "dynamic EQ");
    EXPECT_EQ(jsonGetArraySize(item("points")), static_cast<int>(rows.size()));
    const JsonNode* point = item("points")->child;
    for (const Row& row : rows) {
      const JsonNode* const level = jsonGetObjectItem(point, "dB");
      EXPECT_NEAR(jsonGetObjectItem(point, "frequency")->valueDouble, row.x, 1e-9 * row.x);
      EXPECT_TRUE(std::isfinite(row.y) ? std::abs(level->valueDouble - row.y) < 1e-9
                                       : jsonIsType(level, kJsonNull));
      point = point->next;
    }
    return rows;
  }
};

/// The product that a text names: "split< 1000/24" is the low part of a split at 1 kHz with 24 dB
/// per octave, "split>" the high one; "pass<" and "pass>" are the filters of a dynamic EQ band.
double magnitude(const std::string& text, double hertz) {
  std::istringstream words(text);
  double product = 1.0;
  double at = 0.0;
  double slope = 0.0;
  char slash = '/';
  for (std::string kind; words >> kind && words >> at >> slash >> slope;) {
    const double ratio = kind.ends_with('<') ? hertz / at : at / hertz;
    const bool isSplit = kind.starts_with("split");
    product *= isSplit ? 1.0 / (1.0 + std::pow(ratio, slope / 6.0))
                       : 1.0 / std::sqrt(1.0 + std::pow(ratio, slope / 3.0));
  }
  return product;
}

/// The frequencies of a curve have the seven digits of a float, as have the parameters that set its
/// splits; a slope turns what they lack into decibels.
void expectDrawn(const std::vector<Row>& rows, const std::string& form) {
  ASSERT_EQ(rows.size(), 512U);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_NEAR(rows[i].x / (10.0 * std::pow(2400.0, static_cast<double>(i) / 511.0)), 1.0, 1e-7);
    if (form.starts_with("silence")) {
      EXPECT_TRUE(i > 0 || !std::isfinite(rows[i].y));
      continue;
    }
    const double level = 20.0 * std::log10(magnitude(form, rows[i].x));
    // Deeper, what a split leaves beside its low-pass is lost in the digits of a 1.
    ASSERT_TRUE(level < -200.0 ? rows[i].y < -199.0 : std::abs(rows[i].y - level) < 1e-4)
        << rows[i].x << " Hz: " << rows[i].y << ", not " << level;
  }
}

/// What is heard is what is drawn, up to half the rate.
void expectHeard(const std::vector<Row>& measured, const std::vector<Row>& drawn, int rate) {
  const auto last = std::ranges::upper_bound(drawn, 0.5 * rate, {}, &Row::x);
  ASSERT_EQ(measured.size(), static_cast<std::size_t>(last - drawn.begin()));
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

TEST_F(CurveCommand, drawsTheClosedFormsAndWhatIsHeard) {
  std::istringstream lines(readBytes(CORVANTHELIS_TEST_DATA "/curves.txt"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("#")) continue;
    SCOPED_TRACE(line);
    const std::size_t first = line.find(" | ");
    const std::size_t second = line.find(" | ", first + 3);
    const std::string form = line.substr(first + 3, second - first - 3);
    const std::string arguments = line.substr(second + 3);
    const int rate = std::stoi(line);
    const std::vector<Row> drawn = curve(arguments, rate);
    if (form != "heard") expectDrawn(drawn, form);
    if (form == "heard") expectHeard(curve(arguments + " --measured", rate), drawn, rate);
  }
  const std::vector<Row> dry = curve(
      "--band 1 --points 60 --measured --set kOpTrim=-24 --setn kWetDry=0 --set kB1Frequency=500");
  EXPECT_NEAR(dry.front().y, 0.0, 1e-6) << "the trim is passed by";
}

TEST_F(CurveCommand, bringsTheImpulseWithTheLatency) {
  const struct {
    std::string settings;
    double gain;
  } cases[] = {{"", 1.0},
               {" --set kB1Lookahead=0 --rate 96000 --set kIpTrim=-3", std::pow(10.0, -0.15)}};
  for (const auto& [settings, gain] : cases) {
    const auto late = finiteNumber(answer("latency --offline" + settings));
    ASSERT_TRUE(late);
    const std::string text = answer("curve --band 1 --measured --impulse" + settings);
    const std::vector<Row> rows = readRows(text, "sample,value");
    ASSERT_GE(static_cast<double>(rows.size()), *late + 4096.0);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      ASSERT_EQ(rows[i].x, static_cast<double>(i));
      ASSERT_NEAR(rows[i].y, rows[i].x == *late ? gain : 0.0, 1e-12) << "sample " << i;
    }
  }
}

TEST_F(CurveCommand, tellsABandOutsideTheChainHowToGetIn) {
  const std::string on = " --set kB3State=1 --set kB3Frequency=3000";
  const std::string among =
      " --set kB2State=1 --set kB2Frequency=2000 --set kB4State=1 --set kB4Frequency=8000";
  for (const std::string& settings :
       {on, on + " --set kB3Type=1", on + " --set kB3Type=1 --set kB1State=0",
        on + among + " --set kB3Type=1"}) {
    const ProgramRun refused = run("curve --band 3" + settings);
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
