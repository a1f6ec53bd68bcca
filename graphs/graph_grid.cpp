#include "graphs/graph_grid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace graph_grid {

namespace {

constexpr double kFirstDecade = 10.0;
constexpr int kLinesOfDecade = 9;
constexpr double kThousand = 1000.0;
constexpr double kLeastLeft = 2.0;
constexpr double kSpareRight = 4.0;
constexpr double kLevelStep = 6.0;  // dB
constexpr int kAnalyserSteps = 8;
constexpr int kFirstAnalyserRow = 5;

/// Calls `each` with every frequency that has a line and its multiple of the decade.
template <typename Each>
void forLines(const FrequencyAxis& axis, const Each& each) {
  for (double decade = kFirstDecade; decade <= axis.maxf; decade *= 10.0) {
    for (int multiple = 1; multiple <= kLinesOfDecade; ++multiple) {
      const double frequency = multiple * decade;
      if (frequency > axis.maxf) return;
      if (frequency >= axis.minf) each(frequency, multiple);
    }
  }
}

std::string printed(const char* format, double number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), format, number);
  return text.data();
}

/// Which multiples have a figure besides 1, 2 and 5: every `step`-th from 2 on; 0 for none.
int moreFigures(const FrequencyAxis& axis, double nyquist) {
  const double shown = axis.maxf / axis.minf;
  if (!(nyquist / 10.0 > shown * 32.0)) return 0;
  return nyquist / 10.0 > shown * 256.0 ? 1 : 2;
}

}  // namespace

std::vector<Upright> uprights(const FrequencyAxis& axis) {
  std::vector<Upright> lines;
  forLines(axis, [&](double frequency, int multiple) {
    lines.push_back({axis.columnOf(frequency), frequency, multiple == 1});
  });
  return lines;
}

std::vector<Figure> frequencyFigures(const FrequencyAxis& axis, double nyquist,
                                     const TextWidth& widthOf) {
  std::vector<Figure> figures;
  const int more = moreFigures(axis, nyquist);
  double end = 0.0;
  forLines(axis, [&](double frequency, int multiple) {
    const bool isMain = multiple == 1 || multiple == 2 || multiple == 5;
    if (!isMain && (more == 0 || multiple % more != 0)) return;
    const char* const thousands = isMain ? "%.0fk" : "%.1fk";
    Figure figure{frequency < kThousand ? printed("%.0f", frequency)
                                        : printed(thousands, frequency / kThousand),
                  0.0, 0.0};
    figure.width = widthOf(figure.text);
    const double centred = axis.columnOf(frequency) - (figure.width - 1.0) * 0.5;
    figure.left = std::min(std::max(centred, kLeastLeft), axis.width - kSpareRight - figure.width);
    if (!(figure.left > end)) return;
    end = figure.left + figure.width + 1.0;
    figures.push_back(std::move(figure));
  });
  return figures;
}

std::vector<Level> levels(const LevelAxis& axis) {
  std::vector<Level> lines;
  const int count = static_cast<int>(axis.range / 3.0 + 1.0);
  for (int i = 0; i < count; ++i) {
    const int row = count > 1 ? (axis.height - 1) * i / (count - 1) : 0;
    lines.push_back({row, axis.range - kLevelStep * i});
  }
  return lines;
}

std::vector<Level> analyserLevels(const AnalyserAxis& axis, int height) {
  std::vector<Level> texts;
  texts.reserve(kAnalyserSteps);
  for (int i = 0; i < kAnalyserSteps; ++i) {
    texts.push_back({i == 0 ? kFirstAnalyserRow : (height - 1) * i / kAnalyserSteps,
                     axis.top - i * axis.range / kAnalyserSteps});
  }
  return texts;
}

std::string levelText(double dB) { return printed("%2.0fdB", dB); }

int glowOf(int row, int height, int strength) {
  return height > 0 ? std::max((height - 2 * row) * strength / height, 0) : 0;
}

}  // namespace graph_grid
