#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/preset_turtle.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"
#include "platform/clock.h"
#include "state/machine.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

using Nodes = std::unique_ptr<LilvNodes, decltype(&lilv_nodes_free)>;
using State = std::unique_ptr<LilvState, decltype(&lilv_state_free)>;

const ParameterRecord& recordOf(int id) { return kParameterTable[static_cast<std::size_t>(id)]; }

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
    text.replace(at, from.size(), to);
    at += to.size();
  }
}

/// The bundle of the build as a host reads it.
class Turtle : public testing::Test {
 protected:
  Turtle() {
    lilv_world_load_bundle(world.get(), uri("file://" CORVANTHELIS_BUNDLE "/"));
    std::istringstream lines{std::string(lv2::turtlePrefixes())};
    for (std::string word, name, address; lines >> word >> name >> address >> word;) {
      prefixes[name] = address.substr(1, address.size() - 2);
    }
  }

  const LilvNode* uri(const std::string& text) {
    auto& node = uris[text];
    if (!node) node.reset(lilv_new_uri(world.get(), text.c_str()), lilv_node_free);
    return node.get();
  }
  /// `shortName` has one of our own prefixes.
  const LilvNode* term(const std::string& shortName) {
    const std::size_t colon = shortName.find(':') + 1;
    return uri(prefixes.at(shortName.substr(0, colon)) + shortName.substr(colon));
  }
  const LilvPlugin* plugin(const char* name) {
    return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), uri(name));
  }
  Nodes objects(const LilvNode* subject, const std::string& predicate) {
    return {lilv_world_find_nodes(world.get(), subject, term(predicate), nullptr), lilv_nodes_free};
  }
  /// Of all objects, sorted; with what a scale point says.
  std::string text(const LilvNode* subject, const std::string& predicate) {
    std::multiset<std::string> all;
    const Nodes found = objects(subject, predicate);
    LILV_FOREACH(nodes, i, found.get()) {
      const LilvNode* const node = lilv_nodes_get(found.get(), i);
      std::string shown = lilv_node_as_string(node);
      if (predicate == "lv2:scalePoint")
        shown = text(node, "rdf:value") + "=" + text(node, "rdfs:label");
      for (const auto& [name, address] : prefixes) replaceAll(shown, address, name);
      all.insert(shown);
    }
    std::string joined;
    for (const std::string& each : all) joined += (joined.empty() ? "" : ", ") + each;
    return joined;
  }
  float number(const LilvNode* subject, const std::string& predicate) {
    return std::strtof(text(subject, predicate).c_str(), nullptr);
  }
  /// What stands about a subject, a line with our own addresses cut short; without the default.
  std::string describe(const LilvNode* subject, const std::string& ownUri) {
    std::string line;
    for (const char* const predicate :
         {"lv2:symbol",        "lv2:name",        "doap:name",
          "rdfs:comment",      "rdf:type",        "lv2:minimum",
          "lv2:maximum",       "units:unit",      "units:symbol",
          "lv2:portProperty",  "lv2:designation", "lv2:scalePoint",
          "pg:group",          "pg:mainInput",    "pg:mainOutput",
          "pg:sideChainOf",    "pg:source",       "atom:supports",
          "atom:bufferType",   "rsz:minimumSize", "lv2:optionalFeature",
          "lv2:extensionData", "lv2:minorVersion"}) {
      const std::string said = text(subject, predicate);
      if (!said.empty()) line += (line.empty() ? "" : " | ") + said;
    }
    replaceAll(line, ownUri + "#", "#");
    return line + "\n";
  }

  std::map<std::string, std::string> prefixes;
  std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> world{lilv_world_new(), lilv_world_free};
  std::map<std::string, std::shared_ptr<LilvNode>> uris;
  std::map<std::string, LV2_URID> known;
  LV2_URID_Map urids{&known, [](LV2_URID_Map_Handle handle, const char* name) {
                       auto& all = *static_cast<std::map<std::string, LV2_URID>*>(handle);
                       return all.emplace(name, LV2_URID(all.size() + 1)).first->second;
                     }};
};

/// A line of a band, as if it were of the first; what it says of the first itself is marked.
std::string ofBandOne(std::string line, int id) {
  if (!isBandParameter(id)) return line;
  const std::string band = std::to_string(bandOf(id) + 1);
  for (const std::string name : {"kB", "Band", "#band"}) {
    if (band != "1") replaceAll(line, name + '1', name + '?');
    replaceAll(line, name + band, name + '1');
  }
  return line;
}

