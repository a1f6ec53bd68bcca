#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/output/output_files.h"
#include "apps/output/progress_bar.h"
#include "apps/render/render_pass.h"
#include "apps/render/report.h"

/// The result for one file: a report, or the reason of its failure.
struct RenderOutcome {
  std::optional<RenderReport> report;
  std::string failure;
};

/// Plans outputs in `directory` with the names of the inputs. Throws `WrongArguments` if two would
/// be the same file.
[[nodiscard]] std::vector<RenderItem> planDirectory(const std::vector<std::string>& inputs,
                                                    const std::string& directory);

/// Renders all `items`, `jobs` (>= 1) at a time, or fewer if the system cannot make that many
/// threads. Continues after failures, each of which is printed as a line on the standard error
/// stream. If the process is asked to stop, items not yet begun are left out. Outcomes are in the
/// order of the items.
[[nodiscard]] std::vector<RenderOutcome> renderAll(std::span<const RenderItem> items,
                                                   const RenderOptions& options, int jobs,
                                                   ProgressBar& progress);
