#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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
};

/// Reads rows "seconds,ID,VALUE", with values as for `readPlain`. Blank lines, a heading in the
/// first row and everything after a '#' are skipped. `plug` has the settings of the start, by which
/// values are read; it is left with those of the end. Throws `Failure` with `name`, the line and
/// the reason. Values out of range are clamped, with a warning.
[[nodiscard]] Automation readAutomation(std::string_view text, const std::string& name, Plug& plug);
[[nodiscard]] Automation readAutomationFile(const std::string& path, Plug& plug);

/// Returns the points of an automation block by block. The automation must outlive it.
class AutomationCursor {
 public:
  AutomationCursor(const Automation& automation, double sampleRate) noexcept
      : points(automation.points), rate(sampleRate) {}

  /// The next point that lies in a frame before `end`; null if there is none.
  [[nodiscard]] const AutomationPoint* nextBefore(std::int64_t end) noexcept;
  [[nodiscard]] std::size_t remaining() const noexcept { return points.size() - next; }

 private:
  const std::vector<AutomationPoint>& points;
  double rate;
  std::size_t next = 0;
};
