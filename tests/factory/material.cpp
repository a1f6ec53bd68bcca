#include "tests/factory/material.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <span>

#include "apps/audio_reader.h"

namespace {

constexpr double kTau = 2.0 * std::numbers::pi;
constexpr int kFrames = static_cast<int>(kMaterialRate * kMaterialSeconds);

int frameAt(double seconds) { return static_cast<int>(std::lround(seconds * kMaterialRate)); }

/// -1..1, the same in every run.
class Noise {
 public:
  double operator()() noexcept {
    seed = seed * 1664525U + 1013904223U;
    return static_cast<double>(seed) / 2147483648.0 - 1.0;
  }

 private:
  std::uint32_t seed = 12345;
};

/// Two-pole resonance of unit gain at `hertz`.
class Resonance {
 public:
  Resonance(double hertz, double bandwidth) {
    const double r = std::exp(-0.5 * kTau * bandwidth / kMaterialRate);
    b1 = 2.0 * r * std::cos(kTau * hertz / kMaterialRate);
    b2 = -r * r;
    gain = (1.0 - r) * std::sqrt(1.0 - 2.0 * r * std::cos(2.0 * kTau * hertz / kMaterialRate) - b2);
  }
  double operator()(double x) noexcept {
    const double y = gain * x + b1 * y1 + b2 * y2;
    y2 = y1;
    y1 = y;
    return y;
  }

 private:
  double b1;
  double b2;
  double gain;
  double y1 = 0.0;
  double y2 = 0.0;
};

/// Rises and falls as a sine's half wave, over `length` of 0..1.
double arch(double position, double length) {
  return position < length ? std::sin(0.5 * kTau * position / length) : 0.0;
}

Material inTheMiddle(std::vector<double> samples) {
  Material material;
  material.main[0] = samples;
  material.main[1] = std::move(samples);
  return material;
}

/// Syllables of 0.2 s, four a second, over vowels of 110 Hz.
void addTalk(std::vector<double>& out, double from, double to, double level) {
  Noise breath;
  Resonance first(600.0, 120.0);
  Resonance second(1400.0, 200.0);
  Resonance third(2900.0, 400.0);
  double phase = 0.0;
  for (int i = frameAt(from); i < frameAt(to); ++i) {
    const double seconds = i / static_cast<double>(kMaterialRate) - from;
    phase = std::fmod(phase + (110.0 + 12.0 * std::sin(3.1 * seconds)) / kMaterialRate, 1.0);
    const double source = 2.0 * phase - 1.0 + 0.1 * breath();
    const double voice =
        0.2 * source + 2.2 * first(source) + 3.0 * second(source) + 2.5 * third(source);
    out[static_cast<std::size_t>(i)] += level * arch(std::fmod(seconds, 0.25), 0.2) * voice;
  }
}

/// The frames of a short sound.
std::span<double> stretch(std::vector<double>& out, double from, double seconds) {
  return std::span(out).subspan(static_cast<std::size_t>(frameAt(from)),
                                static_cast<std::size_t>(frameAt(seconds)));
}

void addSibilant(std::vector<double>& out, double from) {
  constexpr double kSeconds = 0.12;
  Noise hiss;
  Resonance sharp(7200.0, 2500.0);
  double seconds = 0.0;
  for (double& x : stretch(out, from, kSeconds)) {
    x += 0.5 * arch(seconds, kSeconds) * sharp(hiss());
    seconds += 1.0 / kMaterialRate;
  }
}

void addThump(std::vector<double>& out, double from) {
  constexpr double kSeconds = 0.12;
  double seconds = 0.0;
  for (double& x : stretch(out, from, kSeconds)) {
    x += 0.5 * arch(seconds, kSeconds) * std::sin(kTau * 70.0 * seconds);
    seconds += 1.0 / kMaterialRate;
  }
}

Material plucked(double lowest, double loudest) {
  constexpr std::array kSemitones = {0, 7, 12, 5, 10, 19, 3, 15, 0, 12};
  constexpr int kHarmonics = 14;
  std::vector<double> out(kFrames);
  Noise pick;
  Resonance click(3400.0, 1800.0);
  const int length = frameAt(0.5);
  for (int i = 0; i < kFrames; ++i) {
    const int note = i / length;
    const double seconds = (i % length) / static_cast<double>(kMaterialRate);
    const double hertz =
        lowest *
        std::exp2(kSemitones[static_cast<std::size_t>(note) / 2 % kSemitones.size()] / 12.0);
    double tone = 0.0;
    for (int h = 1; h <= kHarmonics; ++h) {
      tone += std::sin(kTau * hertz * h * seconds) * std::exp(-(1.5 + 1.2 * h) * seconds) / h;
    }
    const double attack = std::min(1.0, seconds / 0.002);
    const double end = std::min(1.0, (0.5 - seconds) / 0.01);
    const double noise = 2.0 * click(pick()) * std::exp(-seconds / 0.006);
    const double level = note % 2 == 0 ? loudest : loudest * std::pow(10.0, -0.5);
    out[static_cast<std::size_t>(i)] = level * attack * end * (tone + noise) + 0.0003 * pick();
  }
  return inTheMiddle(std::move(out));
}

}  // namespace

