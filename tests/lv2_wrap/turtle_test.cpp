#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <array>
#include <cstdint>
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
#include "core/value_text.h"
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

/// The bundle of the build as a host reads it.
class Turtle : public testing::Test {
 protected:
  Turtle() { lilv_world_load_bundle(world.get(), uri("file://" CORVANTHELIS_BUNDLE "/")); }

  const LilvNode* uri(const std::string& text) {
    auto& node = uris[text];
    if (!node) node.reset(lilv_new_uri(world.get(), text.c_str()), lilv_node_free);
    return node.get();
  }
  /// `shortName` has one of our own prefixes.
  const LilvNode* term(const std::string& shortName) {
    const std::string prefixes(lv2::turtlePrefixes());
    const std::size_t colon = shortName.find(':');
    const std::size_t begin = prefixes.find('<', prefixes.find(shortName.substr(0, colon + 1))) + 1;
    return uri(prefixes.substr(begin, prefixes.find('>', begin) - begin) +
               shortName.substr(colon + 1));
  }
  const LilvPlugin* plugin(const char* name) {
    return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), uri(name));
  }
  const LilvNode* portNode(const char* owner, int index) {
    const auto* port = lilv_plugin_get_port_by_index(plugin(owner), static_cast<unsigned>(index));
    return lilv_port_get_node(plugin(owner), port);
  }
  Nodes objects(const LilvNode* subject, const std::string& predicate) {
    return {lilv_world_find_nodes(world.get(), subject, term(predicate), nullptr), lilv_nodes_free};
  }
  /// Of the first object; empty for none.
  std::string text(const LilvNode* subject, const std::string& predicate) {
    const Nodes all = objects(subject, predicate);
    return lilv_nodes_size(all.get()) == 0 ? ""
                                           : lilv_node_as_string(lilv_nodes_get_first(all.get()));
  }
  bool has(const LilvNode* subject, const std::string& predicate, const std::string& object) {
    return lilv_world_ask(world.get(), subject, term(predicate), term(object));
  }
  float number(const LilvNode* subject, const std::string& predicate) {
    return std::strtof(text(subject, predicate).c_str(), nullptr);
  }
  void checkParameter(const LilvNode* port, const std::string& plugin, int id);
  void checkTaper(const LilvNode* port, int id);

  std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> world{lilv_world_new(), lilv_world_free};
  std::map<std::string, std::shared_ptr<LilvNode>> uris;
  std::map<std::string, LV2_URID> known;
  LV2_URID_Map urids{&known, [](LV2_URID_Map_Handle handle, const char* name) {
                       auto& all = *static_cast<std::map<std::string, LV2_URID>*>(handle);
                       return all.emplace(name, LV2_URID(all.size() + 1)).first->second;
                     }};
};

void Turtle::checkTaper(const LilvNode* port, int id) {
  const ParameterRecord& record = recordOf(id);
  const std::string label = record.label;
  const bool isChoice = (record.curve == kCurveSwitch && label != "Off/On") ||
                        (record.curve == kCurveWhole && label != "dB/Oct");
  const int row = isBandParameter(id) ? bandOneIdOf(id) : id;
  const std::set<int> expensive = {kB1State,    kB1Type,       kB1SubType, kBandOrder,
                                   kOversample, kOversampleOL, kABBank};
  const std::map<std::string, bool> marks = {
      {"pprops:expensive", expensive.contains(row)},
      {"pprops:causesArtifacts", expensive.contains(row)},
      {"lv2:integer", isChoice || label == "dB/Oct"},
      {"lv2:enumeration", isChoice},
      {"lv2:toggled", label == "Off/On"},
      {"pprops:logarithmic", record.curve == kCurveExponential},
      {"pprops:notAutomatic", id == kBandOrder || id == kABBank},
      {"pprops:notOnGUI", id == kBandOrder || id == kBypass}};
  for (const auto& [mark, isSet] : marks) EXPECT_EQ(has(port, "lv2:portProperty", mark), isSet);

  std::set<std::string> labels;
  const Nodes points = objects(port, "lv2:scalePoint");
  LILV_FOREACH(nodes, i, points.get()) {
    const LilvNode* const point = lilv_nodes_get(points.get(), i);
    const float value = number(point, "rdf:value");
    const std::string shown = valueText(id, value, record, ValueTextContext{}, false);
    EXPECT_EQ(text(point, "rdfs:label"), shown);
    EXPECT_TRUE(value >= record.min && value <= record.max) << value;
    EXPECT_TRUE(labels.insert(shown).second) << shown;
  }
  const bool isRatio = row == kB1Ratio || row == kB1RatioB;
  const auto values = static_cast<std::size_t>(record.max - record.min) + 1;
  if (isChoice || isRatio) {
    EXPECT_EQ(labels.size(), isChoice ? values : 16U);
  }
}

