#pragma once

#include <array>
#include <atomic>

/// Choices of the preference "Meter Ballistic".
enum MeterBallistic : int { kDigital = 0, kPpm = 1, kVu = 2, kBbc = 3 };

/// One level follower per output channel, with the ballistics of a level meter.
/// Threads: `setBallistic` on a control thread at any moment; `reset` while nothing processes;
/// `follow` on the audio thread; `peak` on any thread.
class OutputPeak {
 public:
  /// Designs attack and release for `sampleRate` (Hz, > 0). An unknown choice counts as `kDigital`.
  void setBallistic(int choice, double sampleRate) noexcept;
  void reset() noexcept;
  /// One signal per channel, 1 or 2; a null signal leaves its channel as it is. Missing channels
  /// show silence.
  template <typename Sample>
  void follow(Sample const* const* signals, int channels, int frames) noexcept;
  [[nodiscard]] double peak(int channel) const noexcept;  ///< linear; 0 for an unknown channel

 private:
  struct Factors {
    double up, down;
  };
  template <typename Sample>
  void followOne(int channel, const Sample* signal, int frames, Factors factors) noexcept;
  template <typename Sample>
  void followBoth(const Sample* left, const Sample* right, int frames, Factors factors) noexcept;

  std::atomic<double> attack{1.0};  // share of the distance per sample
  std::atomic<double> release{0.0};
  std::array<std::atomic<double>, 2> envelope{};
};
