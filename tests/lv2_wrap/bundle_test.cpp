// The built bundle, as hosts read its text and load its library.

#include <lilv/lilv.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "libraries/lv2_wrap/turtle/preset_turtle.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"
#include "platform/clock.h"
#include "state/machine.h"
#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/support/becomes.h"
#include "tests/support/sanitizers.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kLibrary = CORVANTHELIS_BUNDLE "/corvanthelis.so";

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

TEST_F(Turtle, PortsAreWhatTheLibraryTakesThemFor) {
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    const LilvPlugin* const described = plugin(layout.uri);
    ASSERT_EQ(lilv_plugin_get_num_ports(described), unsigned(layout.count()));
    EXPECT_EQ(lilv_state_get_num_properties(stateOf(uri(layout.uri)).get()), 0U);
    std::vector<float> defaults(static_cast<std::size_t>(layout.count()));
    lilv_plugin_get_port_ranges_float(described, nullptr, nullptr, defaults.data());
    for (int id = 0; id < kNumParams; ++id) {
      const auto index = static_cast<unsigned>(layout.firstParameter() + lv2::placeOfParameter(id));
      const LilvPort* const port = lilv_plugin_get_port_by_index(described, index);
      EXPECT_STREQ(lilv_node_as_string(lilv_port_get_symbol(described, port)),
                   std::string(parameterKeyTable().name(id)).c_str());
      EXPECT_EQ(defaults[index], recordOf(id).value) << parameterKeyTable().name(id);
    }
  }
}

/// Recorded, but for numbers and defaults of ports and what all plug-ins and bands say the same.
TEST_F(Turtle, SaysWhatIsRecorded) {
  std::string said = "# The bundle's text; made anew with CORVANTHELIS_RECORD=1.\n";
  std::set<std::string> parameters;
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    const std::string file = fs::path(layout.uri).filename().string() + ".ttl";
    std::istringstream text(readBytes(CORVANTHELIS_BUNDLE "/" + file));
    for (std::string line; std::getline(text, line);) {
      line =
          std::regex_replace(line, std::regex(std::string(layout.uri) + "| ; lv2:index \\d+"), "");
      std::smatch found;
      if (std::regex_search(line, found, std::regex("lv2:symbol \"k(B[1-8])?"))) {
        const std::string band = found[1].matched ? found.str(1).substr(1) : "none";
        line = std::regex_replace(line, std::regex("(kB|Band|#band)" + band), "$1N");
        line = std::regex_replace(line, std::regex(" ; lv2:default [^ ]+|\\][^\\]]*$"), "");
        if (!parameters.insert(line).second) continue;
      }
      said += line + '\n';
    }
  }
  if (std::getenv("CORVANTHELIS_RECORD") != nullptr) writeBytes(TEST_DATA "/ports.txt", said);
  EXPECT_EQ(said, readBytes(TEST_DATA "/ports.txt"));
}

TEST_F(Turtle, PresetsSetPortsToWhatTheirFilesHold) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(
           CORVANTHELIS_BUNDLE "/share/Halvekro/Corvanthelis/Presets")) {
    const std::string folder = entry.path().parent_path().filename().string().substr(3);
    const std::string label = folder + ": " + entry.path().stem().string().substr(3);
    if (entry.is_regular_file()) files[label] = readBytes(entry.path());
  }
  using Values = std::map<std::string, float>;
  const auto store = [](const char* symbol, void* values, const void* value, std::uint32_t size,
                        std::uint32_t /*type*/) {
    float& stored = (*static_cast<Values*>(values))[symbol];
    EXPECT_EQ(size, sizeof stored);
    std::memcpy(&stored, value, sizeof stored);
  };
  for (const lv2::PortLayout& layout : lv2::kPlugins) {
    LilvNodes* const related =
        lilv_plugin_get_related(plugin(layout.uri), uri("http://lv2plug.in/ns/ext/presets#Preset"));
    // Three presets listen to a sidechain.
    const unsigned unheard = layout.sideChannels == 0 ? 3 : 0;
    EXPECT_EQ(lilv_nodes_size(related), files.size() - unheard) << layout.name;
    LILV_FOREACH(nodes, i, related) {
      if (&layout != lv2::kPlugins.begin()) break;  // the same for all
      const State preset = stateOf(lilv_nodes_get(related, i));
      EXPECT_EQ(lilv_state_get_num_properties(preset.get()), 1U);
      const std::string label = lilv_state_get_label(preset.get());
      SCOPED_TRACE(label);
      const std::string& bytes = files[label];
      Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached());
      plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
      Values values;
      lilv_state_emit_port_values(preset.get(), store, &values);
      for (const auto& [symbol, value] : values) {
        const int id = parameterKeyTable().find(symbol);
        ASSERT_TRUE(id != kABBank && id != kBypass) << symbol;
        EXPECT_TRUE(value >= recordOf(id).min && value <= recordOf(id).max) << symbol;
        EXPECT_EQ(plug.plainToNormalised(id, value), plug.normalisedValue(id)) << symbol;
      }
      EXPECT_EQ(values.size(), std::size_t{kNumParams - 2});
    }
    lilv_nodes_free(related);
  }
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

/// An instance without a worker, which plays a constant.
struct Instance : Lv2Rig {
  Instance(const Lv2Library& library, std::size_t plugin)
      : Lv2Rig(lv2::kPlugins[plugin], 48000.0, kNoWorker, {}, library.find) {
    for (auto& channel : in) std::fill(channel.begin(), channel.end(), 0.25F);
  }
  /// Whether controls reach its sound, which without a worker takes its timer.
  [[nodiscard]] bool isServed() {
    parameter(kIpTrim) = 6.0F;
    return becomes([this] {
      for (int block = 0; block < 24; ++block) run(512);
      return std::abs(out[0][511] - 0.25F * 1.99526F) < 1e-4F;
    });
  }
};

using Instances = std::vector<std::unique_ptr<Instance>>;

/// What a child of `fork()` may do with the instances that it inherits: leave them, clean them up,
/// and have one of its own beside them.
[[noreturn]] void liveAsChild(const Lv2Library& library, int turn, Instances& inherited) {
  ::alarm(20);
  int status = 0;
  if (turn == 1) inherited.clear();
  if (turn == 2) {
    inherited.pop_back();
    Instance own(library, 1);
    status = own.isServed() ? 0 : 1;
  }
#if CORVANTHELIS_ADDRESS_SANITIZER  // for which what the threads of the parent held is lost memory
  ::_exit(status);
#endif
  std::exit(status);
}

TEST(Lv2Bundle, AChildProcessCleansUpPlaysOnAndEnds) {
  const Lv2Library library(kLibrary);
  Instances instances;
  for (const std::size_t plugin : {std::size_t{0}, std::size_t{1}}) {
    instances.push_back(std::make_unique<Instance>(library, plugin));
  }
  for (int turn = 0; turn < 3; ++turn) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) liveAsChild(library, turn, instances);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "turn " << turn << ", 14 if it hung";
  }
  EXPECT_TRUE(instances[0]->isServed()) << "the parent";
}

/// Factory content lies in the bundle: another bank than the first one holds other values.
TEST(Lv2Bundle, BanksHoldTheFactoryContent) {
  const Lv2Library library(kLibrary);
  Instance instance(library, 1);
  instance.parameter("kABBank") = 1.0F;
  EXPECT_TRUE(becomes([&] { return instance.run(512), !instance.requests.empty(); }));
  for (const auto& [id, plain] : instance.requests) EXPECT_EQ(instance.parameter(id), plain);
}

}  // namespace
