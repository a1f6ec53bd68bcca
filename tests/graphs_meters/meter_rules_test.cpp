// What meters show and hold, by a table.

#include <cmath>
#include <sstream>
#include <string>

#include "graphs/meters/gain_meters.h"
#include "graphs/meters/meter_holds.h"
#include "graphs/meters/meter_scale.h"
#include "tests/support/script.h"

namespace {

class MeterRules : public Script {
 protected:
  MeterRules() {
    commands["row"] = [this] { say(scale().levelToRow(real(2))); };
    commands["gain"] = [this] { say(scale().gainToRow(real(2))); };
    commands["level"] = [this] { say(scale().rowToLevel(real(2))); };
    commands["marks"] = [this] { sayMarks(); };
    commands["choice"] = [this] {
      say(markOffsetOf(number(1)));
      say(zoomRangeOf(number(1)));
    };
    commands["widen"] = [this] { say(widenedRange(real(1), std::pow(10.0, real(2) * 0.05))); };
    commands["texts"] = [this] {
      say(levelText(real(1)));
      say(clipText(real(1)));
    };
    commands["gain text"] = [this] { say(gainText(real(1))); };
    commands["loudness"] = [this] { say(loudnessText(real(1), "LUFS")); };
    commands["clip bar"] = [this] { say(clipBarWidth(real(1), real(2))); };
    commands["hold"] = [this] {
      mode = row[1] == "5s"      ? HoldMode::kFiveSeconds
             : row[1] == "click" ? HoldMode::kClicked
                                 : HoldMode::kOff;
      held.setMode(mode);
    };
    commands["take"] = [this] { take(); };
    commands["one"] = [this] {
      one.take(real(2), real(1), mode);
      say(one.get());
    };
    commands["pick"] = [this] { pick(); };
  }

  [[nodiscard]] double real(std::size_t cell) const { return std::stod(row[cell]); }
  [[nodiscard]] MeterScale scale() const {
    std::istringstream words(row[1]);
    MeterScale made{342.0};
    std::string kind;
    words >> kind >> made.markOffset;
    made.isZoomed = kind != "fs";
    if (made.isZoomed) made.zoomRange = std::stod(kind);
    return made;
  }
  void sayMarks() {
    double last = -12.0;
    for (const ScaleMark& mark : scaleMarks(scale())) {
      say(mark.hasText ? scaleText(scale(), mark) : ".");
      if (mark.hasText) {
        EXPECT_GE(mark.row, last + 12.0);
        last = mark.row;
      }
      const double level = std::pow(10.0, (mark.dB - scale().markOffset) * 0.05);
      EXPECT_NEAR(scale().rowToLevel(mark.row), level, 1e-9 * level);
    }
  }
  void take() {
    std::istringstream words(row[2]);
    MeterHolds::Reading now;
    for (auto* const both : {&now.peak, &now.rms, &now.reduction}) {
      for (float& value : *both) words >> value;
    }
    held.take(now, real(1));
    const MeterHolds::Reading& shown = held.holds();
    for (const auto* const both : {&shown.peak, &shown.rms, &shown.reduction}) {
      for (const float value : *both) say(value);
    }
  }
  void pick() {
    std::istringstream choice(row[1]);
    std::istringstream gains(row[2]);
    int channel = 0;
    int show = 0;
    int zoom = 0;
    double first = 0.0;
    double second = 0.0;
    choice >> channel >> show >> zoom;
    gains >> first >> second;
    const BandMeterChoice chosen = BandMeterChoice::of(channel, show, zoom);
    say(chosen.pick(first, second));
    say(chosen.parts());
    if (chosen.isZoomed) say("zoomed");
  }

  HoldMode mode = HoldMode::kFiveSeconds;
  MeterHolds held;
  ValueHold one;
};

TEST_F(MeterRules, AreThoseOfTheTable) { run(TEST_DATA "/meters.txt"); }

}  // namespace
