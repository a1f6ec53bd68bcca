#pragma once

#include <cstdint>
#include <string>

#include "apps/output/progress_bar.h"
#include "apps/render/render_pass.h"
#include "apps/render/report.h"

/// Renders one file. If it throws, an existing `output` is unchanged and no new one is left; a
/// `Failure` names file and reason. With `matchLoudness` the file is rendered again, each time with
/// a better output trim, until the output is as loud as the input.
[[nodiscard]] RenderReport renderFile(const std::string& input, const std::string& output,
                                      const RenderOptions& options, ProgressBar& progress);

/// The number of frames that rendering `input` is expected to process, for the progress; 0 if
/// unknown.
[[nodiscard]] std::int64_t expectedFrames(const std::string& input, const RenderOptions& options);
