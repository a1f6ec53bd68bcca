#include "apps/render/render_pass.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

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
      outputName(outputPath == "-" ? "standard output" : outputPath),
      blockFrames(setup.blockFrames),
      reader(inputPath),
      sideReader(openSidechain(options.sidechain)),
      runner((checkFiles(), setup), reader.sampleRate(), reader.channels(),
             sideReader ? sideReader->channels() : 0),
      startTrim(static_cast<double>(runner.plainValue(kOpTrim))),
      automation(options.automation, reader.sampleRate()) {
  applyAutomation();
  startLatency = runner.latency();
  startFaults = runner.chainFaults();
  openWriter(outputPath);
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

void RenderPass::openWriter(const std::string& path) {
  AudioTags tags = reader.tags();
  if (options.keepLatency) tags.beginEarlier(startLatency);
  std::optional<std::int64_t> frames;
  if (reader.lengthIsExact()) frames = reader.frames();
  writer.emplace(path, audioFormatFor(path, options.format), reader.sampleRate(), reader.channels(),
                 frames, std::move(tags));
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
    length += frames;
    measureInput(frames);
    step(frames);
    progress.advance(frames);
  }
  std::fill(input.begin(), input.end(), 0.0);
  while (written < length) step(blockFrames);
}

void RenderPass::checkStop() const {
  if (stopRequested()) throw Failure(reader.name(), "interrupted");
}

void RenderPass::applyAutomation() {
  while (const AutomationPoint* const point = automation.next(position, runner.delays())) {
    checkStop();  // there may be millions
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

/// Processes a block of `input` in pieces, so that every change comes at its frame.
void RenderPass::step(int frames) {
  readSidechain(frames);
  for (int done = 0; done < frames;) {
    checkStop();
    applyAutomation();
    const int piece = automation.framesUntilNext(position, frames - done, runner.delays());
    process(input.data() + std::ptrdiff_t{done} * reader.channels(),
            sideReader ? side.data() + std::ptrdiff_t{done} * sideReader->channels() : nullptr,
            piece);
    done += piece;
  }
}

/// The place in the aligned output of what comes out next.
std::int64_t RenderPass::placeOfOutput() const {
  return position - (options.keepLatency ? 0 : runner.latency());
}

void RenderPass::process(const double* samples, const double* sideSamples, int frames) {
  if (placeOfOutput() > written) replay();
  remember(samples, sideSamples, frames);
  feed(samples, sideSamples, frames);
}

void RenderPass::remember(const double* samples, const double* sideSamples, int frames) {
  if (options.automation.points.empty() || options.keepLatency) return;
  // What is on its way, as much again to fill the filters with, and time for the detectors.
  const std::int64_t needed = 3 * std::int64_t{runner.latency()} + reader.sampleRate() / 5;
  const auto keep = [&](std::vector<double>& kept, const double* from, int channels) {
    kept.insert(kept.end(), from, from + std::ptrdiff_t{frames} * channels);
    if (pastFrames > 2 * needed) {
      kept.erase(kept.begin(), kept.begin() + (pastFrames - needed) * channels);
    }
  };
  pastFrames += frames;
  keep(past, samples, reader.channels());
  if (sideReader) keep(pastSide, sideSamples, sideReader->channels());
  if (pastFrames > 2 * needed) pastFrames = needed;
}

void RenderPass::replay() {
  std::int64_t done = 0;
  position -= pastFrames;
  while (done < pastFrames) {
    const auto frames = static_cast<int>(std::min<std::int64_t>(pastFrames - done, blockFrames));
    feed(past.data() + done * reader.channels(),
         sideReader ? pastSide.data() + done * sideReader->channels() : nullptr, frames);
    done += frames;
  }
}

void RenderPass::feed(const double* samples, const double* sideSamples, int frames) {
  const std::int64_t place = placeOfOutput();
  runner.process(samples, sideSamples, frames, output.data());
  position += frames;
  const std::int64_t dropped = std::clamp<std::int64_t>(written - place, 0, frames);
  const auto kept = static_cast<int>(std::min(frames - dropped, length - written));
  const double* const from = output.data() + dropped * reader.channels();
  if (after) after->add(from, kept);
  writer->write(from, kept);
  written += kept;
}

void RenderPass::commit() {
  checkStop();
  writer->commit();
}

RenderReport RenderPass::report() const {
  RenderReport result;
  result.input = reader.name();
  result.output = outputName;
  result.sampleRate = reader.sampleRate();
  result.channels = reader.channels();
  result.frames = length;
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
  std::string lost;
  for (const std::string& name : writer->lost()) lost += (lost.empty() ? "" : ", ") + name;
  if (!lost.empty()) warnings.push_back("tags lost in the output: " + lost);
  constexpr std::int64_t kPadding = 7;
  if (reader.bytesBehind() > kPadding) {
    warnings.push_back(countOf(reader.bytesBehind(), "byte", "bytes") +
                       " behind the audio of the stream were not read");
  }
  if (writer->clippedSamples() > 0) {
    warnings.push_back(countOf(writer->clippedSamples(), "sample", "samples") +
                       " of the output beyond full scale clipped");
  }
  if (const auto late = options.automation.countFrom(length, reader.sampleRate()); late > 0) {
    warnings.push_back(countOf(late, "automation row lies", "automation rows lie") +
                       " past the end");
  }
  if (options.keepLatency && runner.latency() != startLatency) {
    warnings.push_back("the latency changed from " + std::to_string(startLatency) + " to " +
                       std::to_string(runner.latency()) + " samples on the way");
  }
  return result;
}
