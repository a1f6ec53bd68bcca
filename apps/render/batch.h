#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/output/output_files.h"
#include "apps/output/progress_bar.h"
#include "apps/render/render_pass.h"
#include "apps/render/report.h"

/// What became of one file: a report, or the reason why not.
struct RenderOutcome {
  std::optional<RenderReport> report;
  std::string failure;
};

/// The outputs of `inputs` under their own names in `directory`. Throws `WrongArguments` if two of
/// them would be one file.
[[nodiscard]] std::vector<RenderItem> planDirectory(const std::vector<std::string>& inputs,
                                                    const std::string& directory);

/// Renders all `items`, `jobs` (>= 1) at a time or as many as the system has threads for, and goes
/// on past those that fail: each of them is told on the standard error stream in a line of its own.
/// When the process is asked to stop, what was not begun is left out. The outcomes are in the order
/// of the items.
[[nodiscard]] std::vector<RenderOutcome> renderAll(std::span<const RenderItem> items,
                                                   const RenderOptions& options, int jobs,
                                                   ProgressBar& progress);
