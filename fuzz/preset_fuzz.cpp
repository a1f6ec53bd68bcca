#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/plug.h"
#include "fuzz/idle_plug.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

std::string textOf(Plug& plug, bool isPreset) {
  void* data = nullptr;
  plug.setCompressionLevel(0);
  const auto size = static_cast<std::size_t>(plug.getChunk(&data, isPreset));
  return {static_cast<const char*>(data), size};
}

void load(Plug& plug, const std::string& bytes, bool isPreset) {
  const auto size = static_cast<std::int32_t>(bytes.size());
  require(plug.setChunk(bytes.data(), size, isPreset) == size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static IdlePlug first;
  static IdlePlug second;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  Plug& plug = first.plug;
  load(plug, "{\"v101\":true,\"presets\":[],\"settings\":{\"freeWidth\":844,\"meterRange\":24}}",
       false);
  plug.setParameter(kB1Threshold, 0.25F);
  const std::string before = textOf(plug, true);
  load(plug, bytes, size % 2 == 0);
  // Locks and links go with every attempt.
  if (plug.chunkRefused()) require(textOf(plug, true) == before);
  const EditorState& editor = plug.editorState();
  require(editor.currentBand >= 0 && editor.currentBand < kNumBands);
  require(editor.freeWidth > 0 && std::isfinite(editor.zoom) && std::isfinite(editor.meterRange));
  // What has been read is stored again for good; going to the stored bank may bring values to where
  // their curves put them, once.
  load(second.plug, textOf(plug, false), false);
  require(!second.plug.chunkRefused());
  const std::string stored = textOf(second.plug, false);
  load(plug, stored, false);
  require(!plug.chunkRefused() && textOf(plug, false) == stored);
  return 0;
}
