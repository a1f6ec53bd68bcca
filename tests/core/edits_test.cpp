// Menus, gestures, band operations and banks: data/edits.txt tells what is done and what comes of
// it.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/band_actions.h"
#include "core/bank_selector.h"
#include "core/group_edit.h"
#include "host/alerts.h"
#include "tests/core/plug_rig.h"
#include "tests/core/scripted_dialogs.h"

namespace {

std::string nameOf(int id) { return parameterKeyTable().name(id).substr(1); }

std::string joined(const std::vector<std::string>& parts, const char* between = " ") {
  std::string text;
  for (const std::string& part : parts) {
    text += (text.empty() || part.empty() ? "" : between) + part;
  }
  return text;
}

std::string numberText(float plain) {
  std::ostringstream text;
  text.precision(5);
  text << (std::abs(plain) < 0.001F ? 0.0F : plain);
  return text.str();
}

/// Bands as digits from 1.
std::string bandsText(BandMask bands) {
  std::string digits;
  for (int band = 0; band < 9; ++band) digits += isIn(bands, band) ? std::to_string(band + 1) : "";
  return digits.empty() ? "0" : digits;
}

/// The parameters that `flag` holds for: runs of rows with the bands, then globals.
template <typename Flag>
std::string flagText(const Flag& flag) {
  std::vector<std::string> parts;
  const auto bandsOf = [&flag](int row) {
    BandMask bands = 0;
    for (int band = 0; row <= kB1SCHFType && band < kNumBands; ++band) {
      bands |= flag(bandParameterId(band, row)) ? 1U << band : 0;
    }
    return bands;
  };
  for (int first = kB1State, row = first; row <= kB1SCHFType; first = row) {
    while (row <= kB1SCHFType && bandsOf(row) == bandsOf(first)) ++row;
    if (bandsOf(first) == 0) continue;
    const std::string last = row - 1 == first ? "" : "-" + nameOf(row - 1).substr(2);
    parts.push_back(nameOf(first).substr(2) + last + ":" + bandsText(bandsOf(first)));
  }
  for (int id = 0; id < kNumParams; ++id) {
    if (!isBandParameter(id) && flag(id)) parts.push_back(nameOf(id));
  }
  return joined(parts);
}

/// The words behind a command.
struct Args {
  [[nodiscard]] float plain(std::size_t i) const { return std::stof(words.at(i)); }
  [[nodiscard]] int whole(std::size_t i) const { return std::stoi(words.at(i)); }
  [[nodiscard]] int band(std::size_t i) const { return whole(i) - 1; }
  [[nodiscard]] BandMask bands(std::size_t i) const {
    BandMask bands = 0;
    for (const char digit : words.at(i)) bands |= digit == '0' ? 0 : 1U << (digit - '1');
    return bands;
  }
  /// A number, or a name without its first letter.
  [[nodiscard]] int id(std::size_t i) const {
    const int named = PlugRig::id(("k" + words.at(i)).c_str());
    return named >= 0 ? named : whole(i);
  }
  std::vector<std::string> words;
};

/// One instance that the lines of a script act on and look at.
class EditScript {
 public:
  EditScript() { note(); }
  ~EditScript() {
    take();
    for (const auto& [id, count] : gestures) EXPECT_EQ(count, 0) << "open: " << nameOf(id);
  }
  EditScript(const EditScript&) = delete;
  EditScript& operator=(const EditScript&) = delete;

  /// Commands that ";" parts.
  void run(const std::string& line) {
    SCOPED_TRACE(line);
    std::istringstream parts(line);
    for (std::string part; std::getline(parts, part, ';');) {
      std::istringstream in(part);
      std::string command;
      in >> command;
      Args args;
      for (std::string word; in >> word;) args.words.push_back(word);
      if (const auto look = looks.find(command); look != looks.end()) {
        expectText(look->second(args), joined(args.words));
      } else {
        commands.at(command)(args);
      }
    }
  }
  /// What follows is told, changed and undone against the state as it is now.
  void note() {
    plug.clearHistory();
    start = normalisedValues(plug);
    take();
  }

