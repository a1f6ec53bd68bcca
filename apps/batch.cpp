#include "apps/batch.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>

#include "apps/failure.h"
#include "apps/messages.h"
#include "apps/render_job.h"
#include "platform/stop_request.h"

namespace {

RenderOutcome renderOne(const RenderItem& item, const RenderOptions& options,
                        ProgressBar& progress) {
  if (stopRequested()) return {std::nullopt, "interrupted"};
  RenderOutcome outcome;
  try {
    outcome.report = renderFile(item.input, item.output, options, progress);
  } catch (const Failure& failure) {
    outcome.failure = failure.what();
  } catch (const std::bad_alloc&) {
    outcome.failure = item.input + ": not enough memory";
  } catch (const std::exception& fault) {
    outcome.failure = item.input + ": " + fault.what();
  }
  if (!outcome.report) progress.printLine(messageLine(outcome.failure));
  return outcome;
}

}  // namespace

std::vector<RenderOutcome> renderAll(std::span<const RenderItem> items,
                                     const RenderOptions& options, int jobs,
                                     ProgressBar& progress) {
  std::vector<RenderOutcome> outcomes(items.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < items.size(); i = next++) {
      outcomes[i] = renderOne(items[i], options, progress);
    }
  };
  const std::size_t workers = std::min(static_cast<std::size_t>(std::max(jobs, 1)), items.size());
  {
    std::vector<std::jthread> others;
    others.reserve(workers);
    try {
      while (others.size() + 1 < workers) others.emplace_back(work);
    } catch (const std::system_error&) {
      // No more threads are to be had: those that run, and this one, do the work.
    }
    work();
  }
  return outcomes;
}
