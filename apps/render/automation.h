#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "apps/effect/effect_runner.h"
#include "core/plug.h"

/// A change of one parameter at a point in time.
struct AutomationPoint {
  double seconds;          ///< since the input's start, >= 0
  std::int32_t parameter;  ///< 0..421
  float plain;             ///< within the parameter's range
};

/// Points sorted by time; points of the same time stay in the order of the file.
struct Automation {
  std::vector<AutomationPoint> points;
  std::vector<std::string> warnings;

  [[nodiscard]] bool touches(std::int32_t parameter) const noexcept;
  /// How many points lie in `frame` or a later one.
  [[nodiscard]] std::int64_t countFrom(std::int64_t frame, double sampleRate) const noexcept;
};

/// Reads rows "seconds,ID,VALUE", with values as for `readPlain`. Blank lines, a heading in the
/// first row and everything after a '#' are skipped. `plug` has the settings of the start, by which
/// values are read; it is left with those of the end. Throws `Failure` with `name`, the line and
/// the reason. Values out of range are clamped, with a warning.
[[nodiscard]] Automation readAutomation(std::string_view text, const std::string& name, Plug& plug);
[[nodiscard]] Automation readAutomationFile(const std::string& path, Plug& plug);

/// Gives out the points of an automation when the frame comes at which each is to be set: as much
/// later than its time as the effect delays the sound on its way to where the parameter acts.
/// Points of the first frame come before any. The automation must outlive it.
class AutomationCursor {
 public:
  AutomationCursor(const Automation& automation, double sampleRate);

  /// The next point to be set before input frame `position`; null if there is none.
  [[nodiscard]] const AutomationPoint* next(std::int64_t position,
                                            const EffectRunner::Delays& delays);
  /// How many of the next `frames` frames from `position` on pass before a point is to be set. Call
  /// when `next` has none.
  [[nodiscard]] int framesUntilNext(std::int64_t position, int frames,
                                    const EffectRunner::Delays& delays) const;

 private:
  /// The points of one place that are not set yet.
  struct Lane {
    std::vector<const AutomationPoint*> points;
    std::size_t next = 0;
  };

  [[nodiscard]] double dueFrame(const Lane& lane, std::int32_t delay) const;

  double rate;
  std::array<Lane, kNumPlaces> lanes;
};
