#pragma once

#include <array>
#include <vector>

/// The true peak of a signal (ITU-R BS.1770): the highest magnitude of its samples and of what lies
/// between them, read at four times the rate. Ahead of its first sample the signal counts as
/// mirrored, as in other meters of this kind, so that a cut is no step; behind its last one lies
/// silence.
class TruePeak {
 public:
  explicit TruePeak(int channels);

  /// `interleaved` must be finite.
  void add(const double* interleaved, int frames);
  /// Linear, of the loudest channel of all that was added.
  [[nodiscard]] double peak() const;

 private:
  static constexpr int kHalf = 16;  // samples on either side of a place in between
  static constexpr int kTaps = 2 * kHalf;
  static constexpr int kPlaces = 3;  // between two samples
  using Kernel = std::array<double, kTaps>;
  using Kernels = std::array<Kernel, kPlaces>;

  /// What of a channel is still to be read.
  struct Channel {
    std::vector<double> waiting;  // begins `kHalf` - 1 samples ahead of the next place
    bool begun = false;           // `waiting` has the mirrored samples
    double highest = 0.0;
  };

  [[nodiscard]] static const Kernels& kernels();
  static void begin(Channel& channel);
  static void read(Channel& channel);

  std::vector<Channel> channels;
};
