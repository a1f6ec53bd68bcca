#pragma once

#include <array>
#include <cstddef>
#include <vector>

/// The engine's block buffers, all of one length, in one piece of memory.
/// Two channels always stand; a mono instance leaves the second as it is.
class WorkBuffers {
 public:
  static constexpr int kChannels = 2;
  static constexpr int kBands = 8;
  using Pair = std::array<double*, kChannels>;
  using BandSet = std::array<std::array<double*, kBands>, kChannels>;

  /// Frees everything and allocates anew for blocks of `frames`, cleared; 0 only frees.
  void allocate(int frames);
  void clear() noexcept;
  [[nodiscard]] int capacity() const noexcept { return maxFrames; }  ///< frames

  Pair wet{};          ///< the running chain signal
  Pair dry{};          ///< the input after its trim, delayed as the wet path is
  Pair rest{};         ///< the part of the signal outside a dynamic EQ band
  Pair ext{};          ///< external sidechain input
  BandSet band{};      ///< crossover bands by list position; entry 0 serves a dynamic EQ stage
  BandSet bandCopy{};  ///< the crossover bands as the split left them, a sidechain source
  double* ramp = nullptr;

 private:
  std::vector<double> memory;
  int maxFrames = 0;
};
