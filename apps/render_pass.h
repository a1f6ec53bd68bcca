#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/audio_reader.h"
#include "apps/audio_writer.h"
#include "apps/automation.h"
#include "apps/effect_runner.h"
#include "apps/latency_aligner.h"
#include "apps/loudness.h"
#include "apps/progress_bar.h"
#include "apps/render_options.h"
#include "apps/report.h"

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
