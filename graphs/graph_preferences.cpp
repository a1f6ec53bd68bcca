#include "graphs/graph_preferences.h"

#include <algorithm>
#include <iterator>

#include "state/ui_settings.h"

namespace {

template <typename Number, std::size_t kCount>
Number chosen(const Number (&choices)[kCount], double index) {
  const double last = static_cast<double>(kCount - 1);
  return choices[static_cast<std::size_t>(std::clamp(index, 0.0, last))];
}

constexpr double kDecays[] = {0.0, 0.95, 0.99, 0.999};
constexpr double kAnalyserRanges[] = {96.0, 80.0, 64.0, 48.0};
constexpr double kAnalyserTops[] = {0.0, -12.0, -24.0, -36.0};
constexpr double kTilts[] = {0.0, 3.0, 4.5, 6.0};
constexpr int kSmoothings[] = {1, 2, 4, 8};
constexpr int kGlows[] = {14, 26, 42};
constexpr GraphPreferences::Style kStyles[] = {GraphPreferences::Style::kFilled,
                                               GraphPreferences::Style::kOutlined,
                                               GraphPreferences::Style::kBoth};

}  // namespace

GraphPreferences GraphPreferences::read(const UiSettings& settings) {
  const auto graph = [&](const char* key) { return settings.getUiValue("Graph", key); };
  const auto analyser = [&](const char* key) { return settings.getUiValue("Analyser", key); };
  GraphPreferences made;
  made.range = chosen(kGraphRanges, graph("Range"));
  made.readout = static_cast<int>(graph("Readout"));
  made.readoutAtBottom = graph("Readout Position") != 0.0;
  made.grDecay = static_cast<float>(graph("GR Decay") * 0.01);
  made.highlightsCurrent = graph("Highlight Current Band") != 0.0;
  made.drawStyle = chosen(kStyles, graph("Draw Style"));
  made.invertedQ = graph("Inverted Q") != 0.0;
  made.background = std::clamp(static_cast<int>(graph("Background")), 0, 2);
  made.gradient = graph("Gradient") != 0.0;
  made.showsMeasured = graph("Measured Curve") != 0.0;
  made.analyserDecay = static_cast<int>(analyser("Decay"));
  made.analyserRange = chosen(kAnalyserRanges, analyser("Range"));
  made.analyserTop = chosen(kAnalyserTops, analyser("Top"));
  made.analyserTilt = chosen(kTilts, analyser("Tilt"));
  made.analyserSmoothing = chosen(kSmoothings, analyser("Smoothing"));
  made.analyserOutlined = analyser("Display") != 0.0;
  return made;
}

double GraphPreferences::decayFactor() const { return chosen(kDecays, analyserDecay); }

int GraphPreferences::glow() const { return gradient ? kGlows[background] : 0; }
