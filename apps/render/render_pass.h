#pragma once

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
  FormatWish format;
  bool keepLatency = false;
  bool matchLoudness = false;
  bool measure = true;  ///< loudness and peaks, for the report
};

/// One pass over a file: reads, processes, writes and measures it. Needs memory for a few blocks
/// only, however long the file. `options` and `progress` must outlive it.
///
/// Unless the latency is kept, the output is as long as the input and in step with it: what comes
/// out first, before the input has passed through, is dropped, and silence follows the input. Where
/// the latency changes on the way, the output stays in step: when it grows, what comes out twice is
/// dropped; when it shrinks, what was on its way through the effect is fed to it once more.
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
  [[nodiscard]] std::int64_t framesRead() const noexcept { return length; }

 private:
  void checkFiles() const;
  void openWriter(const std::string& path);
  void applyAutomation();
  void readSidechain(int frames);
  void measureInput(int frames);
  void step(int frames);
  void process(const double* samples, const double* sideSamples, int frames);
  void replay();
  void remember(const double* samples, const double* sideSamples, int frames);
  void feed(const double* samples, const double* sideSamples, int frames);
  [[nodiscard]] std::int64_t placeOfOutput() const;
  void checkStop() const;  // throws if the process was asked to stop

  const RenderOptions& options;
  ProgressBar& progress;
  const std::string outputName;
  const int blockFrames;
  AudioReader reader;
  std::optional<AudioReader> sideReader;
  EffectRunner runner;
  const double startTrim;  // dB
  AutomationCursor automation;
  std::int32_t startLatency = 0;  // samples
  std::vector<std::string> startFaults;
  std::optional<AudioWriter> writer;  // always there once this is made
  std::optional<Loudness> before;
  std::optional<Loudness> after;
  std::vector<double> input;    // interleaved, one block
  std::vector<double> side;     // interleaved, one block; empty without sidechain
  std::vector<double> output;   // interleaved, one block
  std::vector<double> finite;   // the input for measuring, without infinities and NaN
  std::int64_t position = 0;    // frames processed so far, silence after the input included
  std::int64_t length = 0;      // frames of the input read so far
  std::int64_t written = 0;     // frames
  std::int64_t pastFrames = 0;  // of the next two
  std::vector<double> past;  // interleaved: the input before `position`, as far as it may be needed
  std::vector<double> pastSide;
  std::int64_t badSamples = 0;
};
