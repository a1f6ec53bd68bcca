#include "filters/eq.h"

#include <algorithm>
#include <array>
#include <complex>
#include <functional>
#include <iterator>
#include <limits>
#include <numbers>
#include <random>
#include <type_traits>

#include "filters/blt_eq.h"
#include "filters/lanthorn_eq.h"
#include "filters/match_fit.h"
#include "filters/quartic.h"
#include "filters/section_match.h"
#include "tests/support/data_rows.h"
#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

/// What a filter is set to.
struct Settings {
  int type = EQ::kOff, subtype = 0, order = 2;
  float hz = 250, db = 0, q = 1, percent = 0.5F, rate = 48000;

  /// Whether any setter has reported a change.
  bool apply(EQ& filter) const {
    const bool changes[] = {
        filter.setBypass(0),    filter.setType(type),          filter.setSubtype(subtype),
        filter.setOrder(order), filter.setFrequency(hz),       filter.setGain(db),
        filter.setQ(q),         filter.setParameterA(percent), filter.setSampleRate(rate)};
    filter.update();
    return std::find(std::begin(changes), std::end(changes), true) != std::end(changes);
  }
  [[nodiscard]] std::string name() const {
    std::ostringstream text;
    text << "type " << type << '/' << subtype << ' ' << order << ", " << hz << " of " << rate
         << " Hz, " << db << " dB, Q " << q << ", " << percent << " %";
    return text.str();
  }
};

/// Often what is at a limit or next to nothing.
Settings randomSettings(int i, std::mt19937& random) {
  const auto between = [&random](double low, double high) {
    return static_cast<float>(std::uniform_real_distribution<double>(low, high)(random));
  };
  Settings s{i % 30 == 0 ? i % 60 / 30 * 10 - 1 : 1 + i % 8, std::array{0, 1, 2, 6}[random() % 4],
             static_cast<int>(random() % 24) - 3};
  s.hz = random() % 2 == 0 ? between(20, 1000) : between(1000, 24000);
  s.db = random() % 4 == 0 ? std::array{0.0F, 0.009F, -0.009F, 0.011F}[random() % 4]
                           : between(-24, 24);
  s.q = random() % 2 == 0 ? between(0.1, 1) : between(1, 10);
  s.percent = random() % 4 == 0 ? 0.0F : between(0, 60);
  s.rate = std::array{44100.0F, 48000.0F, 192000.0F, 16000.0F}[random() % 4];
  return s;
}

std::complex<double> responseOf(const EQ& filter, double hz) {
  double re = 0.0, im = 0.0;
  filter.responseAt(hz, &re, &im);
  return {re, im};
}

// The analog numbers were compared with the closed forms of all types when they were recorded, the
// bilinear ones with those on a warped axis, the digital ones with how close a match can come.
TEST(EQTest, HasItsAnalogCurveBothItsFiltersAndWhatIsBesideThem) {
  KnownNumbers known(TEST_DATA "/eq_curves.txt");
  std::mt19937 random(17);
  BLTEQ bilinear;
  LanthornEQ matched, rest;  // which move from each setting and rate to the next
  rest.setDifferenceMode(true);
  for (int i = 0; i < 320; ++i) {
    const Settings s = randomSettings(i, random);
    SCOPED_TRACE(s.name());
    ASSERT_TRUE(s.apply(bilinear));
    ASSERT_FALSE(bilinear.isDirty() || s.apply(bilinear)) << "no setter reports what is no change";
    s.apply(matched);
    s.apply(rest);
    // All sections of the update, its ramp over, are finite and stable.
    std::vector<double> silence(1001, 0.0);
    processInRealTime(matched, silence.data(), 1001);
    std::array<DigitalSection, 16> sections{};
    matched.getCoefficients(sections[0].data());
    for (const DigitalSection& d : sections) {
      EXPECT_TRUE(std::all_of(d.begin(), d.end(), [](double c) { return std::isfinite(c); }));
      EXPECT_TRUE(filters::isStable(d[3], d[4]));
    }
    const int count = matched.activeSections().count;
    std::vector<double> numbers = {static_cast<double>(count), matched.effectiveQ(),
                                   static_cast<double>(matched.getFlat())};
    for (const double x : {0.01, 0.3, 0.8, 1.0, 1.7, 60.0}) {
      numbers.push_back(analogMagnitude(bilinear, x * s.hz));
    }
    known.expect("analog, " + s.name(), numbers, 1e-7);
    numbers.clear();
    for (const double share : {0.001, 0.02, 0.1, 0.25, 0.4, 0.45, 0.499}) {
      numbers.push_back(bilinear.magnitudeAt(share * s.rate, nullptr));
    }
    known.expect("bilinear, " + s.name(), numbers, 1e-6, 1e-8);
    numbers.clear();
    for (const double share : {0.01, 0.2, 0.45}) {
      const auto response = responseOf(matched, share * s.rate);
      numbers.insert(numbers.end(), {std::abs(response), std::arg(response)});
      if (matched.getFlat() != 0 || count > 2) continue;  // with no response of a rest
      EXPECT_NEAR(std::abs(responseOf(rest, share * s.rate) - response + 1.0), 0.0, 1e-6) << share;
    }
    known.expect("digital, " + s.name(), numbers, 1e-6);
  }
}

