// Meters in the window: what sounds is what they show.

#include <ebur128.h>

#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "editor/controls/control_block.h"
#include "editor/layout/tag_table.h"
#include "graphs/meters/cvu.h"
#include "graphs/meters/gain_meters.h"
#include "graphs/meters/meter_scale.h"
#include "graphs/meters/meter_texts.h"
#include "graphs/meters/vu.h"
#include "state/machine.h"
#include "tests/editor/user.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int kBlock = 64;

template <typename Control>
Control* findControl(const PlugEd& editor) {
  for (int i = 0; i < editor.index().getControlCount(); ++i) {
    auto* const found = dynamic_cast<Control*>(editor.index().getControl(i));
    if (found != nullptr) return found;
  }
  return nullptr;
}

struct ShownMeters : testing::Test {
  ShownMeters() {
    user.plug.setSampleRate(static_cast<float>(kRate));
    user.plug.resume();
    user.wait(20);
  }

  /// Both channels in and out, the window following each block.
  std::vector<double> play(double seconds, const auto& left, const auto& right) {
    std::vector<double> out;
    std::array<std::array<double, kBlock>, 2> sound{};
    std::array<double*, 4> pins = {sound[0].data(), sound[1].data(), nullptr, nullptr};
    for (int at = 0; at < seconds * kRate; at += kBlock) {
      for (int i = 0; i < kBlock; ++i) {
        sound[0][static_cast<std::size_t>(i)] = left(at + i);
        sound[1][static_cast<std::size_t>(i)] = right(at + i);
      }
      user.plug.processDoubleReplacing(pins.data(), pins.data(), kBlock);
      for (std::size_t i = 0; i < kBlock; ++i) {
        out.push_back(sound[0][i]);
        out.push_back(sound[1][i]);
      }
      user.now += at % 3 == 0 ? 2 : 1;
      user.editor->idle();
    }
    return out;
  }
  std::vector<double> playSine(double seconds, double left, double right) {
    const auto sine = [](double level) {
      return [level](int at) {
        return level * std::sin(at * 2.0 * 3.14159265358979 * 1000.0 / kRate);
      };
    };
    return play(seconds, sine(left), sine(right));
  }
  void set(std::int32_t id, float plain) {
    user.plug.setParameter(id, user.plug.plainToNormalised(id, plain));
  }
  void prefer(const char* key, std::int32_t choice) {
    on.machine.globals().setGlobal(key, choice);
    tell(kGUIPrefsChange, 0.0F);
  }
  void tell(std::int32_t tag, float value) {
    CControl control({{}, nullptr, tag});
    control.setValue(value);
    user.editor->valueChanged(control);
  }
  [[nodiscard]] miniPPMmeter& bandMeter(int band) const {
    return dynamic_cast<miniPPMmeter&>(*user.editor->index().find(kGUIBandPPM + band));
  }
  [[nodiscard]] std::uint32_t pixel(float x, float y) {
    const CBitmap& picture = *user.frame().picture();
    return picture.pixels()[static_cast<int>(y) * picture.getWidth() + static_cast<int>(x)] &
           0xFFFFFFU;
  }

  OnMachine on;
  User user{on.machine};
  nTTVU& meter = *findControl<nTTVU>(*user.editor);
};

// The follower of the peaks, of the peak itself, is written anew here: at once up, and down to a
// tenth in 0.3 s.
TEST_F(ShownMeters, MainMeterHoldsThePeaksThatOtherMetersFind) {
  set(kB1Threshold, -30.0F);
  set(kB1Ratio, 0.5F);
  set(kIpTrim, 6.0F);
  std::mt19937 random(5);
  std::normal_distribution<double> noise(0.0, 0.1);
  const auto burst = [&](int at) { return noise(random) * (at % 9600 < 2400 ? 1.0 : 0.1); };
  const std::vector<double> out = play(2.0, burst, [&](int at) { return 0.4 * burst(at); });

  const std::unique_ptr<ebur128_state, void (*)(ebur128_state*)> other(
      ebur128_init(2, static_cast<unsigned long>(kRate), EBUR128_MODE_TRUE_PEAK),
      [](ebur128_state* state) { ebur128_destroy(&state); });
  ebur128_add_frames_double(other.get(), out.data(), out.size() / 2);
  std::array<double, 2> env{};
  std::array<double, 2> highest{};
  const double fall = std::pow(0.1, 1.0 / (kRate * 0.3));
  for (std::size_t i = 0; i < out.size(); ++i) {
    double& at = env[i % 2];
    const double x = std::abs(out[i]);
    at = x > at ? x : x + (at - x) * fall;
    if ((i / 2 + 1) % kBlock == 0) highest[i % 2] = std::max(highest[i % 2], at);
  }
  for (unsigned c = 0; c < 2; ++c) {
    const auto held = static_cast<double>(meter.holds().peak[c]);
    EXPECT_NEAR(held, highest[c], 1e-6 * held) << c;
    double peak = 0.0;
    double truePeak = 0.0;
    ebur128_sample_peak(other.get(), static_cast<unsigned>(c), &peak);
    ebur128_true_peak(other.get(), static_cast<unsigned>(c), &truePeak);
    EXPECT_LE(held, peak * (1.0 + 1e-6)) << c;
    EXPECT_GT(held, peak * std::pow(10.0, -0.1 * 0.05)) << c;
    EXPECT_LT(held, truePeak) << c;
  }
}

