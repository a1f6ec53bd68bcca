#pragma once

#include <array>
#include <span>

/// What the listening switches ask of a block: solo, sidechain listen, difference listen.
struct ListenState {
  int soloCount = 0;      ///< active bands soloed
  int scListen = -1;      ///< the band whose sidechain is heard, -1 for none
  bool listen = false;    ///< the difference between dry and wet is heard
  bool passband = false;  ///< of a soloed band, what passes beside it is heard; never with `listen`
};

/// A band and whether it is soloed.
struct SoloBand {
  int band;
  bool solo;
};

/// Shares of a dynamic EQ stage's output.
struct StageWeights {
  double band;
  double rest;  ///< of the signal beside the band
};

/// Pure; any thread.
[[nodiscard]] StageWeights dynamicEqWeights(const SoloBand& band,
                                            const ListenState& listening) noexcept;

/// Shares of up to eight crossover bands, in list order; the entries past them are 1. Solo weighs
/// the bands only when all soloed bands of the chain are among them. Pure; any thread.
[[nodiscard]] std::array<double, 8> crossoverWeights(std::span<const SoloBand> bands,
                                                     const ListenState& listening) noexcept;