TEST(EQTest, BypassAndFlatAreUnityAndWholeRecordsAreWritten) {
  BLTEQ filter;
  Settings{EQ::kLpf, 2, 5}.apply(filter);
  AnalogSections rows;
  rows.rows.fill({5, 5, 5, 5, 5, 5});
  filter.design(&rows, false);
  EXPECT_TRUE(rows == filter.activeSections()) << "nothing of what was there before is left";
  EXPECT_LT(analogMagnitude(filter, 500), 0.1);
  filter.setFlat(1);
  EXPECT_EQ(analogMagnitude(filter, 500), 1.0);
  filter.setFlat(0);
  filter.setBypass(1);
  EXPECT_EQ(analogMagnitude(filter, 500), 1.0);
  filter.design(&rows, true);
  EXPECT_EQ(rows.count, 3);
  filter.design(&rows, false);
  EXPECT_TRUE(rows == kFlatSections);
  // All denominators 0: 1 where the numerators are 0 too.
  const AnalogRow onPole[] = {{1, 0, 4, 1, 0, 4}, {1, 0, 9, 1, 0, 4}};
  EXPECT_EQ(analogMagnitude(&onPole[0], 1, 2.0), 1.0);
  EXPECT_EQ(analogMagnitude(&onPole[1], 1, 2.0), 0.0);
}

TEST(EQTest, ControlsFollowTheTypeAndTheOneBeforeIt) {
  runRows(TEST_DATA "/eq_controls.txt", [](const DataRow& row) {
    const int type = std::stoi(row[0]);
    BLTEQ now, before;
    for (BLTEQ* filter : {&now, &before}) filter->setSubtype(std::stoi(row[1]));
    for (const int next : {7, type, type}) now.setType(next);
    for (const int next : {type, (type + 1) % 9, (type + 1) % 9}) before.setType(next);
    EXPECT_EQ(before.capabilityFlags(true), now.capabilityFlags(false));
    EXPECT_STREQ(before.shapeLabel(true), now.shapeLabel(false));
    const std::string label = now.shapeLabel(false);
    return std::to_string(now.capabilityFlags(false)) + (label.empty() ? "" : ' ' + label);
  });
}

/// A filter told to bypass goes on in single precision as long as a ramp runs: a probe for one.
bool ramps(EQ& filter) {
  const int bypass = filter.getBypass();
  filter.setBypass(1);
  float probe = 1e-20F;
  processInRealTime(filter, &probe, 1);
  filter.setBypass(bypass);
  return probe != 1e-20F;
}

template <typename Filter>
void expectRampsWhereTheCurveChanges(bool difference) {
  Filter filter;
  filter.setDifferenceMode(difference);
  Settings{EQ::kLpf, 0, 4}.apply(filter);
  const bool rest = difference && !std::is_same_v<Filter, BLTEQ>;  // which has no such sections
  const struct {
    const char* what;
    std::function<void()> act;
    bool moves, out = false;
  } steps[] = {
      {"new", [] {}, true},
      {"nothing changed", [] {}, false},
      {"bypassed there and back", [&] { filter.setBypass(1), filter.setBypass(0); }, false},
      {"the first of two equal sections", [&] { filter.setOrder(2); }, rest},
      {"a curve's rows", [&] { filter.setFrequency(1002), filter.refreshSections(); }, true},
      {"out", [&] { filter.setBypass(1); }, true, true},
      {"in", [&] { filter.setBypass(0); }, true},
      {"off", [&] { filter.setType(EQ::kOff); }, true, true}};
  for (const auto& step : steps) {
    SCOPED_TRACE(testing::Message() << step.what << (difference ? ", difference" : ""));
    step.act();
    filter.update();
    EXPECT_FALSE(filter.isDirty() && !step.out);
    EXPECT_EQ(filter.getFlat(), step.out ? 1 : 0);
    EXPECT_EQ(ramps(filter), step.moves);
    filter.update();
    std::vector<double> block;
    for (const std::size_t frames : {600U, 401U, 100U}) {
      block.assign(frames, 0.25);
      processInRealTime(filter, block.data(), static_cast<int>(frames));
      if (!step.out) filter.update();  // nor does the same again start a ramp anew
    }
    EXPECT_FALSE(ramps(filter)) << "the ramp over";
    EXPECT_EQ(block == std::vector<double>(100, difference ? 0.0 : 0.25), step.out);
  }
}

