#pragma once

#include <array>
#include <string>
#include <vector>

#include "editing/parameter_ids.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"

namespace lv2 {

/// A factory preset as hosts know it: values of ports and, as its state, that there is none, so
/// that it leaves the user's banks alone.
struct FactoryPreset {
  std::string stem;                        ///< of its file in the bundle, and the end of its URI
  std::string folder;                      ///< shown; empty for one that is in none
  std::string name;                        ///< shown
  std::array<float, kNumParams> values{};  ///< plain, as `roundPlain` gives them

  [[nodiscard]] std::string uri() const;
  [[nodiscard]] std::string bankUri() const;  ///< that of its folder
  [[nodiscard]] std::string file() const;     ///< path from the bundle on
};

/// "Bus Glue" of "01 Bus Glue": two digits in front only tell the order.
[[nodiscard]] std::string shownName(const std::string& name);

/// All presets in a folder and those below it, by path. Throws std::runtime_error, which names file
/// and reason, for what cannot be read, is no preset or would take the URI of another one, and if
/// there are none.
[[nodiscard]] std::vector<FactoryPreset> readFactoryPresets(const std::string& folder);

/// What the manifest and the preset's own file both say of it.
[[nodiscard]] Statements presetHead(const FactoryPreset& preset);

/// The preset's own file. It names all ports but those of `kABBank` and `kBypass`: hosts leave
/// ports as they are that a preset does not name.
[[nodiscard]] std::string presetTurtle(const FactoryPreset& preset);

}  // namespace lv2
