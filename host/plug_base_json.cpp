#include "host/plug_base_json.h"

PlugBaseJSON::PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
                           const ParameterKeys& keys, int numPrograms, bool chunkCacheEnabled)
    : PlugBase(audioMaster, table, keys, numPrograms),
      codec(values, input, *this),
      plain(codec, engineLink),
      chunks(host, plain, stateChanged, chunkCacheEnabled) {
  programsAreChunks();
}

void PlugBaseJSON::resume() {
  PlugBase::resume();
  chunks.forget();
}

void PlugBaseJSON::Plain::load(const JsonNode* root, bool isPreset) {
  codec.load(root, isPreset);
  engine.update(true);
}
