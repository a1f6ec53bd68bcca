#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "libraries/aax/aax_controls_chunk.h"

/// What is taken is whole: every byte belongs to a value within its range.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A heap block of its own, so that one byte read too many is seen.
  const std::vector<char> bytes(data, data + size);
  const auto values = readControlsChunk(bytes);
  if (!values) return 0;
  std::size_t whole = 2 * sizeof(std::uint32_t);
  for (const AaxControlValue& value : *values) {
    whole += sizeof(std::uint32_t) + value.id.size() + sizeof(double);
    if (!(value.normalised >= 0.0 && value.normalised <= 1.0)) std::abort();
  }
  if (whole != size) std::abort();
  return 0;
}
