// Texts of values: whatever is read is within the range, and what it is shown by reads back as
// that. The first three bytes choose the parameter and what its texts depend on.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/parameter_table.h"
#include "core/value_reading.h"
#include "host/curves.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kHead = 3;
  if (size < kHead) return 0;
  const int index = (data[0] + 256 * data[1]) % kNumParams;
  const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(index)];
  ValueTextContext context;
  context.extendedRanges = static_cast<float>(data[2] % 3);
  context.extendedRatios = (data[2] & 4) != 0;
  context.ratioAbove = (data[2] & 8) != 0 ? 1.0F : 0.0F;
  context.dynamicEq = context.leftRight = (data[2] & 16) != 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + kHead, size - kHead);
  const auto read = readValue(index, text, record, context);
  if (!read) return 0;
  if (!(read->plain >= record.min && read->plain <= record.max)) std::abort();
  const auto shownAsTaken = [&](float plain) {
    const float taken = plainToNormalised(plain, record.min, record.max, record.curve);
    plain = normalisedToPlain(taken, record.min, record.max, record.curve);
    return valueText(index, plain, record, context, (data[2] & 32) != 0);
  };
  const std::string shown = shownAsTaken(read->plain);
  const auto again = readValue(index, shown, record, context);
  if (!again || again->isOutside || shownAsTaken(again->plain) != shown) std::abort();
  return 0;
}
