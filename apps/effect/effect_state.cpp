#include "apps/effect/effect_state.h"

#include <cstdint>
#include <new>

#include "apps/output/failure.h"

namespace {

constexpr Plug::FlagWords kNoFlags{};

void loadBand(Plug& plug, const StateFile& file) {
  const Plug::FlagWords locks = plug.getLockWords();
  const Plug::FlagWords links = plug.getLinkWords();
  plug.setLockWords(kNoFlags);
  plug.setLinkWords(kNoFlags);
  const bool isLoaded = plug.loadBandFromText(file.text.c_str(), file.text.size(), file.band);
  plug.setLockWords(locks);
  plug.setLinkWords(links);
  if (!isLoaded) throw Failure(file.name, "holds no band");
}

}  // namespace

void requireUpdate(const Plug& plug) {
  if (plug.isUpdateMissing()) throw std::bad_alloc();
}

void applySettings(Plug& plug, std::span<const Setting> settings) {
  for (const Setting& setting : settings) {
    plug.setParameter(setting.parameter,
                      setting.isNormalised
                          ? setting.value
                          : plug.plainToNormalised(setting.parameter, setting.value));
  }
}

void loadStateFile(Plug& plug, const StateFile& file) {
  if (file.role == StateFile::Role::kBand) {
    loadBand(plug, file);
    return;
  }
  plug.setChunk(file.text.data(), static_cast<std::int32_t>(file.text.size()),
                file.role == StateFile::Role::kPreset);
  if (plug.chunkRefused()) throw Failure(file.name, "holds no document");
  requireUpdate(plug);
}

std::string storedText(Plug& plug, bool isPreset) {
  plug.setCompressionLevel(0);
  void* data = nullptr;
  if (plug.getChunk(&data, isPreset) == 0) throw std::bad_alloc();
  return static_cast<const char*>(data);
}

void applyState(Plug& plug, const EffectState& state) {
  for (const StateFile& file : state.files) loadStateFile(plug, file);
  plug.setLockWords(kNoFlags);
  plug.setLinkWords(kNoFlags);
  applySettings(plug, state.settings);
  requireUpdate(plug);
}
