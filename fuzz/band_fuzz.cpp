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

std::string bandText(Plug& plug, int band) {
  std::string text;
  plug.saveBand(text, band);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static IdlePlug rig;
  Plug& plug = rig.plug;
  for (int row = kB1State; row <= kB1SCHFType; ++row) {
    const int id = bandParameterId(2, row);
    plug.setParameter(id, plug.getParameterDefault(id));
  }
  plug.clearHistory();
  const std::string before = bandText(plug, 2);
  // A heap block of its own, so that one byte read too many is seen.
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const bool taken = plug.loadBandFromText(bytes.data(), bytes.size(), 2);
  const std::string after = bandText(plug, 2);
  if (!taken) require(after == before && !plug.canUndo());
  for (int row = kB1State; row <= kB1SCHFType; ++row) {
    require(std::isfinite(plug.getPlainValue(bandParameterId(2, row))));
  }
  require(plug.getPlainValue(bandParameterId(2, kB1State)) == 0.0F);
  plug.undo();
  require(bandText(plug, 2) == before && !plug.canUndo());
  return 0;
}
