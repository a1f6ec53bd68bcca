#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/audio_files/audio_format.h"
#include "apps/audio_files/audio_reader.h"
#include "apps/audio_files/audio_writer.h"
#include "apps/effect/effect_runner.h"
#include "apps/output/progress_bar.h"
#include "apps/render/automation.h"
#include "apps/render/loudness.h"
#include "apps/render/report.h"

/// How to render files; the same for all files of a batch.
struct RenderOptions {
  EffectSetup effect;
  std::string sidechain;  ///< path; empty for none
  Automation automation;
  std::optional<SampleFormat> format;
  bool keepLatency = false;
  bool matchLoudness = false;
  bool measure = true;  ///< loudness and peaks, for the report
};

/// Bookkeeping to remove the delay of a process from its output: the first `delay` output frames
/// are dropped, and as many frames of silence are fed after the input to get the tail. The result
/// is as long as the input and aligned with it.
class LatencyAligner {
 public:
  /// `delayFrames` below 0 counts as 0.
  explicit LatencyAligner(std::int64_t delayFrames) noexcept
      : left(std::max<std::int64_t>(delayFrames, 0)), silence(left) {}

  /// How many of the next `frames` output frames to drop from their start.
  [[nodiscard]] int drop(int frames) noexcept {
    const auto dropped = static_cast<int>(std::min<std::int64_t>(frames, left));
    left -= dropped;
    return dropped;
  }

  /// After the end of the input: frames of the next block of silence to feed, at most `largest`; 0
  /// when done.
  [[nodiscard]] int nextFlush(int largest) noexcept {
    const auto frames = static_cast<int>(std::min<std::int64_t>(largest, silence));
    silence -= frames;
    return frames;
  }

 private:
  std::int64_t left;     // frames still to be dropped
  std::int64_t silence;  // frames still to be fed after the input
};

/// One pass over a file: reads, processes, writes and measures it. Needs memory for a few blocks
/// only, however long the file. `options` and `progress` must outlive it.
class RenderPass {
 public:
  /// Opens all files. `setup` is used instead of that in `options`.
  RenderPass(const std::string& input, const std::string& output, const EffectSetup& setup,
             const RenderOptions& options, ProgressBar& progress);

  /// Renders to the end or throws; `Failure` also if the process is asked to stop.
  void run();
  /// Gives the output its name. Without this nothing is left.
  void commit();

  /// Valid after `run`; contains the fields that a single pass knows.
  [[nodiscard]] RenderReport report() const;
  [[nodiscard]] std::int64_t framesRead() const noexcept { return position; }

 private:
  void checkFiles() const;
  void applyAutomation(std::int64_t end);
  void readSidechain(int frames);
  void measureInput(int frames);
  void step(int frames);
  void flush();
  void checkStop() const;  // throws if the process was asked to stop

  const RenderOptions& options;
  ProgressBar& progress;
  const std::string outputName;
  const int blockFrames;
  AudioReader reader;
  std::optional<AudioReader> sideReader;
  AudioWriter writer;
  EffectRunner runner;
  const double startTrim;           // dB
  const std::int32_t startLatency;  // samples
  const std::vector<std::string> startFaults;
  LatencyAligner aligner;
  AutomationCursor automation;
  std::optional<Loudness> before;
  std::optional<Loudness> after;
  std::vector<double> input;   // interleaved, one block
  std::vector<double> side;    // interleaved, one block; empty without sidechain
  std::vector<double> output;  // interleaved, one block
  std::vector<double> finite;  // the input for measuring, without infinities and NaN
  std::int64_t position = 0;   // frames of input processed so far
  std::int64_t badSamples = 0;
};