TEST(EQTest, RampsOnlyWhereTheCurveChangesAndPassesWhenOut) {
  for (const bool difference : {false, true}) {
    expectRampsWhereTheCurveChanges<BLTEQ>(difference);
    expectRampsWhereTheCurveChanges<LanthornEQ>(difference);
  }
  // At 0 Hz a low-pass is silence, and nothing that is not a number gets into the state.
  BLTEQ filter;
  Settings{EQ::kLpf, 0, 2, 0}.apply(filter);
  std::vector<double> wide(1001, 0.25);
  processInRealTime(filter, wide.data(), 1001);
  EXPECT_EQ(filter.magnitudeAt(1000, nullptr), 0.0);
  EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](double y) { return std::abs(y) < 1e3; }));
}

constexpr double kRate = 48000.0;

/// At an angle in rad per sample.
double gainAt(const DigitalSection& s, double omega) {
  const auto z = std::polar(1.0, omega);
  return std::abs(((s[0] * z + s[1]) * z + s[2]) / ((z + s[3]) * z + s[4]));
}

// Had the analog gain at the ends, and where a design meets it at the centre, when recorded.
TEST(SectionMatchTest, GivesEachShapeOfRowItsSection) {
  KnownNumbers known(TEST_DATA "/sections.txt");
  for (const DataRow& data : dataRows(TEST_DATA "/analog_rows.txt", 2)) {
    AnalogRow row{};
    std::istringstream numbers(data[0]);
    for (double& number : row) numbers >> number;
    scaleSections(&row, 1, 2.0 * std::numbers::pi * std::stod(data[1]));
    for (const int rate : {44100, 48000}) {
      const auto match = filters::matchRow(row, rate);
      std::vector<double> values = {static_cast<double>(match.shape), match.inverted ? 1.0 : 0.0,
                                    match.unity ? 1.0 : 0.0};
      values.insert(values.end(), match.section.begin(), match.section.end());
      known.expect(data[0] + " at " + data[1] + " of " + std::to_string(rate) + " Hz", values, 1e-6,
                   1e-9);
    }
  }
}

TEST(QuarticTest, SplitsIntoFactorsThatMultiplyBack) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int i = 0; i < 2000; ++i) {
    std::array<double, 5> c{};
    for (double& value : c) value = unit(random);
    // Lower degrees, even ones, and products of equal factors.
    if (i % 8 == 1) c[0] = 0.0;
    if (i % 8 == 2) c[0] = c[1] = 0.0;
    if (i % 8 == 3) c[1] = c[3] = 0.0;
    if (i % 8 == 4) {
      const auto [a, b, d] = std::array{c[0], c[1], c[2]};
      c = {a, 2 * a * b, a * (b * b + 2 * d), 2 * a * b * d, a * d * d};
    }
    const auto [first, second] = filters::splitPolynomial(c);
    std::array<double, 5> product{};
    double size = 0.0;
    for (std::size_t j = 0; j < 9; ++j) {
      product[j / 3 + j % 3] += first[j / 3] * second[j % 3];
      size = std::max(size, std::abs(first[j / 3] * second[j % 3]));
    }
    for (std::size_t k = 0; k < 5; ++k) ASSERT_NEAR(product[k], c[k], 1e-7 * size) << i << ' ' << k;
  }
}

// What a fit ends at, with and without a reason to leave it as it was.
TEST(MatchFitTest, ImprovesASectionUnlessItIsGoodEnoughOrCannotBeSaved) {
  KnownNumbers known(TEST_DATA "/fits.txt");
  std::mt19937 random(4);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  MatchFit fit(44100.0);
  fit.prepare(kRate);
  for (int i = 0; i < 40; ++i) {
    // Zeros and poles of both kinds, and poles outside the circle.
    DigitalSection sections[2];
    for (DigitalSection& s : sections) {
      s = {1.0, 1.5 * unit(random), 0.8 * unit(random), 2.0 * unit(random), 1.6 * unit(random)};
    }
    MatchFit::Points wanted;
    for (std::size_t k = 0; k < wanted.size(); ++k) {
      wanted[k] = gainAt(sections[0], fit.radiansPerSecond(k) / kRate);
    }
    fit.start(sections[1], wanted);
    const double error = fit.errorOf();
    std::vector<double> numbers = {error};
    const auto& [b1, b2, a1, a2] = fit.parameters();
    numbers.insert(numbers.end(), {b1, b2, a1, a2});
    const double huge = std::numeric_limits<double>::infinity();
    constexpr std::array kTries = {3, 1, 2, 3, 3};
    for (const std::size_t c : {0U, 1U, 2U, 3U, 4U}) {
      DigitalSection fitted = sections[1];
      fit.fitSection(fitted, wanted, c == 3 ? 1e-30 : huge, kTries[c], c == 4 ? 1.01 * error : 0.0);
      EXPECT_EQ(fitted == sections[1], c == 1 || c >= 3) << i << ", kind " << c;
      numbers.insert(numbers.end(), fitted.begin(), fitted.end());
    }
    known.expect(std::to_string(i), numbers, 1e-6);
  }
  DigitalSection silent{0.0, 1.0, 0.0, 0.0, 0.0};
  fit.fitSection(silent, {}, 1.0, 100, 0.0);
  EXPECT_EQ(silent, (DigitalSection{0.0, 1.0, 0.0, 0.0, 0.0}));
}

}  // namespace
