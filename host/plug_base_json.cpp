#include "host/plug_base_json.h"

#include <algorithm>

PlugBaseJSON::PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
                           const ParameterKeys& parameterKeys, int numPrograms)
    : PlugBase(audioMaster, table, parameterKeys, numPrograms) {
  programsAreChunks();
}

void PlugBaseJSON::setParameter(std::int32_t index, float normalised) {
  PlugBase::setParameter(index, normalised);
  // After the write: whoever clears the mark and then reads the values must not miss this one.
  chunkDirty.store(true, std::memory_order_release);
}

void PlugBaseJSON::resume() {
  PlugBase::resume();
  chunkDirty.store(true, std::memory_order_release);
}

void PlugBaseJSON::setCompressionLevel(std::int32_t level) noexcept {
  chunkLevel.store(std::clamp(level, 0, 9), relaxed);
}