TEST_F(Turtle, PortsAreWhatTheLibraryTakesThemFor) {
  std::string said =
      "# Plug-ins, groups and ports of the bundle; made anew with CORVANTHELIS_RECORD=1.\n";
  std::map<std::string, std::string> parameters;  // by symbol, as the first plug-in has them
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    const LilvPlugin* const described = plugin(layout.uri);
    ASSERT_EQ(lilv_plugin_get_num_ports(described), unsigned(layout.count()));
    said += describe(uri(layout.uri), layout.uri);
    for (const std::string group : {"main_in", "main_out", "sc_in", "global", "band1", "band8"}) {
      said += describe(uri(layout.uri + ("#" + group)), layout.uri);
    }
    for (int index = 0; index < layout.count(); ++index) {
      const LilvNode* const port = lilv_port_get_node(
          described, lilv_plugin_get_port_by_index(described, static_cast<unsigned>(index)));
      const int id = lv2::parameterInPlace(index - layout.firstParameter());
      const bool isParameter = index >= layout.firstParameter();
      const std::string line = ofBandOne(describe(port, layout.uri), isParameter ? id : kIpTrim);
      EXPECT_EQ(number(port, "lv2:default"),
                isParameter ? recordOf(id).value : float(index == layout.enabled()));
      const auto [first, isNew] =
          parameters.emplace(ofBandOne(text(port, "lv2:symbol"), isParameter ? id : kIpTrim), line);
      if (isNew || !isParameter) said += line;
      EXPECT_TRUE(!isParameter || first->second == line) << line;
      EXPECT_TRUE(!isParameter || text(port, "lv2:symbol") == parameterKeyTable().name(id));
    }
    const State fresh(lilv_state_new_from_world(world.get(), &urids, uri(layout.uri)),
                      lilv_state_free);
    EXPECT_EQ(lilv_state_get_num_properties(fresh.get()), 0U);
  }
  said += describe(uri(std::string(lv2::kBaseUri) + "#decibelsPerOctave"), "");
  if (std::getenv("CORVANTHELIS_RECORD") != nullptr) writeBytes(CORVANTHELIS_PORTS, said);
  EXPECT_EQ(said, readBytes(CORVANTHELIS_PORTS));
}

TEST_F(Turtle, PresetsSetPortsToWhatTheirFilesHold) {
  std::map<std::string, const LilvNode*> presets;
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    const Nodes related(lilv_plugin_get_related(plugin(layout.uri), term("pset:Preset")),
                        lilv_nodes_free);
    LILV_FOREACH(nodes, i, related.get()) {
      const LilvNode* const preset = uri(lilv_node_as_uri(lilv_nodes_get(related.get(), i)));
      presets[text(preset, "rdfs:label")] = preset;
    }
    EXPECT_EQ(lilv_nodes_size(related.get()), presets.size()) << layout.name;
  }
  const fs::path content = CORVANTHELIS_BUNDLE "/share/Halvekro/Corvanthelis/Presets";
  std::size_t files = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(content)) {
    if (!entry.is_regular_file()) continue;
    ++files;
    const std::string folder = entry.path().parent_path().filename().string().substr(3);
    const std::string label = folder + ": " + entry.path().stem().string().substr(3);
    SCOPED_TRACE(label);
    ASSERT_TRUE(presets.contains(label));
    Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached());
    const std::string bytes = readBytes(entry.path());
    plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    lilv_world_load_resource(world.get(), presets[label]);
    const Nodes ports = objects(presets[label], "lv2:port");
    std::set<int> ids;
    LILV_FOREACH(nodes, i, ports.get()) {
      const LilvNode* const port = lilv_nodes_get(ports.get(), i);
      const float value = number(port, "pset:value");
      const int id = parameterKeyTable().find(text(port, "lv2:symbol"));
      ASSERT_TRUE(id != kABBank && id != kBypass && ids.insert(id).second);
      EXPECT_TRUE(value >= recordOf(id).min && value <= recordOf(id).max) << recordOf(id).name;
      EXPECT_EQ(plug.plainToNormalised(id, value), plug.normalisedValue(id)) << recordOf(id).name;
    }
    EXPECT_EQ(ids.size(), std::size_t{kNumParams - 2});
    const Nodes states = objects(presets[label], "state:state");
    EXPECT_TRUE(lilv_world_ask(world.get(), lilv_nodes_get_first(states.get()),
                               uri(lv2::kPortsOnlyUri), nullptr));
  }
  EXPECT_EQ(files, presets.size());
}

TEST_F(Turtle, TextsAndNumbersReadBackAsTheyWere) {
  for (const std::string label : {"Bus \"Glue\"", "C:\\n", "a\nb\tc\x01\x7F", "\xC3\xBC"}) {
    const std::string turtle = std::string(lv2::turtlePrefixes()) +
                               "<urn:p> a pset:Preset ; lv2:appliesTo <urn:q> ; rdfs:label " +
                               lv2::turtleString(label) + " .";
    const State state(lilv_state_new_from_string(world.get(), &urids, turtle.c_str()),
                      lilv_state_free);
    EXPECT_EQ(lilv_state_get_label(state.get()), label);
  }
  // With a point and no exponent: a reader takes it for a float and not for anything else.
  for (const float value : {0.0F, -0.0F, 24.0F, -0.8888889F, 0.71F, 1e-7F, 1.5e9F, 0.836735F}) {
    const std::string decimal = lv2::turtleDecimal(value);
    EXPECT_EQ(std::strtof(decimal.c_str(), nullptr), value);
    EXPECT_NE(decimal.find('.'), std::string::npos) << decimal;
    EXPECT_EQ(decimal.find_first_not_of("-.0123456789"), std::string::npos) << decimal;
  }
}

TEST(FactoryPresets, FaultsNameTheFile) {
  const TestDirectory folder;
  writeBytes(folder.path("01 A b.CorvanthelisPreset"), "{}");
  EXPECT_EQ(lv2::readFactoryPresets(folder.path("")).front().name, "A b");
  for (const std::string name : {"01 a-B", "??", "Other"}) {  // same URI, none, no document
    const std::string file = folder.path(name + ".CorvanthelisPreset");
    writeBytes(file, name == "Other" ? "[" : "{}");
    try {
      static_cast<void>(lv2::readFactoryPresets(folder.path("")));
      ADD_FAILURE() << name;
    } catch (const std::exception& fault) {
      EXPECT_TRUE(std::string(fault.what()).starts_with(file)) << fault.what();
    }
    fs::remove(file);
  }
}

}  // namespace
