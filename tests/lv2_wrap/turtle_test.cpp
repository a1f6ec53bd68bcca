#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <cstdlib>
#include <cstring>
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
  Turtle() { lilv_world_load_bundle(world.get(), uri("file://" CORVANTHELIS_BUNDLE "/")); }

  const LilvNode* uri(const std::string& text) {
    auto& node = uris[text];
    if (!node) node.reset(lilv_new_uri(world.get(), text.c_str()), lilv_node_free);
    return node.get();
  }
  const LilvPlugin* plugin(const char* name) {
    return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), uri(name));
  }
  State stateOf(const LilvNode* subject) {
    lilv_world_load_resource(world.get(), subject);
    return {lilv_state_new_from_world(world.get(), &urids, subject), lilv_state_free};
  }

  std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> world{lilv_world_new(), lilv_world_free};
  std::map<std::string, std::shared_ptr<LilvNode>> uris;
  std::map<std::string, LV2_URID> known;
  LV2_URID_Map urids{&known, [](LV2_URID_Map_Handle handle, const char* name) {
                       auto& all = *static_cast<std::map<std::string, LV2_URID>*>(handle);
                       return all.emplace(name, LV2_URID(all.size() + 1)).first->second;
                     }};
};

/// Takes " ; name value" out of a line, and gives the value.
std::string takeValue(std::string& line, const std::string& name) {
  const std::size_t at = line.find(" ; " + name + ' ');
  if (at == std::string::npos) return {};
  const std::size_t value = at + name.size() + 4;
  const std::size_t end = line.find(" ;", value);
  std::string taken = line.substr(value, end - value);
  line.erase(at, end - at);
  return taken;
}

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

/// The text is recorded but for what all plug-ins and bands say the same; a reader of its own finds
/// as many ports in it.
TEST_F(Turtle, PortsAreWhatTheLibraryTakesThemFor) {
  std::string said = "# The bundle's text; made anew with CORVANTHELIS_RECORD=1.\n";
  std::set<std::string> parameters;
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    EXPECT_EQ(lilv_plugin_get_num_ports(plugin(layout.uri)), unsigned(layout.count()));
    EXPECT_EQ(lilv_state_get_num_properties(stateOf(uri(layout.uri)).get()), 0U);
    int index = 0;
    const std::string file = fs::path(layout.uri).filename().string() + ".ttl";
    std::istringstream text(readBytes(CORVANTHELIS_BUNDLE "/" + file));
    for (std::string line; std::getline(text, line);) {
      replaceAll(line, layout.uri, "");
      const std::string place = takeValue(line, "lv2:index");
      const bool isParameter = !place.empty() && index >= layout.firstParameter();
      const int id = isParameter ? lv2::parameterInPlace(index - layout.firstParameter()) : kIpTrim;
      EXPECT_TRUE(place.empty() || place == std::to_string(index++)) << line;
      if (isParameter) {
        EXPECT_NE(line.find("lv2:symbol \"" + std::string(parameterKeyTable().name(id)) + "\""),
                  std::string::npos);
        EXPECT_EQ(std::strtof(takeValue(line, "lv2:default").c_str(), nullptr), recordOf(id).value);
        line = ofBandOne(line, id);
        line.erase(line.find_last_of(']'));
        if (!parameters.insert(line).second) continue;
      }
      said += line + '\n';
    }
    EXPECT_EQ(index, layout.count());
  }
  if (std::getenv("CORVANTHELIS_RECORD") != nullptr) writeBytes(TEST_DATA "/ports.txt", said);
  EXPECT_EQ(said, readBytes(TEST_DATA "/ports.txt"));
}

TEST_F(Turtle, PresetsSetPortsToWhatTheirFilesHold) {
  std::map<std::string, State> presets;
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    LilvNodes* const related =
        lilv_plugin_get_related(plugin(layout.uri), uri("http://lv2plug.in/ns/ext/presets#Preset"));
    LILV_FOREACH(nodes, i, related) {
      State preset = stateOf(lilv_nodes_get(related, i));
      presets.emplace(lilv_state_get_label(preset.get()), std::move(preset));
    }
    EXPECT_EQ(lilv_nodes_size(related), presets.size()) << layout.name;
    lilv_nodes_free(related);
  }
  using Values = std::map<std::string, float>;
  const auto store = [](const char* symbol, void* values, const void* value, std::uint32_t size,
                        std::uint32_t /*type*/) {
    float& stored = (*static_cast<Values*>(values))[symbol];
    EXPECT_EQ(size, sizeof stored);
    std::memcpy(&stored, value, sizeof stored);
  };
  std::size_t files = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(
           CORVANTHELIS_BUNDLE "/share/Halvekro/Corvanthelis/Presets")) {
    if (!entry.is_regular_file()) continue;
    ++files;
    const std::string folder = entry.path().parent_path().filename().string().substr(3);
    const std::string label = folder + ": " + entry.path().stem().string().substr(3);
    SCOPED_TRACE(label);
    const auto found = presets.find(label);
    ASSERT_NE(found, presets.end());
    EXPECT_EQ(lilv_state_get_num_properties(found->second.get()), 1U);
    Values values;
    lilv_state_emit_port_values(found->second.get(), store, &values);
    Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached());
    const std::string bytes = readBytes(entry.path());
    plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    for (const auto& [symbol, value] : values) {
      const int id = parameterKeyTable().find(symbol);
      ASSERT_TRUE(id != kABBank && id != kBypass) << symbol;
      EXPECT_TRUE(value >= recordOf(id).min && value <= recordOf(id).max) << symbol;
      EXPECT_EQ(plug.plainToNormalised(id, value), plug.normalisedValue(id)) << symbol;
    }
    EXPECT_EQ(values.size(), std::size_t{kNumParams - 2});
  }
  EXPECT_EQ(files, presets.size());
  EXPECT_TRUE(known.contains(lv2::kPortsOnlyUri));
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
