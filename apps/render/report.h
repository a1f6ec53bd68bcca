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

/// The report on the rendering of one file.
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
  /// For each band that was on.
  std::array<std::optional<GainRange>, kNumBands> gains;
  double trimBefore = 0.0;  ///< `kOpTrim` as the user set it, dB
  double trimAfter = 0.0;   ///< `kOpTrim` at the end, dB
  int passes = 1;
  double elapsedSeconds = 0.0;
  std::vector<std::string> loaded;  ///< files with settings, in the order they were applied
  std::vector<std::string> warnings;

  [[nodiscard]] double seconds() const noexcept;
  /// Duration of the audio divided by the time spent; 0 for an empty file.
  [[nodiscard]] double speed() const noexcept;
};

/// The report as aligned lines for people.
[[nodiscard]] std::string reportText(const RenderReport& report);

// The heading and one line of a batch's table. `nameWidth`: characters for the names.
[[nodiscard]] std::string tableHeading(std::size_t nameWidth);
[[nodiscard]] std::string tableLine(const RenderReport& report, std::size_t nameWidth);

/// The report as an object; loudness and peak are null for silence.
[[nodiscard]] JsonTree reportJson(const RenderReport& report);