Material atTwiceTheRate(const Material& material) {
  Material result = material;
  for (auto* const channel : {&result.main[0], &result.main[1], &result.key[0], &result.key[1]}) {
    std::vector<double> doubled;
    for (const double x : *channel) {
      const double before = doubled.empty() ? 0.0 : doubled.back();
      doubled.insert(doubled.end(), {0.5 * (before + x), x});
    }
    *channel = std::move(doubled);
  }
  return result;
}

Material demoMaterial() {
  AudioReader reader(CORVANTHELIS_DEMO);
  std::vector<double> interleaved(2 * kFrames);
  reader.read(interleaved.data(), kFrames);
  Material material;
  for (std::size_t c = 0; c < 2; ++c) {
    material.main[c].resize(kFrames);
    for (std::size_t i = 0; i < kFrames; ++i) material.main[c][i] = interleaved[2 * i + c];
  }
  return material;
}

Material keyedMaterial() {
  Material material = demoMaterial();
  std::vector<double> key(kFrames);
  for (int i = 0; i < kFrames; ++i) {
    const bool sounds = i % (5 * kMaterialRate) < frameAt(2.5);
    if (sounds)
      key[static_cast<std::size_t>(i)] = 0.25 * std::sin(kTau * 200.0 * i / kMaterialRate);
  }
  material.key = {key, key};
  return material;
}

Material talkMaterial() {
  std::vector<double> out(kFrames);
  Noise air;
  Resonance rumble(80.0, 120.0);
  for (double& x : out) x = 0.0173 * rumble(air()) + 0.0003 * air();
  addTalk(out, 1.5, 4.0, 0.25);
  addTalk(out, 4.5, 7.0, 0.05);
  addTalk(out, 7.5, 8.7, 0.18);
  addTalk(out, 8.7, 10.0, 0.05);
  for (const double at : {7.75, 8.15, 8.55}) addSibilant(out, at);
  for (const double at : {8.8, 9.2, 9.6}) addThump(out, at);
  return inTheMiddle(std::move(out));
}

Material drumMaterial() {
  constexpr double kPeak = 0.89;
  std::vector<double> out(kFrames);
  Noise noise;
  Resonance rattle(2500.0, 3000.0);
  Resonance sizzle(9000.0, 4000.0);
  for (int i = 0; i < kFrames; ++i) {
    const double seconds = i / static_cast<double>(kMaterialRate);
    const double kick = std::fmod(seconds, 1.0);
    const double snare = std::fmod(seconds + 0.5, 1.0);
    const double hat = std::fmod(seconds, 0.25);
    out[static_cast<std::size_t>(i)] =
        std::sin(kTau * (50.0 * kick - 4.0 * std::expm1(-30.0 * kick))) * std::exp(-8.0 * kick) +
        (0.6 * std::sin(kTau * 190.0 * snare) + 2.5 * rattle(noise())) * std::exp(-16.0 * snare) +
        0.8 * sizzle(noise()) * std::exp(-50.0 * hat);
  }
  const double peak = std::abs(std::ranges::max(out, {}, [](double x) { return std::abs(x); }));
  for (double& x : out) x *= kPeak / peak;
  return inTheMiddle(std::move(out));
}

Material clippedMaterial() {
  std::vector<double> out = std::move(drumMaterial().main[0]);
  for (int i = 0; i < kFrames; ++i) {
    double& x = out[static_cast<std::size_t>(i)];
    const double tone = i < kFrames / 2 ? 0.0 : std::sin(kTau * 3150.0 * i / kMaterialRate);
    x = std::clamp(5.0 * (x + tone), -1.0, 1.0);
  }
  return inTheMiddle(std::move(out));
}

Material lowToneMaterial() {
  std::vector<double> out(kFrames);
  Noise hiss;
  for (int i = 0; i < kFrames; ++i) {
    const double hertz = i < kFrames / 2 ? 41.2 : 130.0;
    out[static_cast<std::size_t>(i)] =
        0.5 * std::sin(kTau * hertz * i / kMaterialRate) + 0.0003 * hiss();
  }
  return inTheMiddle(std::move(out));
}

Material guitarMaterial() { return plucked(82.4, 0.3); }
Material bassMaterial() { return plucked(41.2, 0.34); }
