#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "apps/editor/event_script.h"
#include "apps/output/failure.h"
#include "core/parameter_table.h"
#include "editor/layout/tag_table.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void checkEvent(const ScriptEvent& event) {
  const EventPlace& place = event.place;
  require(place.tag == EventPlace::kNoTag || !tagTable().nameOf(place.tag).empty());
  require(std::isfinite(place.x) && std::isfinite(place.y) && std::isfinite(event.number));
  require(event.kind != ScriptEvent::Kind::kWait || event.number >= 0.0);
  require(event.parameter >= 0 && event.parameter < kNumParams);
  require(event.modifiers.buttons() == 0);
  require(event.text.find('\n') == std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A heap block of its own, so that one byte read too many is seen.
  const std::string text(data, data + size);
  try {
    int line = 0;
    for (const ScriptEvent& event : parseEvents(text, "f")) {
      require(event.line > line);
      line = event.line;
      checkEvent(event);
    }
  } catch (const Failure& failure) {
    require(std::string(failure.what()).starts_with("f:"));
  }
  return 0;
}
