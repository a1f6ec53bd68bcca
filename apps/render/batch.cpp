#include "apps/render/batch.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <map>
#include <system_error>
#include <thread>

#include "apps/audio_files/audio_format.h"
#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "apps/render/render_job.h"
#include "platform/paths.h"
#include "platform/stop_request.h"

namespace {

std::string outputFor(const std::string& input, const std::string& directory) {
  std::string output = joinedPath(directory, input.substr(input.rfind('/') + 1));
  if (hasWritableEnding(output)) return output;
  // Formats that can be read but not written become WAV.
  output.resize(output.size() - extensionOf(output).size());
  return output + ".wav";
}

/// The message for a file when memory has run out; a short one if there is too little even for
/// that.
std::string outOfMemory(const std::string& input) noexcept {
  try {
    return input + ": not enough memory";
  } catch (const std::bad_alloc&) {
    return "no memory";
  }
}

void tellFailure(const std::string& failure, ProgressBar& progress) noexcept {
  try {
    progress.printLine(messageLine(failure));
  } catch (const std::bad_alloc&) {
    printOutOfMemory();
  }
}

/// Renders one item; on failure the outcome has no report but a reason.
std::optional<RenderReport> renderReported(const RenderItem& item, const RenderOptions& options,
                                           ProgressBar& progress, std::string& failure) {
  try {
    return renderFile(item.input, item.output, options, progress);
  } catch (const Failure& fault) {
    failure = fault.what();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& fault) {
    failure = item.input + ": " + fault.what();
  }
  return std::nullopt;
}

RenderOutcome renderOne(const RenderItem& item, const RenderOptions& options,
                        ProgressBar& progress) {
  RenderOutcome outcome;
  try {
    outcome.report = renderReported(item, options, progress, outcome.failure);
  } catch (const std::bad_alloc&) {
    outcome.failure = outOfMemory(item.input);
  }
  if (!outcome.report) tellFailure(outcome.failure, progress);
  return outcome;
}

}  // namespace

std::vector<RenderItem> planDirectory(const std::vector<std::string>& inputs,
                                      const std::string& directory) {
  std::vector<RenderItem> items;
  std::map<std::string, std::string> inputOf;  // by output
  for (const std::string& input : inputs) {
    const std::string output = outputFor(input, directory);
    const auto [other, isNew] = inputOf.emplace(output, input);
    if (!isNew) {
      throw WrongArguments(other->second + " and " + input + " would both be written to " + output);
    }
    items.push_back({input, output});
  }
  return items;
}

std::vector<RenderOutcome> renderAll(std::span<const RenderItem> items,
                                     const RenderOptions& options, int jobs,
                                     ProgressBar& progress) {
  std::vector<RenderOutcome> outcomes(items.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < items.size(); i = next++) {
      // A single file is tried even then: rendering it reports the interruption.
      const bool isLeftOut = items.size() > 1 && stopRequested();
      outcomes[i] = isLeftOut ? RenderOutcome{std::nullopt, "interrupted"}
                              : renderOne(items[i], options, progress);
    }
  };
  const std::size_t workers = std::min(static_cast<std::size_t>(std::max(jobs, 1)), items.size());
  {
    std::vector<std::jthread> others;
    others.reserve(workers);
    try {
      while (others.size() + 1 < workers) others.emplace_back(work);
    } catch (const std::system_error&) {
      // No more threads can be made: those that run, and this one, do the work.
    }
    work();
  }
  return outcomes;
}