// A steady tone: everything can be told from what goes in and what comes out.
TEST_F(ShownMeters, BarsAndReadingsAreThoseOfTheSound) {
  set(kB1Threshold, -30.0F);
  set(kB1Ratio, 0.5F);
  set(kB1LR, 1.0F);
  const std::vector<double> out = playSine(6.0, 0.5, 0.125);
  const std::size_t last = out.size() - 9600;
  std::array<double, 2> peak{};
  std::array<double, 2> square{};
  for (std::size_t i = last; i < out.size(); ++i) {
    peak[i % 2] = std::max(peak[i % 2], std::abs(out[i]));
    square[i % 2] += out[i] * out[i] / 4800.0;
  }
  const double reduction = 20.0 * std::log10(peak[0] / 0.5);
  EXPECT_LT(reduction, -5.0);
  EXPECT_NEAR(std::stod(bandMeter(0).shownText()), reduction, 0.1);

  const float top = meter.localToFrame(meter.getViewSize()).top + 27.0F;
  const float middle = meter.localToFrame(meter.getViewSize()).left + 71.0F;
  const auto rowOf = [&](double level) {
    return top + static_cast<float>(meter.levelToRow(level));
  };
  for (const auto& [c, x] : {std::pair{0U, middle - 12.0F}, {1U, middle + 12.0F}}) {
    SCOPED_TRACE(c);
    const float average = rowOf(std::sqrt(square[c]));
    EXPECT_EQ(pixel(x, average + 2.0F), 0x4E9ACCU);
    EXPECT_NE(pixel(x, average - 2.0F), 0x4E9ACCU);
    EXPECT_NE(pixel(x, average - 2.0F), 0x202020U);
    EXPECT_EQ(pixel(x, rowOf(static_cast<double>(meter.holds().peak[c])) - 3.0F), 0x202020U);
  }
  EXPECT_EQ(pixel(middle - 2.0F, rowOf(peak[0] / 0.5) - 2.0F), 0xBEA788U);
  EXPECT_EQ(pixel(middle - 2.0F, rowOf(1.0) - 3.0F), 0x121212U);
  EXPECT_EQ(pixel(middle - 12.0F, top - 5.0F), 0x202020U);

  // Over full scale the lamp and the text say so, in the colour that is preferred.
  set(kOpTrim, 20.0F);
  playSine(0.2, 0.5, 0.01);
  EXPECT_GT(meter.holds().peak[0], 1.0F);
  EXPECT_EQ(pixel(middle - 12.0F, top - 5.0F), 0x8B3A0FU);
  EXPECT_EQ(pixel(middle + 12.0F, top - 5.0F), 0x202020U);
  prefer("Meter Peak", 1);
  EXPECT_EQ(pixel(middle - 12.0F, top - 5.0F), 0xEDD053U);
}

TEST_F(ShownMeters, ChoicesActAtOnceAndComeBack) {
  playSine(0.1, 0.5, 0.5);
  const CRect place = meter.localToFrame(meter.getViewSize());
  const CPoint plot{place.left + 60.0F, place.top + 200.0F};
  user.click(plot.x, plot.y);
  EXPECT_TRUE(meter.isZoomed());
  EXPECT_EQ(user.plug.editorState().zoomState, 1);
  EXPECT_EQ(meter.getZoomRange(), 1.5);
  prefer("Meter Zoom Range", 1);
  EXPECT_EQ(meter.getZoomRange(), 3.0);
  set(kOpTrim, 18.0F);
  playSine(0.1, 0.5, 0.5);
  EXPECT_EQ(meter.getZoomRange(), 12.0);
  prefer("Meter Auto Range", 0);
  playSine(0.1, 0.5, 0.5);
  EXPECT_EQ(meter.getZoomRange(), 3.0);

  // A click on the readings forgets what is held and leaves the scale.
  prefer("Meter Peak/Hold", 1);
  set(kOpTrim, 0.0F);
  playSine(8.0, 0.01, 0.01);
  EXPECT_GT(meter.holds().peak[0], 1.0F);
  user.click(plot.x, place.bottom - 30.0F);
  EXPECT_LT(meter.holds().peak[0], 0.02F);
  EXPECT_TRUE(meter.isZoomed());
  prefer("Meter Scale", 3);
  user.click(plot.x, plot.y);
  EXPECT_NEAR(meter.levelToRow(1.0), 342.0 * (1.0 - std::pow(0.125, 0.25)), 1e-9);

  const CRect band = bandMeter(0).localToFrame(bandMeter(0).getViewSize());
  for (const char* const choice : {"Maximum", "Both", "Zoom"}) {
    EXPECT_TRUE(user.chooseAt(band.left + 8.0F, band.top + 60.0F, choice, kRButton)) << choice;
  }
  const BandMeterChoice wanted{BandMeterChoice::kMaximum, BandMeterChoice::kBoth, true};
  EXPECT_EQ(bandMeter(5).getChoice(), wanted);
  void* state = nullptr;
  const std::int32_t size = user.plug.getChunk(&state, false);
  User later(on.machine);
  later.plug.setChunk(state, size, false);
  later.wait(10);
  EXPECT_EQ(dynamic_cast<miniPPMmeter&>(*later.editor->index().find(kGUIBandPPM + 2)).getChoice(),
            wanted);
}

