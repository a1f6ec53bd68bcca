#include "apps/render/render_pass.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "apps/output/failure.h"
#include "apps/output/text.h"
#include "platform/stop_request.h"

namespace {

std::optional<AudioReader> openSidechain(const std::string& path) {
  if (path.empty()) return std::nullopt;
  return AudioReader(path);
}

}  // namespace

RenderPass::RenderPass(const std::string& inputPath, const std::string& outputPath,
                       const EffectSetup& setup, const RenderOptions& renderOptions,
                       ProgressBar& progressBar)
    : options(renderOptions),
      progress(progressBar),
      outputName(outputPath),
      blockFrames(setup.blockFrames),
      reader(inputPath),
      sideReader(openSidechain(options.sidechain)),
      writer((checkFiles(), outputPath), audioFormatFor(outputPath, options.format),
             reader.sampleRate(), reader.channels(), reader.frames()),
      runner(setup, reader.sampleRate(), reader.channels(),
             sideReader ? sideReader->channels() : 0),
      startTrim(static_cast<double>(runner.plainValue(kOpTrim))),
      startLatency(runner.latency()),
      startFaults(runner.chainFaults()),
      aligner(options.keepLatency ? 0 : startLatency),
      automation(options.automation, reader.sampleRate()) {
  const auto block = static_cast<std::size_t>(blockFrames);
  const std::size_t samples = block * static_cast<std::size_t>(reader.channels());
  input.resize(samples);
  output.resize(samples);
  if (sideReader) side.resize(block * static_cast<std::size_t>(sideReader->channels()));
  if (options.measure || options.matchLoudness) {
    before.emplace(reader.sampleRate(), reader.channels());
    after.emplace(reader.sampleRate(), reader.channels());
    finite.resize(samples);
  }
}

void RenderPass::checkFiles() const {
  const int rate = reader.sampleRate();
  if (rate < Loudness::kLowestRate || rate > Loudness::kHighestRate) {
    throw Failure(reader.name(), "a rate of " + std::to_string(rate) + " Hz cannot be processed");
  }
  if (sideReader && sideReader->sampleRate() != rate) {
    throw Failure(sideReader->name(), "the sidechain has " +
                                          std::to_string(sideReader->sampleRate()) + " Hz, but " +
                                          reader.name() + " has " + std::to_string(rate) + " Hz");
  }
}

void RenderPass::run() {
  while (const int frames = reader.read(input.data(), blockFrames)) {
    applyAutomation(position + frames);
    measureInput(frames);
    step(frames);
    position += frames;
    progress.advance(frames);
  }
  flush();
}

void RenderPass::checkStop() const {
  if (stopRequested()) throw Failure(reader.name(), "interrupted");
}

void RenderPass::flush() {
  std::fill(input.begin(), input.end(), 0.0);
  while (const int frames = aligner.nextFlush(blockFrames)) step(frames);
}

void RenderPass::applyAutomation(std::int64_t end) {
  while (const AutomationPoint* const point = automation.nextBefore(end)) {
    checkStop();  // a block may hold millions
    runner.automate(point->parameter, point->plain);
  }
}

void RenderPass::measureInput(int frames) {
  const auto samples =
      static_cast<std::size_t>(frames) * static_cast<std::size_t>(reader.channels());
  // Values beyond the effect's sample type reach it as infinities.
  const auto most = options.effect.doubles ? std::numeric_limits<double>::max()
                                           : static_cast<double>(std::numeric_limits<float>::max());
  const auto isBad = [most](double sample) { return !(std::abs(sample) <= most); };
  badSamples += std::count_if(input.data(), input.data() + samples, isBad);
  if (!before) return;
  std::replace_copy_if(input.data(), input.data() + samples, finite.data(), isBad, 0.0);
  before->add(finite.data(), frames);
}

void RenderPass::readSidechain(int frames) {
  if (!sideReader) return;
  const int got = sideReader->read(side.data(), frames);
  // After its end the sidechain is silent.
  std::fill(side.begin() + std::ptrdiff_t{got} * sideReader->channels(), side.end(), 0.0);
}

void RenderPass::step(int frames) {
  checkStop();
  readSidechain(frames);
  runner.process(input.data(), sideReader ? side.data() : nullptr, frames, output.data());
  const int dropped = aligner.drop(frames);
  const double* const kept = output.data() + std::ptrdiff_t{dropped} * reader.channels();
  if (after) after->add(kept, frames - dropped);
  writer.write(kept, frames - dropped);
}

void RenderPass::commit() {
  checkStop();
  writer.commit();
}

RenderReport RenderPass::report() const {
  RenderReport result;
  result.input = reader.name();
  result.output = outputName;
  result.sampleRate = reader.sampleRate();
  result.channels = reader.channels();
  result.frames = position;
  result.latency = startLatency;
  result.latencyKept = options.keepLatency;
  if (before) result.before = before->result();
  if (after) result.after = after->result();
  result.gains = runner.gains();
  for (const StateFile& file : options.effect.state.files) result.loaded.push_back(file.name);
  result.trimBefore = startTrim;
  result.trimAfter = static_cast<double>(runner.plainValue(kOpTrim));
  std::vector<std::string>& warnings = result.warnings;
  warnings = startFaults;
  if (badSamples > 0) {
    warnings.push_back(countOf(badSamples, "sample was", "samples were") +
                       " not a finite number and became 0");
  }
  if (writer.clippedSamples() > 0) {
    warnings.push_back(countOf(writer.clippedSamples(), "sample", "samples") +
                       " of the output beyond full scale clipped");
  }
  if (automation.remaining() > 0) {
    warnings.push_back(countOf(static_cast<std::int64_t>(automation.remaining()),
                               "automation row lies", "automation rows lie") +
                       " past the end");
  }
  if (runner.latency() != startLatency) {
    warnings.push_back("the latency changed from " + std::to_string(startLatency) + " to " +
                       std::to_string(runner.latency()) + " samples on the way");
  }
  return result;
}
