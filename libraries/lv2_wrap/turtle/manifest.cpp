#include "libraries/lv2_wrap/turtle/manifest.h"

#include <set>

#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"

namespace lv2 {

std::string manifestTurtle(std::span<const FactoryPreset> presets) {
  std::string text(turtlePrefixes());
  for (const PortLayout& plugin : kPlugins) {
    Statements about;
    about.add("a", "lv2:Plugin");
    about.add("lv2:binary", turtleUri("corvanthelis.so"));
    about.add("rdfs:seeAlso", turtleUri(std::string(plugin.fileStem) + ".ttl"));
    text += about.about(turtleUri(plugin.uri));
  }
  std::set<std::string> banks;
  for (const FactoryPreset& preset : presets) {
    if (!preset.folder.empty() && banks.insert(preset.bankUri()).second) {
      Statements bank;
      bank.add("a", "pset:Bank").add("rdfs:label", turtleString(preset.folder));
      text += bank.about(turtleUri(preset.bankUri()));
    }
    text += presetHead(preset)
                .add("rdfs:seeAlso", turtleUri(preset.file()))
                .about(turtleUri(preset.uri()));
  }
  return text;
}

}  // namespace lv2