 private:
  /// With "..." in the end, how it begins.
  static void expectText(std::string text, std::string wanted) {
    if (wanted.ends_with("...")) {
      wanted.resize(wanted.size() - 3);
      text.resize(std::min(text.size(), wanted.size()));
    }
    EXPECT_EQ(text, wanted);
  }
  /// What the host was told of edits since the last time, in order.
  std::string take() {
    std::vector<std::string> parts;
    for (const PlugRig::Message& m : std::exchange(rig.messages, {})) {
      if (m.opcode == kHostAutomate) {
        told[m.index] = m.value;
        const float plain = plug.normalisedToPlain(m.index, m.value);
        parts.push_back("set " + nameOf(m.index) + " " + numberText(plain));
      } else if (m.opcode == kHostBeginEdit || m.opcode == kHostEndEdit) {
        const bool isBegin = m.opcode == kHostBeginEdit;
        const int open = gestures[m.index] += isBegin ? 1 : -1;
        EXPECT_TRUE(open == 0 || open == 1) << nameOf(m.index) << " has " << open << " gestures";
        parts.push_back((isBegin ? "begin " : "end ") + nameOf(m.index));
      }
    }
    return joined(parts, ", ");
  }
  [[nodiscard]] float value(const Args& args, std::size_t i, int id) const {
    const float plain = args.plain(i);
    return std::isnan(plain) ? plain : plug.plainToNormalised(id, plain);
  }
  /// The engine is to hear of all that is told as one.
  void move(int id, float normalised) {
    const auto before = plug.getEngine().layout.frequency;
    int early = 0;
    rig.onAutomate = [&] { early += plug.getEngine().layout.frequency != before ? 1 : 0; };
    const std::size_t messages = rig.messages.size();
    plug.setParameterAutomated(id, normalised);
    rig.onAutomate = nullptr;
    EXPECT_TRUE(early == 0 || rig.messages.size() == messages + 1);
  }
  [[nodiscard]] std::vector<int> crossover() {
    BandLayout& layout = plug.getEngine().layout;
    const BandLayout::List list = layout.copyOf(layout.xover);
    return {list.begin(), list.end()};
  }
  [[nodiscard]] double hertzOf(int band) {
    return plug.getEngine().layout.frequency.at(static_cast<std::size_t>(band));
  }
  /// A gesture of a control of several bands; with steps as a mouse goes, and one more at the end
  /// for who gives way a step late.
  void drag(const Args& args) {
    const int id = args.id(0);
    const int steps = args.whole(1);
    const bool movesAll = plug.editorState().selectedBands == 0x1f;
    group.begin(plug, id);
    plug.beginEdit(id);
    for (std::size_t goal = 2; goal < args.words.size(); ++goal) {
      const float from = plug.getParameter(id);
      const float to = value(args, goal, id);
      for (int i = 1; i <= steps + (steps > 1 ? 1 : 0); ++i) {
        const float share = static_cast<float>(i) / static_cast<float>(steps);
        const float normalised = i < steps ? from + (to - from) * share : to;
        group.spread(plug, id, normalised);
        const auto hertz = [this](int band) { return hertzOf(band); };
        EXPECT_TRUE(!movesAll || std::ranges::is_sorted(crossover(), {}, hertz));
        plug.setParameterAutomated(id, normalised);
      }
    }
    plug.endEdit(id);
    group.end(plug, id);
  }
  /// The mode, bands selected and shown, the present one, the bank before and the banks visited.
  void select(const Args& args) {
    EditorState& editor = plug.editorState();
    editor.selectMode = args.whole(0);
    editor.selectedBands = args.bands(1);
    editor.shownBands = args.bands(2);
    if (args.words.size() < 4) return;
    editor.currentBand = args.band(3);
    editor.lastAB = args.whole(4);
    editor.visitedBanks = args.bands(5);
  }
  /// A host that gives back what it was told.
  void echo() {
    take();
    for (const auto& [id, normalised] : std::exchange(told, {})) plug.setParameter(id, normalised);
  }
  /// Back to the start of the case.
  void reset() {
    plug.setLockWords(Plug::FlagWords{});
    plug.setLinkWords(Plug::FlagWords{});
    while (plug.canUndo()) plug.undo();
    note();
  }
  /// Rows of all bands somewhere, each somewhere else.
  void scramble() {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> anywhere;
    for (int id = kB1State; id < kBandOrder; ++id) {
      const int row = bandOneIdOf(id);
      const bool isChain = row == kB1State || row == kB1Type || row == kB1Frequency;
      if (!isChain && row != kB1Solo) plug.setParameter(id, anywhere(random));
    }
  }
  [[nodiscard]] bool isChanged(int id) const {
    return plug.normalisedValue(id) != start[static_cast<std::size_t>(id)];
  }
  [[nodiscard]] std::string changedText() const {
    return flagText([this](int id) { return isChanged(id); });
  }
  /// All is one step of the history, and can be done again.
  void expectStep() {
    const std::vector<float> after = normalisedValues(plug);
    plug.undo();
    EXPECT_EQ(changedText(), "");
    EXPECT_FALSE(plug.canUndo());
    plug.redo();
    EXPECT_EQ(normalisedValues(plug), after);
    EXPECT_FALSE(plug.canRedo());
  }
  void expectNothing() {
    EXPECT_EQ(changedText() + take(), "");
    EXPECT_FALSE(plug.canUndo());
  }

