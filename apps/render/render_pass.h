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

/// How files are to be rendered; the same for all files of a batch.
struct RenderOptions {
  EffectSetup effect;
  std::string sidechain;  ///< path; empty for none
  Automation automation;
  std::optional<SampleFormat> format;
  bool keepLatency = false;
  bool matchLoudness = false;
  bool measure = true;  ///< loudness and peaks, for the report
};

/// Bookkeeping that takes a process's delay out of what it puts out: the first `delay` frames are
/// dropped, and as many frames of silence follow the input to bring the tail out. What remains is
/// as long as the input and aligned with it.
class LatencyAligner {
 public:
  /// `delayFrames` below 0 counts as 0.
  explicit LatencyAligner(std::int64_t delayFrames) noexcept
      : left(std::max<std::int64_t>(delayFrames, 0)), silence(left) {}

  /// How many of the next `frames` that the process put out are to be dropped from their head.
  [[nodiscard]] int drop(int frames) noexcept {
    const auto dropped = static_cast<int>(std::min<std::int64_t>(frames, left));
    left -= dropped;
    return dropped;
  }

  /// After the input's end: the frames of the next block of silence, at most `largest`; 0 when all
  /// is out.
  [[nodiscard]] int nextFlush(int largest) noexcept {
    const auto frames = static_cast<int>(std::min<std::int64_t>(largest, silence));
    silence -= frames;
    return frames;
  }

 private:
  std::int64_t left;     // frames still to be dropped
  std::int64_t silence;  // frames still to be fed after the input
};

/// One way through a file: read, process, write, measured as it passes. Takes memory for a few
/// blocks, however long the file. `options` and `progress` must outlive it.
class RenderPass {
 public:
  /// Opens all files. `setup` stands in for the one of `options`.
  RenderPass(const std::string& input, const std::string& output, const EffectSetup& setup,
             const RenderOptions& options, ProgressBar& progress);

  /// Renders to the end, or throws; `Failure` also when the process is asked to stop.
  void run();
  /// Gives the output its name. Without it nothing is left.
  void commit();

  /// After `run`; the fields that one pass knows.
  [[nodiscard]] RenderReport report() const;
  [[nodiscard]] std::int64_t framesRead() const noexcept { return position; }

 private:
  void checkFiles() const;
  void applyAutomation(std::int64_t end);
  void readSidechain(int frames);
  void measureInput(int frames);
  void step(int frames);
  void flush();
  void checkStop() const;  // throws when the process was asked to stop

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
  std::vector<double> finite;  // the input as it is measured
  std::int64_t position = 0;   // frames of the input that went in
  std::int64_t badSamples = 0;
};
