#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "libraries/aax/aax_parameter_manager.h"

// A chunk with the values of all parameters: a mark, the count, then for each parameter the length
// of its identifier, the identifier and its normalised value as a 64-bit float. Numbers are
// little-endian.

struct AaxControlValue {
  std::string id;
  double normalised;  ///< 0..1
};

/// Bytes of the chunk; depends only on the identifiers.
[[nodiscard]] std::size_t controlsChunkSize(const AAX_CParameterManager& parameters) noexcept;
/// Writes `controlsChunkSize` bytes.
void writeControlsChunk(const AAX_CParameterManager& parameters, char* data) noexcept;
/// None if the bytes are cut short, are followed by others or contain an invalid value.
[[nodiscard]] std::optional<std::vector<AaxControlValue>> readControlsChunk(
    std::span<const char> data);
