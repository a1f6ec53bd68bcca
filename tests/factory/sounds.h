#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "apps/audio_files/audio_reader.h"

inline constexpr int kSoundRate = 48000;  // Hz
inline constexpr int kSoundSeconds = 10;

using Signal = std::vector<double>;

/// Ten seconds that a preset is heard with; `key` goes to the sidechain inputs, if it holds
/// anything.
struct Sound {
  Signal main;  ///< two channels, interleaved
  Signal key;
};

inline constexpr double kTau = 2.0 * std::numbers::pi;

inline int frameAt(double seconds) { return static_cast<int>(std::lround(seconds * kSoundRate)); }

/// -1..1, the same in every run.
inline auto noise() {
  return [seed = std::uint32_t{12345}]() mutable {
    seed = seed * 1664525U + 1013904223U;
    return static_cast<double>(seed) / 2147483648.0 - 1.0;
  };
}

/// Two-pole resonance of unit gain at `hertz`.
inline auto resonance(double hertz, double bandwidth) {
  const double r = std::exp(-0.5 * kTau * bandwidth / kSoundRate);
  const double turn = kTau * hertz / kSoundRate;
  const double gain = (1.0 - r) * std::sqrt(1.0 - 2.0 * r * std::cos(2.0 * turn) + r * r);
  return [=, y1 = 0.0, y2 = 0.0](double x) mutable {
    const double y = gain * x + 2.0 * r * std::cos(turn) * y1 - r * r * y2;
    y2 = std::exchange(y1, y);
    return y;
  };
}

/// Rises and falls as a sine's half wave, over `length` of 0..1.
inline double arch(double position, double length) {
  return position < length ? std::sin(0.5 * kTau * position / length) : 0.0;
}

inline double sine(double turns) { return std::sin(kTau * turns); }

/// Adds what `at` gives for each frame's time from `from` on.
template <typename At>
void add(Signal& out, double from, double seconds, const At& at) {
  const auto start = static_cast<std::size_t>(frameAt(from));
  for (int i = 0; i < frameAt(seconds); ++i) {
    out[start + static_cast<std::size_t>(i)] += at(i / static_cast<double>(kSoundRate));
  }
}

template <typename At>
Signal sounding(const At& at) {
  Signal out(kSoundSeconds * kSoundRate);
  add(out, 0.0, kSoundSeconds, at);
  return out;
}

/// Syllables of 0.2 s, four a second, over vowels of 110 Hz.
inline void addTalk(Signal& out, double from, double to, double level) {
  auto breath = noise();
  auto first = resonance(600.0, 120.0);
  auto second = resonance(1400.0, 200.0);
  auto third = resonance(2900.0, 400.0);
  double phase = 0.0;
  add(out, from, to - from, [&](double seconds) {
    phase = std::fmod(phase + (110.0 + 12.0 * std::sin(3.1 * seconds)) / kSoundRate, 1.0);
    const double source = 2.0 * phase - 1.0 + 0.1 * breath();
    const double voice =
        0.2 * source + 2.2 * first(source) + 3.0 * second(source) + 2.5 * third(source);
    return level * arch(std::fmod(seconds, 0.25), 0.2) * voice;
  });
}

inline Signal talk() {
  constexpr double kShort = 0.12;
  auto air = noise();
  auto rumble = resonance(80.0, 120.0);
  Signal out = sounding([&](double) {
    const double low = 0.0173 * rumble(air());
    return low + 0.0003 * air();
  });
  addTalk(out, 1.5, 4.0, 0.25);
  addTalk(out, 4.5, 7.0, 0.05);
  addTalk(out, 7.5, 8.7, 0.18);
  addTalk(out, 8.7, 10.0, 0.05);
  for (const double at : {7.75, 8.15, 8.55}) {
    auto hiss = noise();
    auto sharp = resonance(7200.0, 2500.0);
    add(out, at, kShort, [&](double t) { return 0.5 * arch(t, kShort) * sharp(hiss()); });
  }
  for (const double at : {8.8, 9.2, 9.6}) {
    add(out, at, kShort, [](double t) { return 0.5 * arch(t, kShort) * sine(70.0 * t); });
  }
  return out;
}

