#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/output_plan.h"
#include "apps/progress_bar.h"
#include "apps/render_options.h"
#include "apps/report.h"

/// What became of one file: a report, or the reason why not.
struct RenderOutcome {
  std::optional<RenderReport> report;
  std::string failure;
};

/// Renders all `items`, `jobs` (>= 1) at a time or as many as the system has threads for, and goes
/// on past those that fail: each of them is told on the standard error stream in a line of its own.
/// When the process is asked to stop, what was not begun is left out. The outcomes are in the order
/// of the items.
[[nodiscard]] std::vector<RenderOutcome> renderAll(std::span<const RenderItem> items,
                                                   const RenderOptions& options, int jobs,
                                                   ProgressBar& progress);