  void load(const std::string& text, bool isPreset) {
    plug.setChunk(text.c_str(), static_cast<std::int32_t>(text.size() + 1), isPreset);
  }
  /// As bytes of just this size: the text's end is where the size says.
  bool paste(const Args& args) {
    const std::string text = joined({args.words.begin() + 1, args.words.end()});
    const std::vector<char> bytes(text.begin(), text.end());
    return plug.loadBandFromText(bytes.data(), bytes.size(), args.band(0));
  }
  std::string windowText() {
    const EditorState& editor = plug.editorState();
    return "mode " + std::to_string(editor.uimode) + " width " + std::to_string(editor.freeWidth) +
           " zoom " + numberText(static_cast<float>(editor.zoom)) + " range " +
           numberText(editor.meterRange) + " link page " + std::to_string(editor.linkPage);
  }
  /// As the engine has it, and again from what the host has.
  std::string orderText() {
    BandLayout& layout = plug.getEngine().layout;
    std::string text;
    for (const int band : layout.orderList) text += std::to_string(band + 1);
    EXPECT_TRUE(layout.applyBandOrder(static_cast<double>(plug.getPlainValue(kBandOrder))));
    return text;
  }

  std::string menuText(const Args& args) {
    std::vector<std::string> parts;
    for (const auto& part : parameterMenu(args.id(0), parameterMenuState(plug, args.id(0)))) {
      std::string text = part.title + ":";
      for (const std::string& entry : part.entries) text += " [" + entry + "]";
      parts.push_back(text);
    }
    return joined({args.words[0], joined(parts, " | ")});
  }
  /// Of as many bands as are asked for.
  std::string rowText(const Args& args) {
    std::vector<std::string> parts = {args.words[0]};
    const int row = PlugRig::id(("kB1" + args.words[0]).c_str());
    for (int band = 0; band + 1 < std::ssize(args.words); ++band) {
      parts.push_back(numberText(plug.getPlainValue(bandParameterId(band, row))));
    }
    return joined(parts);
  }
  /// The XOver list; the order that the host has gives the same.
  std::string crossoverText() {
    std::string text;
    for (const int band : crossover()) {
      const auto hz = static_cast<double>(plug.getPlainValue(bandParameterId(band, kB1Frequency)));
      EXPECT_NEAR(hertzOf(band), hz, 1e-6 * hz);
      text += std::to_string(band + 1);
    }
    BandLayout& layout = plug.getEngine().layout;
    const BandLayout::List order = layout.orderList;
    EXPECT_TRUE(layout.applyBandOrder(static_cast<double>(plug.getPlainValue(kBandOrder))));
    EXPECT_EQ(layout.orderList, order);
    return text;
  }
  /// What has changed, all of it to what the row of one band was before.
  std::string takenText(const Args& args) {
    for (int id = kB1State; id < kBandOrder; ++id) {
      const int from = bandParameterId(args.band(0), bandOneIdOf(id));
      if (!isChanged(id)) continue;
      EXPECT_EQ(plug.getParameter(id), start[static_cast<std::size_t>(from)]) << nameOf(id);
    }
    return joined({args.words[0], changedText()});
  }
  std::string editorText() {
    EditorState& editor = plug.editorState();
    const bool isStale = editor.bankStale.exchange(false);
    return "bank " + std::to_string(plug.getCurrentBank()) + " band " +
           std::to_string(editor.currentBand + 1) + " selected " + bandsText(editor.selectedBands) +
           " shown " + bandsText(editor.shownBands) + " visited " + bandsText(editor.visitedBanks) +
           " last " + std::to_string(editor.lastAB) + (isStale ? " stale" : "");
  }
  static std::string warningsText() {
    ScriptedDialogs user;
    user.expectedCaption = "Halvekro : Band Error";
    Alerts::instance().show(user);
    return std::to_string(user.warnings.size());
  }

