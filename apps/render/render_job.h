#pragma once

#include <cstdint>
#include <string>

#include "apps/output/progress_bar.h"
#include "apps/render/render_pass.h"
#include "apps/render/report.h"

/// Renders one file. Nothing is left of `output`, or what stood there before is unchanged, when it
/// throws; a `Failure` names file and reason. With `matchLoudness` the file is rendered again, each
/// time with a better output trim, until it comes out as loud as it went in.
[[nodiscard]] RenderReport renderFile(const std::string& input, const std::string& output,
                                      const RenderOptions& options, ProgressBar& progress);

/// The frames that rendering `input` is expected to take, for the progress; 0 where that is not
/// known.
[[nodiscard]] std::int64_t expectedFrames(const std::string& input, const RenderOptions& options);
