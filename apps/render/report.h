#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/effect/effect_runner.h"
#include "apps/render/loudness.h"
#include "editing/parameter_ids.h"
#include "state/json_document.h"

/// What a render of one file did.
struct RenderReport {
  std::string input;
  std::string output;
  int sampleRate = 0;  ///< Hz
  int channels = 0;
  std::int64_t frames = 0;   ///< of the input
  std::int32_t latency = 0;  ///< samples
  bool latencyKept = false;
  Loudness::Result before;
  Loudness::Result after;
  /// Of each band that was on.
  std::array<std::optional<GainRange>, kNumBands> gains;
  double trimBefore = 0.0;  ///< `kOpTrim` as the user set it, dB
  double trimAfter = 0.0;   ///< and as it stood at the end
  int passes = 1;
  double elapsedSeconds = 0.0;
  std::vector<std::string> loaded;  ///< files that set the effect, in their order
  std::vector<std::string> warnings;

  [[nodiscard]] double seconds() const noexcept;
  /// Rendered time by time spent; 0 for an empty file.
  [[nodiscard]] double speed() const noexcept;
};

/// Aligned lines for people.
[[nodiscard]] std::string reportText(const RenderReport& report);

/// One line of a batch's table, and its heading. `nameWidth`: characters for the names.
[[nodiscard]] std::string tableHeading(std::size_t nameWidth);
[[nodiscard]] std::string tableLine(const RenderReport& report, std::size_t nameWidth);

/// The report as an object; loudness and peak of silence are null.
[[nodiscard]] JsonTree reportJson(const RenderReport& report);
