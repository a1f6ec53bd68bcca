#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "libraries/aax/aax_parameter_manager.h"

/// The values of all parameters as bytes: a mark, the count, then per parameter the length of its
/// identifier, the identifier and its normalised value in 64 bits; numbers in little-endian order.

struct AaxControlValue {
  std::string id;
  double normalised;  ///< 0..1
};

/// Depends on the identifiers alone.
[[nodiscard]] std::size_t controlsChunkSize(const AAX_CParameterManager& parameters) noexcept;
/// Writes as many bytes as `controlsChunkSize` tells.
void writeControlsChunk(const AAX_CParameterManager& parameters, char* data) noexcept;
/// Nothing for bytes that were cut, have more behind them or hold what is no such value.
[[nodiscard]] std::optional<std::vector<AaxControlValue>> readControlsChunk(
    std::span<const char> data);