inline Signal drums() {
  auto hiss = noise();
  auto rattle = resonance(2500.0, 3000.0);
  auto sizzle = resonance(9000.0, 4000.0);
  Signal out = sounding([&](double seconds) {
    const double kick = std::fmod(seconds, 1.0);
    const double snare = std::fmod(seconds + 0.5, 1.0);
    const double hat = std::fmod(seconds, 0.25);
    const double snares = 0.6 * sine(190.0 * snare) + 2.5 * rattle(hiss());
    return sine(50.0 * kick - 4.0 * std::expm1(-30.0 * kick)) * std::exp(-8.0 * kick) +
           snares * std::exp(-16.0 * snare) + 0.8 * sizzle(hiss()) * std::exp(-50.0 * hat);
  });
  const double peak = std::abs(std::ranges::max(out, {}, [](double x) { return std::abs(x); }));
  for (double& x : out) x *= 0.89 / peak;
  return out;
}

inline Signal clipped() {
  const Signal beats = drums();
  return sounding([&](double seconds) {
    const double tone = seconds < 5.0 ? 0.0 : sine(3150.0 * seconds);
    return std::clamp(5.0 * (beats[static_cast<std::size_t>(frameAt(seconds))] + tone), -1.0, 1.0);
  });
}

inline Signal lowTones() {
  auto hiss = noise();
  return sounding([&](double seconds) {
    return 0.5 * sine((seconds < 5.0 ? 41.2 : 130.0) * seconds) + 0.0003 * hiss();
  });
}

inline Signal plucked(double lowest, double loudest) {
  constexpr std::array kSemitones = {0, 7, 12, 5, 10, 19, 3, 15, 0, 12};
  auto pick = noise();
  auto click = resonance(3400.0, 1800.0);
  return sounding([&](double time) {
    const auto note = static_cast<std::size_t>(frameAt(time) / frameAt(0.5));
    const double seconds = time - 0.5 * static_cast<double>(note);
    const double hertz = lowest * std::exp2(kSemitones[note / 2 % kSemitones.size()] / 12.0);
    double tone = 0.0;
    for (int h = 1; h <= 14; ++h) {
      tone += sine(hertz * h * seconds) * std::exp(-(1.5 + 1.2 * h) * seconds) / h;
    }
    const double shape = std::min(1.0, seconds / 0.002) * std::min(1.0, (0.5 - seconds) / 0.01);
    const double sharp = 2.0 * click(pick()) * std::exp(-seconds / 0.006);
    const double level = note % 2 == 0 ? loudest : loudest * std::pow(10.0, -0.5);
    return level * shape * (tone + sharp) + 0.0003 * pick();
  });
}

/// By name:
/// - "demo": the demo piece, which lies in `demoFile`; "keyed" with a key that sounds from 0 to 2.5
/// and from 5 to 7.5 s, at
///   -12 dBFS
/// - "talk": one voice in the middle, in a room that rumbles at -62 dB and hisses at -75 dB: from
///   1.5 s loud, from 4.5 s 14 dB softer, from 7.5 s with a sharp s every 0.4 s, from 8.7 s soft
///   with a thump of breath at 70 Hz every 0.4 s. The half seconds before 4.5, 7.5 s and the start
///   up to 1.5 s are room alone
/// - "drums": kick, snare and hats with peaks at -1 dB; "clipped" the same driven 14 dB into
///   clipping, from 5 s with a clipped tone over them
/// - "lowTones": tones at -6 dB, of 41.2 Hz and from 5 s of 130 Hz, over a hiss at -75 dB
/// - "guitar", "bass": plucked notes every half second, loud and 10 dB softer in turn, each begun
///   by the click of a pick, over a hiss at -75 dB, from 82 to 247 Hz or an octave lower
inline Sound soundNamed(const std::string& name, const char* demoFile) {
  Sound sound{Signal(2UL * kSoundSeconds * kSoundRate), {}};
  if (name == "demo" || name == "keyed") {
    AudioReader(demoFile).read(sound.main.data(), kSoundSeconds * kSoundRate);
    if (name == "demo") return sound;
    sound.key = sounding([](double seconds) {
      return std::fmod(seconds, 5.0) < 2.5 ? 0.25 * sine(200.0 * seconds) : 0.0;
    });
    return sound;
  }
  const std::map<std::string, Signal (*)()> makers = {{"talk", talk},
                                                      {"drums", drums},
                                                      {"clipped", clipped},
                                                      {"lowTones", lowTones},
                                                      {"guitar", [] { return plucked(82.4, 0.3); }},
                                                      {"bass", [] { return plucked(41.2, 0.34); }}};
  const Signal signal = makers.at(name)();
  for (std::size_t i = 0; i < sound.main.size(); ++i) sound.main[i] = signal[i / 2];
  return sound;
}