TEST_F(ShownMeters, NothingIsDrawnAgainWhenNothingMoves) {
  set(kB1Threshold, -30.0F);
  set(kB1Ratio, 0.5F);
  user.plug.uiSettings().setUiValue("Release", "Flash Labels", 1.0);
  user.plug.uiSettings().setUiValue("Analyser", "Decay", 1.0);
  tell(kGUIUIPrefsChange, 0.0F);
  playSine(1.0, 0.5, 0.5);
  EXPECT_FALSE(user.frame().takeDamage().isEmpty());
  user.frame().invalidFrameRect(user.frame().getViewSize());
  static_cast<void>(user.frame().picture());
  const auto silence = [](int) { return 0.0; };
  play(12.0, silence, silence);
  static_cast<void>(user.frame().picture());
  user.plug.uiSettings().setUiValue("Graph", "Range", 2.0);
  tell(kGUIUIPrefsChange, 0.0F);
  for (int i = 0; i < 5; ++i) {
    play(0.02, silence, silence);
    static_cast<void>(user.frame().picture());
  }
  play(0.02, silence, silence);
  EXPECT_FALSE(user.frame().takeDamage().isEmpty()) << "the spectrum has not fallen yet";
  for (int i = 0; i < 400; ++i) {  // the spectrum falls with each picture
    play(0.01, silence, silence);
    static_cast<void>(user.frame().picture());
  }
  EXPECT_EQ(meter.shownText(), "-inf -inf GR 0.0");
  for (int i = 0; i < 50; ++i) {
    play(0.01, silence, silence);
    EXPECT_TRUE(user.frame().takeDamage().isEmpty()) << i;
  }
  // A band that is taken out shows nothing of what it did last.
  playSine(1.0, 0.5, 0.5);
  EXPECT_NE(bandMeter(0).shownText(), "0.0");
  set(kB1State + kBandRows, 1.0F);
  set(kB1State, 0.0F);
  user.wait(10);
  EXPECT_EQ(bandMeter(0).shownText(), "");
}

// All kinds, as no document has them, at sizes from nothing on.
TEST_F(ShownMeters, EveryKindDrawsItselfAtAnySize) {
  for (const CRect& place : {CRect{0, 0, 0, 0}, {3, 3, 9, 9}, {0, 0, 60, 20}, {9, 9, 152, 432}}) {
    const ControlSetup setup{place, nullptr, -1};
    auto* const reduction = new miniGRmeter(setup);
    auto* const clip = new clipGRmeter(setup);
    auto* const plain = new CVU(setup);
    auto* const loudness = new loudnessMeterView(setup, "LKFS", {});
    auto* const lamp = new ReleaseLED(setup, *user.editor);
    const std::vector<CView*> views = {reduction,
                                       clip,
                                       plain,
                                       loudness,
                                       lamp,
                                       new CMeterText(setup),
                                       new nVU(setup),
                                       new nTTVU(setup),
                                       new miniPPMmeter(setup)};
    for (CView* const view : views) user.frame().addView(view);
    for (const float level : {0.0F, 0.5F, 4.0F, 100.0F}) {
      reduction->setValue(level);
      clip->setLevel(static_cast<double>(level));
      plain->setLevels(level, 0.1F);
      loudness->setValue(level);
      lamp->setValue(level);
      EXPECT_NE(user.frame().picture(), nullptr);
    }
    EXPECT_EQ(clip->shownText(), "40.0dB");
    EXPECT_EQ(plain->shownText(), "40.0 -20.0");
    EXPECT_EQ(loudness->shownText(), "100.0 LKFS");
    for (CView* const view : views) user.frame().removeView(view);
  }
}

}  // namespace
