#include "libraries/aax/aax_controls_chunk.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::uint32_t kMark = 0x31636c65;  // "elc1" in memory
constexpr std::size_t kHeadSize = 2 * sizeof(std::uint32_t);

class Writer {
 public:
  explicit Writer(char* target) noexcept : to(target) {}
  template <typename Number>
  void number(Number value) noexcept {
    bytes(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void bytes(const char* from, std::size_t size) noexcept {
    std::memcpy(to, from, size);
    to += size;
  }

 private:
  char* to;
};

class Reader {
 public:
  explicit Reader(std::span<const char> source) noexcept : left(source) {}
  template <typename Number>
  [[nodiscard]] bool number(Number& value) noexcept {
    if (left.size() < sizeof value) return false;
    std::memcpy(&value, left.data(), sizeof value);
    left = left.subspan(sizeof value);
    return true;
  }
  [[nodiscard]] bool text(std::string& value) {
    std::uint32_t length = 0;
    if (!number(length) || left.size() < length) return false;
    value.assign(left.data(), length);
    left = left.subspan(length);
    return true;
  }
  [[nodiscard]] bool atEnd() const noexcept { return left.empty(); }

 private:
  std::span<const char> left;
};

}  // namespace

std::size_t controlsChunkSize(const AAX_CParameterManager& parameters) noexcept {
  std::size_t size = kHeadSize;
  for (std::int32_t i = 0; i < parameters.NumParameters(); ++i) {
    const std::size_t length = std::strlen(parameters.GetParameter(i)->Identifier());
    size += sizeof(std::uint32_t) + length + sizeof(double);
  }
  return size;
}

void writeControlsChunk(const AAX_CParameterManager& parameters, char* data) noexcept {
  Writer writer(data);
  writer.number(kMark);
  writer.number(static_cast<std::uint32_t>(parameters.NumParameters()));
  for (std::int32_t i = 0; i < parameters.NumParameters(); ++i) {
    const AAX_IParameter& parameter = *parameters.GetParameter(i);
    const std::size_t length = std::strlen(parameter.Identifier());
    writer.number(static_cast<std::uint32_t>(length));
    writer.bytes(parameter.Identifier(), length);
    writer.number(parameter.GetNormalizedValue());
  }
}

std::optional<std::vector<AaxControlValue>> readControlsChunk(std::span<const char> data) {
  Reader reader(data);
  std::uint32_t mark = 0;
  std::uint32_t count = 0;
  if (!reader.number(mark) || mark != kMark || !reader.number(count)) return std::nullopt;
  std::vector<AaxControlValue> values;
  for (std::uint32_t i = 0; i < count; ++i) {
    AaxControlValue value{};
    if (!reader.text(value.id) || !reader.number(value.normalised)) return std::nullopt;
    // Also false for NaN.
    if (!(value.normalised >= 0.0 && value.normalised <= 1.0)) return std::nullopt;
    values.push_back(std::move(value));
  }
  if (!reader.atEnd()) return std::nullopt;
  return values;
}
