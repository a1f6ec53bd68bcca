#pragma once

#include <atomic>
#include <cstdint>

#include "host/plug_base.h"

/// The effect whose state is stored as a JSON document: keeps account of whether the state has
/// changed since it was last stored, and of how it is to be packed.
class PlugBaseJSON : public PlugBase {
 public:
  PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
               const ParameterKeys& keys, int numPrograms);

  void setParameter(std::int32_t index, float normalised) override;
  void resume() override;

  /// 0 none to 9 smallest; clamped.
  void setCompressionLevel(std::int32_t level) noexcept;

 protected:
  std::atomic<bool> chunkDirty{true};
  std::atomic<std::int32_t> chunkLevel{9};
};
