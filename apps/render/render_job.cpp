#include "apps/render/render_job.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "apps/audio_files/audio_reader.h"
#include "apps/output/failure.h"
#include "apps/output/text.h"
#include "apps/render/render_pass.h"
#include "core/parameter_table.h"
#include "platform/byte_stream.h"
#include "platform/clock.h"

namespace {

constexpr int kMostPasses = 4;
constexpr int kUsualPasses = 2;           // of a match: one to measure, one with the trim
constexpr double kMatchTolerance = 0.05;  // LU

/// How much louder the output must become to match the input, in LU; none if either is silent.
std::optional<double> loudnessMissing(const RenderReport& report) {
  const double missing = report.before.integratedLufs - report.after.integratedLufs;
  return std::isfinite(missing) ? std::optional(missing) : std::nullopt;
}

/// Searches, pass by pass, for the output trim with which the output is as loud as the input.
class TrimSearch {
 public:
  /// The trim for the pass after `report`; none if another pass would not help.
  [[nodiscard]] std::optional<float> next(const RenderReport& report) {
    const auto missing = loudnessMissing(report);
    if (!missing || std::abs(*missing) <= kMatchTolerance) return std::nullopt;
    const double trim = report.trimBefore;
    const ParameterRecord& record = kParameterTable[kOpTrim];
    const double wanted =
        std::clamp(trim + *missing / slope(trim, *missing), static_cast<double>(record.min),
                   static_cast<double>(record.max));
    last = {trim, *missing};
    if (std::abs(wanted - trim) < kSmallestStep) return std::nullopt;
    return static_cast<float>(wanted);
  }

 private:
  struct Point {
    double trim;     // dB
    double missing;  // LU
  };
  static constexpr double kSmallestStep = 0.001;  // dB
  static constexpr double kFlattest = 0.1;        // LU per dB: limits how far a guess may go

  /// Loudness gained per dB of trim: 1, or less if a dry share bypasses the trim.
  [[nodiscard]] double slope(double trim, double missing) const {
    if (!last || trim == last->trim) return 1.0;
    return std::clamp((last->missing - missing) / (trim - last->trim), kFlattest, 1.0);
  }

  std::optional<Point> last;
};

void warnOfMatch(RenderReport& report) {
  const auto missing = loudnessMissing(report);
  if (!missing) {
    report.warnings.emplace_back("too quiet or too short to measure: the loudness is not matched");
  } else if (std::abs(*missing) > kMatchTolerance) {
    report.warnings.push_back("the loudness is not matched: it came out " +
                              fixedText(std::abs(*missing), 2) + " LU too " +
                              (*missing > 0.0 ? "quiet" : "loud"));
  }
}

}  // namespace

RenderReport renderFile(const std::string& input, const std::string& output,
                        const RenderOptions& options, ProgressBar& progress) {
  const std::int64_t start = monotonicMilliseconds();
  EffectSetup setup = options.effect;
  double trimOfUser = 0.0;
  TrimSearch search;
  for (int number = 1;; ++number) {
    RenderPass pass(input, output, setup, options, progress);
    pass.run();
    RenderReport report = pass.report();
    report.passes = number;
    if (number == 1) trimOfUser = report.trimBefore;
    const bool isLast = !options.matchLoudness || number == kMostPasses;
    if (const auto trim = isLast ? std::nullopt : search.next(report)) {
      setup.state.settings.push_back({kOpTrim, false, *trim});
      if (number >= kUsualPasses) progress.addTotal(pass.framesRead());
      continue;
    }
    pass.commit();
    if (options.matchLoudness) warnOfMatch(report);
    report.trimBefore = trimOfUser;
    report.elapsedSeconds = static_cast<double>(monotonicMilliseconds() - start) * 0.001;
    return report;
  }
}

std::int64_t expectedFrames(const std::string& input, const RenderOptions& options) {
  if (isStream(input)) return 0;
  try {
    return AudioReader(input).frames() * (options.matchLoudness ? kUsualPasses : 1);
  } catch (const Failure&) {
    return 0;  // rendering will report the error
  }
}
