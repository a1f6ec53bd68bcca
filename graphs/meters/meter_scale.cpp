#include "graphs/meters/meter_scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace {

constexpr double kLeastTextPitch = 12.0;  // pixels
constexpr double kStep = 6.0;             // dB
constexpr int kZoomedSteps = 6;           // to either side
constexpr double kFloor = -200.0;         // dB
constexpr double kExact = 1e-9;

constexpr std::array<double, 4> kMarkOffsets = {0.0, 12.0, 14.0, 20.0};
constexpr std::array<double, 4> kZoomRanges = {1.5, 3.0, 6.0, 12.0};

double chosen(const std::array<double, 4>& from, int choice) noexcept {
  return choice > 0 && choice < 4 ? from[static_cast<std::size_t>(choice)] : from[0];
}

template <typename... Values>
std::string printed(const char* format, Values... values) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

std::vector<ScaleMark> zoomedMarks(const MeterScale& scale) {
  std::vector<ScaleMark> marks;
  for (int k = kZoomedSteps; k >= -kZoomedSteps; --k) {
    const double dB = k * scale.zoomRange / kZoomedSteps;
    const double level = std::pow(10.0, dB * 0.05);
    if (level > MeterScale::kMostLevel) continue;  // no bar goes there
    const double written = dB + scale.markOffset;
    const double tenths = written * 10.0;
    marks.push_back(
        {written, scale.levelToRow(level), std::abs(tenths - std::round(tenths)) < kExact});
  }
  return marks;
}

}  // namespace

double MeterScale::levelToRow(double level) const noexcept {
  const double x = std::clamp(level, 0.0, kMostLevel);
  if (isZoomed) {
    return height * (1.0 - std::clamp(std::log10(x) * 10.0 / zoomRange + 0.5, 0.0, 1.0));
  }
  return height * (1.0 - std::pow(x / kMostLevel, 1.0 / scaleExponent));
}

double MeterScale::gainToRow(double gain) const noexcept {
  return levelToRow(gain * std::pow(10.0, -markOffset * 0.05));
}

double MeterScale::rowToLevel(double row) const noexcept {
  const double base = 1.0 - row / height;
  if (isZoomed) {
    return std::pow(10.0, (std::clamp(base, 0.0, 1.0) - 0.5) * 0.05 * 2.0 * zoomRange);
  }
  return kMostLevel * std::pow(base, scaleExponent);
}

std::vector<ScaleMark> scaleMarks(const MeterScale& scale) {
  if (scale.isZoomed) return zoomedMarks(scale);
  const auto markAt = [&scale](double dB) {
    return ScaleMark{dB, scale.levelToRow(std::pow(10.0, (dB - scale.markOffset) * 0.05))};
  };
  const double top = 20.0 * std::log10(MeterScale::kMostLevel) + scale.markOffset;
  std::vector<ScaleMark> marks = {markAt(std::floor(top / kStep) * kStep)};
  for (;;) {
    const ScaleMark& last = marks.back();
    ScaleMark next = markAt(last.dB - kStep);
    if (next.row - last.row < kLeastTextPitch) next = markAt(last.dB - 2.0 * kStep);
    if (next.row - last.row < kLeastTextPitch) return marks;
    marks.push_back(next);
  }
}

std::string scaleText(const MeterScale& scale, const ScaleMark& mark) {
  return printed(scale.isZoomed ? "%2.1f" : "%.0f", mark.dB);
}

double markOffsetOf(int choice) noexcept { return chosen(kMarkOffsets, choice); }

double zoomRangeOf(int choice) noexcept { return chosen(kZoomRanges, choice); }

double widenedRange(double range, double held) noexcept {
  const double lo = std::pow(10.0, -range * 0.05);
  const double hi = std::pow(10.0, range * 0.05);
  if (held >= lo && held <= hi) return range;
  const double dB = 20.0 * std::log10(held);
  while (dB > range && range < MeterScale::kWidestRange) range *= 2.0;
  return range;
}

std::string levelText(double level) {
  return level > 0.0 ? printed("%.1f", 20.0 * std::log10(level)) : "-inf";
}

std::string gainText(double dB) {
  std::string text = printed("%.1f", dB);
  return text == "-0.0" ? "0.0" : text;
}

std::string gainFigure(double dB) { return printed("%.0f", dB); }

std::string clipText(double level) {
  return level == 0.0 ? "infdB" : printed("%.1fdB", 20.0 * std::log10(std::abs(level)));
}

std::string loudnessText(double loudness, const std::string& unit) {
  return (std::isfinite(loudness) ? printed("%.1f ", loudness) : "-inf ") + unit;
}

double decibelsOf(double gain) noexcept {
  return gain > 0.0 ? std::max(20.0 * std::log10(gain), kFloor) : kFloor;
}
