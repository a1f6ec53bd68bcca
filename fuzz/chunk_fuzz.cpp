#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/parameter_table.h"
#include "host/plug_base_json.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/// All that a document reaches, without an engine that would take the time.
class DocumentEffect : public PlugBaseJSON {
 public:
  DocumentEffect() : PlugBaseJSON(nullptr, kParameterTable, parameterKeyTable(), 1) {
    setAbParameter(kABBank);
  }
};

std::string textOf(PlugBaseJSON& effect) {
  void* data = nullptr;
  effect.setCompressionLevel(0);
  const auto size = static_cast<std::size_t>(effect.getChunk(&data, false));
  return {static_cast<const char*>(data), size};
}

void load(PlugBaseJSON& effect, const std::string& bytes, bool isPreset) {
  // A heap block of its own, so that one byte read too many is seen.
  const auto size = static_cast<std::int32_t>(bytes.size());
  require(effect.setChunk(bytes.data(), size, isPreset) == size);
}

void check(PlugBaseJSON& effect, const std::string& bytes, bool isPreset) {
  const std::string before = textOf(effect);
  load(effect, bytes, isPreset);
  const std::string after = textOf(effect);
  if (effect.chunkRefused()) {
    require(after == before);
    return;
  }
  for (std::int32_t i = 0; i < effect.parameterCount(); ++i) {
    require(effect.getParameter(i) >= 0.0F && effect.getParameter(i) <= 1.0F);
    require(std::isfinite(effect.getPlainValue(i)));
  }
  // What has been read is stored again for good.
  DocumentEffect other;
  load(other, after, false);
  require(!other.chunkRefused() && textOf(other) == after);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  DocumentEffect effect;
  effect.setParameter(kB1Threshold, 0.25F);
  check(effect, bytes, false);
  check(effect, bytes, true);
  return 0;
}
