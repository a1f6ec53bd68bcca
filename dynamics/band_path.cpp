// The way of one band's signal.

#include "dynamics/compressor.h"

int compressor::processBand(int band, const Block& block, const WorkBuffers::Pair& signal,
                            int alignTo) noexcept {
  const int ahead = lookahead(band);
  const bool dynamicEq = alignTo == kDynamicEq;
  if (dynamicEq) delayPair(buffers->rest, DelayRings::kAlign, band, block, ahead);
  delayPair(signal, DelayRings::kLook, band, block, ahead);
  if (dynamicEq) return ahead;
  // All crossover bands come out as late as the one that looks ahead furthest.
  delayPair(signal, DelayRings::kAlign, band, block, alignTo - ahead);
  return alignTo;
}