  PlugRig rig;
  Plug& plug = rig.plug;
  MIDIMap& midi = rig.machine.midiMap();
  GroupEdit group;
  ParameterActions actions{plug};
  BandActions bands{plug};
  BankSelector banks{plug};
  std::optional<Plug::UpdateHold> hold;
  std::vector<float> start;
  std::map<int, int> gestures;  // open ones
  std::map<int, float> told;
  const std::map<std::string, std::function<void(const Args&)>> commands = {
      {"set", [&](auto& a) { plug.setParameter(a.id(0), value(a, 1, a.id(0))); }},
      {"move", [&](auto& a) { move(a.id(0), value(a, 1, a.id(0))); }},
      {"edit", [&](auto& a) { plug.setParameterWithEdit(a.id(0), a.plain(1)); }},
      {"begin", [&](auto& a) { plug.beginEdit(a.id(0)); }},
      {"end", [&](auto& a) { plug.endEdit(a.id(0)); }},
      {"drag", [&](auto& a) { drag(a); }},
      {"groupbegin", [&](auto& a) { group.begin(plug, a.id(0)); }},
      {"groupmove", [&](auto& a) { group.spread(plug, a.id(0), value(a, 1, a.id(0))); }},
      {"groupend", [&](auto& a) { group.end(plug, a.id(0)); }},
      {"hold", [&](auto&) { hold.emplace(plug); }},
      {"release", [&](auto&) { hold.reset(); }},
      {"lock", [&](auto& a) { plug.setLocked(a.id(0), true); }},
      {"unlock", [&](auto& a) { plug.setLocked(a.id(0), false); }},
      {"link", [&](auto& a) { plug.setLinked(a.id(0), true); }},
      {"unlink", [&](auto& a) { plug.setLinked(a.id(0), false); }},
      {"menulock", [&](auto& a) { actions.lock(a.id(0), a.whole(1), a.bands(2)); }},
      {"menulink", [&](auto& a) { actions.link(a.id(0), a.whole(1), a.bands(2)); }},
      {"propagate", [&](auto& a) { actions.propagate(a.id(0), a.whole(1), a.bands(2)); }},
      {"bandlock", [&](auto& a) { bands.lock(a.band(0), a.whole(1), a.bands(2)); }},
      {"bandunlock", [&](auto& a) { bands.unlock(a.band(0), a.whole(1), a.bands(2)); }},
      {"bandlink", [&](auto& a) { bands.link(a.band(0), a.whole(1), a.bands(2)); }},
      {"bandunlink", [&](auto& a) { bands.unlink(a.band(0), a.whole(1), a.bands(2)); }},
      {"copy", [&](auto& a) { bands.copyBand(a.band(0), a.band(1)); }},
      {"source", [&](auto& a) { setSidechainSource(plug, a.band(0), a.whole(1), a.band(2)); }},
      {"add", [&](auto& a) { EXPECT_TRUE(plug.addBand(a.whole(0), a.whole(1))); }},
      {"noadd", [&](auto& a) { EXPECT_FALSE(plug.addBand(a.whole(0), a.whole(1))); }},
      {"place", [&](auto& a) { EXPECT_TRUE(plug.setBandPosition(a.band(0), a.whole(1))); }},
      {"noplace", [&](auto& a) { EXPECT_FALSE(plug.setBandPosition(a.band(0), a.whole(1))); }},
      {"delete", [&](auto& a) { plug.deleteBand(a.band(0)); }},
      {"bankcopy", [&](auto& a) { banks.copyTo(a.whole(0)); }},
      {"choose", [&](auto& a) { EXPECT_FALSE(banks.choose(a.whole(0))); }},
      {"chooseshows", [&](auto& a) { EXPECT_TRUE(banks.choose(a.whole(0))); }},
      {"toggle", [&](auto& a) { banks.toggle(static_cast<AbToggleMode>(a.whole(0))); }},
      {"full", [&](auto& a) { load(joined(a.words), false); }},
      {"preset", [&](auto& a) { load(joined(a.words), true); }},
      {"loadingflags", [&](auto& a) { plug.setLoadingFlags(a.whole(0)); }},
      {"loadingfile", [&](auto&) { plug.editorState().loadingFile = true; }},
      {"controller", [&](auto& a) { sendController(plug, 0xB0, a.whole(0), a.whole(1)); }},
      {"idle", [&](auto&) { plug.onIdle(); }},
      {"paste", [&](auto& a) { EXPECT_TRUE(paste(a)); }},
      {"nopaste", [&](auto& a) { EXPECT_FALSE(paste(a)); }},
      {"select", [&](auto& a) { select(a); }},
      {"learn", [&](auto& a) { midi.learn(a.id(0), a.whole(1)); }},
      {"learning", [&](auto& a) { midi.setLearnTarget(a.id(0)); }},
      {"gestures", [&](auto& a) { rig.prefer("VST Gestures", a.whole(0)); }},
      {"scramble", [&](auto&) { scramble(); }},
      {"again", [&](auto&) { reset(); }},
      {"undo", [&](auto&) { plug.undo(); }},
      {"echo", [&](auto&) { echo(); }},
      {"note", [&](auto&) { note(); }},
      {"skip", [&](auto&) { take(); }},
      {"step", [&](auto&) { expectStep(); }},
      {"nothing", [&](auto&) { expectNothing(); }},
  };
  const std::map<std::string, std::function<std::string(const Args&)>> looks = {
      {"told", [&](auto&) { return take(); }},
      {"offers", [&](auto& a) { return menuText(a); }},
      {"row", [&](auto& a) { return rowText(a); }},
      {"value",
       [&](auto& a) {
         return joined({a.words[0], numberText(plug.getPlainValue(a.id(0)))});
       }},
      {"window", [&](auto&) { return windowText(); }},
      {"order", [&](auto&) { return orderText(); }},
      {"crossover", [&](auto&) { return crossoverText(); }},
      {"locks", [&](auto&) { return flagText([&](int id) { return plug.isLocked(id); }); }},
      {"links", [&](auto&) { return flagText([&](int id) { return plug.isLinked(id); }); }},
      {"took", [&](auto& a) { return takenText(a); }},
      {"editor", [&](auto&) { return editorText(); }},
      {"warned", [&](auto&) { return warningsText(); }},
  };
};

/// The lines under each heading; a tab goes on with the line before.
TEST(Edits, DoWhatTheScriptTells) {
  std::map<std::string, std::vector<std::string>> scenes;
  std::optional<EditScript> script;
  std::ifstream file(CORVANTHELIS_CORE_DATA "/edits.txt");
  int cases = 0;
  std::string heading;
  std::string scene;
  for (std::string line, more; std::getline(file, line);) {
    while (file.peek() == '\t' && std::getline(file, more)) line += more;
    SCOPED_TRACE(heading);
    if (line.empty() || line.starts_with("#")) continue;
    if (line.starts_with(" ")) {
      script ? script->run(line) : scenes[scene].push_back(line);
      continue;
    }
    heading = line;
    std::istringstream words(line);
    words >> line >> scene;
    script.reset();
    if (line == "scene") continue;
    scene.pop_back();  // a colon
    script.emplace();
    for (const std::string& setting : scenes[scene]) script->run(setting);
    script->note();
    ++cases;
  }
  EXPECT_GT(cases, 20);
}

}  // namespace
