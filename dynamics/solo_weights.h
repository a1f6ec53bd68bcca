#pragma once

#include <array>
#include <span>

/// State of the listening switches in a block: solo, sidechain listen, difference listen.
struct ListenState {
  int soloCount = 0;      ///< active bands soloed
  int scListen = -1;      ///< the band whose sidechain is heard, -1 for none
  bool listen = false;    ///< the difference between dry and wet is heard
  bool passband = false;  ///< solo plays the rest instead of the band; never with `listen`
};

/// A band and whether it is soloed.
struct SoloBand {
  int band;
  bool solo;
};

/// Shares in the output of a dynamic EQ stage.
struct StageWeights {
  double band;
  double rest;  ///< of the signal outside the band
};

/// Pure; any thread.
[[nodiscard]] StageWeights dynamicEqWeights(const SoloBand& band,
                                            const ListenState& listening) noexcept;

/// Shares of up to eight crossover bands, in list order; unused entries are 1. Solo has an effect
/// only if all soloed bands of the chain are among them. Pure; any thread.
[[nodiscard]] std::array<double, 8> crossoverWeights(std::span<const SoloBand> bands,
                                                     const ListenState& listening) noexcept;