void Turtle::checkParameter(const LilvNode* port, const std::string& plugin, int id) {
  static const std::map<std::string, const char*> kUnits = {
      {"dB", "units:db"}, {"Hz", "units:hz"}, {"ms", "units:ms"}, {"%", "units:pc"}};
  const ParameterRecord& record = recordOf(id);
  SCOPED_TRACE(record.name);
  EXPECT_TRUE(has(port, "rdf:type", "lv2:InputPort") && has(port, "rdf:type", "lv2:ControlPort"));
  EXPECT_EQ(text(port, "lv2:symbol"), parameterKeyTable().name(id));
  EXPECT_EQ(text(port, "lv2:name"), record.name);
  EXPECT_EQ(number(port, "lv2:default"), record.value);
  EXPECT_EQ(number(port, "lv2:minimum"), record.min);
  EXPECT_EQ(number(port, "lv2:maximum"), record.max);
  const std::string band = isBandParameter(id) ? std::to_string(bandOf(id) + 1) : "";
  const std::string group = plugin + (band.empty() ? "#global" : "#band" + band);
  EXPECT_EQ(text(port, "pg:group"), group);
  EXPECT_EQ(text(uri(group), "lv2:name"), band.empty() ? "Global" : "Band " + band);
  const auto unit = kUnits.find(record.label);
  EXPECT_TRUE(unit == kUnits.end() || has(port, "units:unit", unit->second));
  checkTaper(port, id);
}

TEST_F(Turtle, EveryPortIsWhatTheLibraryTakesItFor) {
  const std::array<const char*, 3> symbols = {
      "in_l in_r out_l out_r sc_l sc_r control notify latency enabled freewheel",
      "in_l in_r out_l out_r control notify latency enabled freewheel",
      "in out control notify latency enabled freewheel"};
  for (std::size_t p = 0; p < symbols.size(); ++p) {
    const lv2::PortLayout& layout = lv2::kPlugins[p];
    ASSERT_EQ(lilv_plugin_get_num_ports(plugin(layout.uri)), unsigned(layout.count()));
    std::istringstream words(symbols[p]);
    int index = 0;
    for (std::string symbol; words >> symbol; ++index) {
      const LilvNode* const port = portNode(layout.uri, index);
      EXPECT_EQ(text(port, "lv2:symbol"), symbol);
      const bool isOutput = symbol.starts_with("out") || symbol == "notify" || symbol == "latency";
      EXPECT_TRUE(has(port, "rdf:type", isOutput ? "lv2:OutputPort" : "lv2:InputPort"));
      EXPECT_EQ(has(port, "lv2:portProperty", "lv2:isSideChain"), symbol.starts_with("sc"));
    }
    EXPECT_EQ(index, layout.firstParameter());
    EXPECT_EQ(number(portNode(layout.uri, layout.enabled()), "lv2:default"), 1.0F);
    for (int id = 0; id < kNumParams; ++id) {
      index = layout.firstParameter() + lv2::placeOfParameter(id);
      checkParameter(portNode(layout.uri, index), layout.uri, id);
    }
    const State fresh(lilv_state_new_from_world(world.get(), &urids, uri(layout.uri)),
                      lilv_state_free);
    EXPECT_EQ(lilv_state_get_num_properties(fresh.get()), 0U);
  }
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
