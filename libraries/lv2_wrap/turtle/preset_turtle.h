#pragma once

#include <array>
#include <string>
#include <vector>

#include "editing/parameter_ids.h"
#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"

namespace lv2 {

/// A factory preset as hosts see it: values of ports, and a state which says that there is none, so
/// that it does not touch the user's banks.
struct FactoryPreset {
  std::string stem;                        ///< name of its file in the bundle, and end of its URI
  std::string folder;                      ///< shown; empty if it is in none
  std::string name;                        ///< shown
  std::array<float, kNumParams> values{};  ///< plain, as `roundPlain` gives them

  [[nodiscard]] std::string uri() const;
  [[nodiscard]] std::string bankUri() const;  ///< URI of its folder
  [[nodiscard]] std::string file() const;     ///< path relative to the bundle
  /// Whether the plug-in has what the preset hears: some listen to a sidechain.
  [[nodiscard]] bool suits(const PortLayout& plugin) const;
};

/// Removes the two digits at the start of a name, which only give the order: "01 Bus Glue" becomes
/// "Bus Glue".
[[nodiscard]] std::string shownName(const std::string& name);

/// All presets in a folder and its subfolders, sorted by path. Throws std::runtime_error, which
/// names file and reason, if a file cannot be read, is no preset or would get the URI of another
/// one, and if there are no presets.
[[nodiscard]] std::vector<FactoryPreset> readFactoryPresets(const std::string& folder);

/// The statements about a preset that both the manifest and its own file contain.
[[nodiscard]] Statements presetHead(const FactoryPreset& preset);

/// The preset's own file. It names all parameter ports except those of `kABBank` and `kBypass`,
/// since hosts leave unnamed ports as they are.
[[nodiscard]] std::string presetTurtle(const FactoryPreset& preset);

}  // namespace lv2
