#include "libraries/lv2_wrap/turtle/plugin_turtle.h"

#include <initializer_list>
#include <string_view>

#include "dynamics/lookahead_window.h"
#include "filters/crossover_bank.h"
#include "filters/resampler.h"
#include "filters/subband.h"
#include "libraries/lv2_wrap/port_change_request.h"
#include "libraries/lv2_wrap/turtle/parameter_port.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"

namespace lv2 {

namespace {

constexpr std::string_view kMakerUri = "https://halvekro.com";
constexpr std::string_view kLicenceUri = "https://halvekro.com/licence";
constexpr int kMinorVersion = 4;  // odd numbers mark development versions
constexpr int kMicroVersion = 0;

// Frames, an upper bound at any rate: all bands in series with their longest lookahead.
constexpr int kMaxLatency = 96000;
static_assert(kMaxLatency > kNumBands * (LookaheadWindow::kMaxSamples + subband::kTaps / 2 +
                                         2 * ResamplerHQ::hqTaps) +
                                2 * CrossoverBank::kTaps);

/// Channels that belong together: a group, and the prefixes of its ports' symbols and names.
struct Channels {
  const char* group;
  const char* groupName;
  const char* symbol;
  const char* name;
  bool isOutput;
  int firstPort;
  int count;
};

Channels mainInputs(const PortLayout& plugin) {
  return {"main_in", "Main Input", "in", "Input", false, plugin.input(0), plugin.mainChannels};
}
Channels mainOutputs(const PortLayout& plugin) {
  return {"main_out", "Main Output", "out", "Output", true, plugin.output(0), plugin.mainChannels};
}
Channels sideInputs(const PortLayout& plugin) {
  return {"sc_in", "Sidechain", "sc", "Sidechain", false, plugin.sidechain(0), plugin.sideChannels};
}

std::string groupUri(const PortLayout& plugin, const Channels& channels) {
  return turtleUri(std::string(plugin.uri) + '#' + channels.group);
}

Statements groupOf(const Channels& channels) {
  Statements group;
  group.add("a", channels.count == 1 ? "pg:MonoGroup" : "pg:StereoGroup");
  group.add("a", channels.isOutput ? "pg:OutputGroup" : "pg:InputGroup");
  group.add("lv2:symbol", turtleString(channels.group));
  group.add("lv2:name", turtleString(channels.groupName));
  return group;
}

std::string audioGroups(const PortLayout& plugin) {
  const Channels in = mainInputs(plugin);
  const Channels out = mainOutputs(plugin);
  const Channels side = sideInputs(plugin);
  std::string text = groupOf(in).about(groupUri(plugin, in));
  text += groupOf(out).add("pg:source", groupUri(plugin, in)).about(groupUri(plugin, out));
  if (side.count == 0) return text;
  return text +
         groupOf(side).add("pg:sideChainOf", groupUri(plugin, in)).about(groupUri(plugin, side));
}

/// The first statements about every port; `kind` is a class in addition to that of the direction.
Statements portHead(int index, bool isOutput, const char* kind, const std::string& symbol,
                    const std::string& name) {
  Statements port;
  port.add("a", isOutput ? "lv2:OutputPort" : "lv2:InputPort").add("a", kind);
  port.add("lv2:index", std::to_string(index));
  port.add("lv2:symbol", turtleString(symbol)).add("lv2:name", turtleString(name));
  return port;
}

void addAudioPorts(Statements& about, const PortLayout& plugin, const Channels& channels) {
  const bool isMono = channels.count == 1;
  for (int c = 0; c < channels.count; ++c) {
    const std::string symbol = channels.symbol;
    const std::string name = channels.name;
    Statements port = portHead(channels.firstPort + c, channels.isOutput, "lv2:AudioPort",
                               isMono ? symbol : symbol + (c == 0 ? "_l" : "_r"),
                               isMono ? name : name + (c == 0 ? " L" : " R"));
    port.add("lv2:designation", isMono ? "pg:center" : c == 0 ? "pg:left" : "pg:right");
    port.add("pg:group", groupUri(plugin, channels));
    if (channels.firstPort == plugin.sidechain(0)) {
      port.add("lv2:portProperty", "lv2:isSideChain");
      port.add("lv2:portProperty", "lv2:connectionOptional");
    }
    about.add("lv2:port", port.blankNode());
  }
}

void addEventPort(Statements& about, int index, bool isOutput, const char* symbol, const char* name,
                  const char* supported) {
  Statements port = portHead(index, isOutput, "atom:AtomPort", symbol, name);
  port.add("atom:bufferType", "atom:Sequence").add("atom:supports", supported);
  port.add("lv2:designation", "lv2:control");
  port.add("lv2:portProperty", "lv2:connectionOptional");
  port.add("rsz:minimumSize", std::to_string(kEventPortBytes));
  about.add("lv2:port", port.blankNode());
}

void addLatencyPort(Statements& about, const PortLayout& plugin) {
  Statements port = portHead(plugin.latency(), true, "lv2:ControlPort", "latency", "Latency");
  port.add("lv2:designation", "lv2:latency");
  for (const char* property : {"lv2:reportsLatency", "lv2:integer", "pprops:notOnGUI"}) {
    port.add("lv2:portProperty", property);
  }
  port.add("lv2:minimum", "0").add("lv2:maximum", std::to_string(kMaxLatency));
  port.add("units:unit", "units:frame");
  about.add("lv2:port", port.blankNode());
}

/// A meter that every host can show: the change of gain, below 0 where it is reduced. It may go
/// beyond its ends.
void addGainPort(Statements& about, const PortLayout& plugin, int index, const std::string& symbol,
                 const std::string& name, std::string_view group) {
  Statements port = portHead(index, true, "lv2:ControlPort", symbol, name);
  port.add("lv2:default", "0.0").add("lv2:minimum", "-24.0").add("lv2:maximum", "24.0");
  port.add("units:unit", "units:db").add("pg:group", parameterGroupUri(plugin, group));
  about.add("lv2:port", port.blankNode());
}

void addGainPorts(Statements& about, const PortLayout& plugin) {
  addGainPort(about, plugin, plugin.chainGain(), "gain_reduction", "Gain Reduction", kGlobalSymbol);
  for (int band = 0; band < kNumBands; ++band) {
    const std::string number = std::to_string(band + 1);
    addGainPort(about, plugin, plugin.bandGain(band), "band" + number + "_gain_reduction",
                "Band" + number + " Gain Reduction", bandSymbol(band));
  }
}

/// A switch that the host operates, not the user.
Statements hostSwitch(int index, const char* symbol, const char* name, const char* designation,
                      const char* byDefault) {
  Statements port = portHead(index, false, "lv2:ControlPort", symbol, name);
  port.add("lv2:designation", designation);
  for (const char* property : {"lv2:integer", "lv2:toggled", "pprops:notOnGUI"}) {
    port.add("lv2:portProperty", property);
  }
  port.add("lv2:default", byDefault).add("lv2:minimum", "0").add("lv2:maximum", "1");
  return port;
}

void addPorts(Statements& about, const PortLayout& plugin) {
  for (const Channels& channels : {mainInputs(plugin), mainOutputs(plugin), sideInputs(plugin)}) {
    addAudioPorts(about, plugin, channels);
  }
  addEventPort(about, plugin.control(), false, "control", "Control", "midi:MidiEvent");
  addEventPort(about, plugin.notify(), true, "notify", "Notify", "state:StateChanged");
  addLatencyPort(about, plugin);
  about.add("lv2:port",
            hostSwitch(plugin.enabled(), "enabled", "Enabled", "lv2:enabled", "1").blankNode());
  Statements freewheel =
      hostSwitch(plugin.freewheel(), "freewheel", "Freewheel", "lv2:freeWheeling", "0");
  freewheel.add("lv2:portProperty", "pprops:notAutomatic");
  about.add("lv2:port", freewheel.blankNode());
  for (int place = 0; place < kNumParams; ++place) {
    about.add("lv2:port", parameterPort(plugin, place).blankNode());
  }
  addGainPorts(about, plugin);
}

std::string commentOf(const PortLayout& plugin) {
  std::string text =
      "Eight bands of compression and expansion, above and below their thresholds, as crossover "
      "bands or as bands of a dynamic equaliser. ";
  text += plugin.mainChannels == 1 ? "Mono" : "Stereo";
  if (plugin.sideChannels == 0) return text + '.';
  return text + ", with an external " + (plugin.sideChannels == 1 ? "mono" : "stereo") +
         " sidechain.";
}

void addIdentity(Statements& about, const PortLayout& plugin) {
  about.add("a", "lv2:Plugin").add("a", "lv2:DynamicsPlugin");
  about.add("doap:name", turtleString(plugin.name));
  about.add("doap:license", turtleUri(kLicenceUri));
  about.add("rdfs:comment", turtleString(commentOf(plugin)));
  about.add("lv2:project", turtleUri(kBaseUri));
  about.add("lv2:minorVersion", std::to_string(kMinorVersion));
  about.add("lv2:microVersion", std::to_string(kMicroVersion));
}

void addAbilities(Statements& about) {
  for (const char* feature :
       {"urid:map", "lv2:hardRTCapable", "work:schedule", "bufs:boundedBlockLength",
        "bufs:fixedBlockLength", "state:loadDefaultState", "state:threadSafeRestore"}) {
    about.add("lv2:optionalFeature", feature);
  }
  about.add("lv2:optionalFeature", turtleUri(kPortChangeRequestUri));
  about.add("lv2:extensionData", "state:interface").add("lv2:extensionData", "work:interface");
  // The default state is empty: start as a new instance does.
  about.add("state:state", "[]");
}

/// The project with its maker, and declarations that installed descriptions lack: a feature, and
/// the key of presets.
std::string sharedDefinitions() {
  Statements maker;
  maker.add("foaf:name", turtleString("Halvekro")).add("foaf:homepage", turtleUri(kMakerUri));
  Statements project;
  project.add("a", "doap:Project").add("doap:name", turtleString("Corvanthelis"));
  project.add("doap:maintainer", maker.blankNode());
  Statements feature;
  feature.add("a", "lv2:Feature");
  Statements mark;
  mark.add("a", "rdf:Property").add("rdfs:label", turtleString("ports only"));
  return project.about(turtleUri(kBaseUri)) + feature.about(turtleUri(kPortChangeRequestUri)) +
         mark.about(turtleUri(kPortsOnlyUri));
}

}  // namespace

std::string pluginTurtle(const PortLayout& plugin) {
  Statements about;
  addIdentity(about, plugin);
  addAbilities(about);
  about.add("pg:mainInput", groupUri(plugin, mainInputs(plugin)));
  about.add("pg:mainOutput", groupUri(plugin, mainOutputs(plugin)));
  addPorts(about, plugin);
  return std::string(turtlePrefixes()) + sharedDefinitions() + audioGroups(plugin) +
         parameterDefinitions(plugin) + about.about(turtleUri(plugin.uri));
}

}  // namespace lv2
