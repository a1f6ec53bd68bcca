// Walks over all that edits an effect, in any order. After each step the host knows what changed,
// the chain is whole and the state comes back from its text; in the end all is undone and done
// again.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/band_actions.h"
#include "core/bank_selector.h"
#include "core/group_edit.h"
#include "host/alerts.h"
#include "tests/core/plug_rig.h"
#include "tests/core/scripted_dialogs.h"
#include "tests/support/test_directory.h"

namespace {

#ifdef NDEBUG
constexpr unsigned kWalks = 40;
#else
constexpr unsigned kWalks = 6;
#endif

/// What a history gives back.
struct State {
  explicit State(Plug& plug)
      : values(normalisedValues(plug)), order(plug.getEngine().layout.orderList) {
    plug.getProgramName(name.data());
  }
  bool operator==(const State&) const = default;
  /// Which is another; a bank that is switched to moves values to where their curves put them.
  [[nodiscard]] std::string unlike(const State& other) const {
    std::string found = order == other.order && name == other.name ? "" : "order or name ";
    for (int id = 0; id < kNumParams; ++id) {
      const auto index = static_cast<std::size_t>(id);
      if (std::abs(values[index] - other.values[index]) < 2e-6F) continue;
      found += parameterKeyTable().name(id) + " ";
    }
    return found;
  }
  std::vector<float> values;
  BandLayout::List order;
  std::array<char, ProgramRecord::kNameCapacity> name{};
};

/// What is wrong with a chain that leaves a band out or is not what its parameters tell.
std::string faultOf(Plug& plug) {
  BandLayout& layout = plug.getEngine().layout;
  std::string fault;
  const BandLayout::List off = layout.copyOf(layout.off);
  for (int band = 0; band < kNumBands; ++band) {
    const bool isOn = plug.getPlainValue(bandParameterId(band, kB1State)) != 0.0F;
    const bool isSplit = isOn && plug.getPlainValue(bandParameterId(band, kB1Type)) == 0.0F;
    const bool isOut = std::ranges::find(off, band) != off.end();
    if (isOut == isOn || (layout.crossoverIndex(band) >= 0) != isSplit) fault += "band ";
  }
  const double steps = 2097152.0 * static_cast<double>(plug.getPlainValue(kBandOrder));
  if (2097152.0 * layout.bandOrderValue() != std::floor(steps)) fault += "order";
  return fault;
}

std::string textOf(Plug& plug) {
  void* data = nullptr;
  plug.setCompressionLevel(0);
  plug.getChunk(&data, false);
  return static_cast<const char*>(data);
}

void load(Plug& plug, const std::string& text) {
  plug.setChunk(text.c_str(), static_cast<std::int32_t>(text.size() + 1), false);
}

class EditWalk {
 public:
  /// With locks there are no states to load; where the host joins in, nothing is undone.
  enum class Kind { kUndone, kLocked, kWithHost };

  EditWalk(unsigned seed, PlugRig& other)
      : kind(static_cast<Kind>(seed % 3)), random(seed), loaded(other) {
    std::filesystem::create_directories(directory.path("user"));
    for (const int list : {kXoverList, kPostList, kXoverList})
      plug.addBand(list, 4000.0 / (list + 1));
    for (const auto& [path, isPreset] : files) {
      rig.set({{"kB1Knee", 70}, {"kB2Gain", 3}, {"kIpTrim", isPreset ? 2 : 4}});
      plug.presetFiles().savePreset(path, isPreset ? kPresetExtension : kBankExtension, isPreset);
      plug.addBand(kPreList, 200);
    }
    for (const int row : {kB1Knee, kB1SCSBand, kB1SCSrc}) {
      for (const int band : {0, 1, 3}) plug.setLinked(bandParameterId(band, row), pick(4) != 0);
    }
    for (int i = 0; kind == Kind::kLocked && i < 30; ++i) plug.setLocked(pick(kNumParams), true);
    rig.set({{"kB1SCSBand", 2}, {"kB1SCSrc", 2}});  // lost with band 3
    plug.clearHistory();
    plug.editorState().selectMode = 1;
    plug.editorState().selectedBands = plug.editorState().shownBands = 0x6f;
    host = normalisedValues(plug);
    rig.messages.clear();
    states.emplace_back(plug);
  }

  void step() {
    const Plug::FlagWords links = plug.getLinkWords();
    const bool isLoad = act();
    hear(links);
    expectLoadsAgain();
    if (isLoad || State(plug) != states.back()) states.emplace_back(plug);
  }

  /// To both ends.
  void undoAll() {
    endGestures();
    hear(plug.getLinkWords());
    for (const auto& [id, count] : gestures) EXPECT_EQ(count, 0) << id;
    if (kind == Kind::kWithHost) return;
    for (std::size_t i = states.size() - 1; i-- > 0;) turn(&Plug::undo, states[i], i);
    EXPECT_FALSE(plug.canUndo());
    for (std::size_t i = 1; i < states.size(); ++i) turn(&Plug::redo, states[i], i);
    EXPECT_FALSE(plug.canRedo());
  }

 private:
  int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
  float somewhere(int id) {
    const float share = 0.05F + 0.9F * static_cast<float>(pick(1000)) * 0.001F;
    return plug.plainToNormalised(id, plug.normalisedToPlain(id, share));
  }
  int pickParameter() {
    constexpr std::array kRows = {kB1Frequency, kB1Frequency, kB1Knee,
                                  kB1Gain,      kB1Threshold, kB1SCSBand};
    return bandParameterId(pick(kNumBands), kRows.at(static_cast<std::size_t>(pick(6))));
  }

  /// Whether it was a file that was loaded, a step in any case.
  bool act() {
    switch (pick(12)) {
      case 0:
      case 1:
      case 2:
        drag();
        return false;
      case 3:
        dragTwo();
        return false;
      case 4:
      case 5:
        workOnChain();
        return false;
      case 6:
        workOnBand(pick(kNumBands), pick(kNumBands));
        return false;
      case 7:
        useMenu(pickParameter());
        return false;
      case 8:
        BandActions(plug).sortBands();
        return false;
      case 9:
        if (kind == Kind::kWithHost) automate();
        return false;
      case 10:
        if (kind != Kind::kLocked) chooseBank();
        return false;
      default:
        return kind != Kind::kLocked && load();
    }
  }

  /// A gesture of an editor, whose end the host and the editor may never be told.
  void drag() {
    const int id = pickParameter();
    const bool isGroup = pick(3) == 0;
    const bool isClick = pick(4) == 0;  // changes nothing
    const float before = plug.getParameter(id);
    if (isGroup) group.begin(plug, id);
    plug.beginEdit(id);
    for (int i = 0; i < 3; ++i) {
      const float wanted = isClick ? before : somewhere(id);
      if (isGroup) group.spread(plug, id, wanted);
      plug.setParameterAutomated(id, wanted);
    }
    const bool isLost = plug.getParameter(id) != before && pick(2) == 0;
    if (isLost) {
      lost.insert(id);
      return;
    }
    plug.endEdit(id);
    if (isGroup) group.end(plug, id);
  }
  void dragTwo() {
    const std::array ids = {pickParameter(), bandParameterId(pick(kNumBands), kB1Ratio)};
    for (const int id : ids) plug.beginEdit(id);
    plug.setParameterAutomated(ids[0], somewhere(ids[0]));
    if (State(plug) != states.back()) states.emplace_back(plug);
    plug.setParameterAutomated(ids[1], somewhere(ids[1]));
    for (const int id : ids) plug.endEdit(id);
  }
  void workOnChain() {
    const int band = pick(kNumBands);
    const int list = pick(3);
    constexpr std::array<double, 6> kPlaces = {10, 400, 1000, 1100, 19000, 20000};
    bool isDone = true;
    if (pick(2) == 0) {
      isDone = plug.addBand(list, kPlaces.at(static_cast<std::size_t>(pick(6))));
    } else if (plug.getPlainValue(bandParameterId(band, kB1State)) == 0.0F) {
      return;
    } else if (pick(3) == 0) {
      plug.deleteBand(band);
    } else {
      isDone = plug.setBandPosition(band, list);
    }
    if (isDone) mayBeBroken = false;
  }
  void workOnBand(int from, int to) {
    std::string text;
    switch (pick(4)) {
      case 0:
        BandActions(plug).copyBand(from, to);
        break;
      case 1:
        plug.saveBand(text, from);
        plug.loadBandFromText(text.data(), text.size(), to);
        break;
      case 2:
        plug.resetBand(to);
        break;
      default:
        setSidechainSource(plug, from, pick(3), to);
    }
  }
  void useMenu(int id) {
    ParameterActions actions(plug);
    if (pick(2) == 0) return actions.propagate(id, pick(3), 0x0f);
    if (pick(2) == 0) return actions.link(id, pick(4), 0x0f);
    if (pick(2) == 0) return BandActions(plug).link(bandOf(id), pick(5), 0x0f);
    BandActions(plug).unlink(bandOf(id), pick(5), 0x0f);
  }
  /// As a host's automation does; the chain may break.
  void automate() {
    const int band = pick(kNumBands);
    const int id = std::array{bandParameterId(band, kB1Frequency), bandParameterId(band, kB1State),
                              bandParameterId(band, kB1Type), int{kBandOrder}}
                       .at(static_cast<std::size_t>(pick(4)));
    mayBeBroken = true;
    if (pick(3) == 0) return plug.setLinked(id, !plug.isLinked(id));
    if (pick(3) == 0) return plug.setLocked(id, !plug.isLocked(id));
    plug.setParameter(id, std::round(1000.0F * somewhere(id)) * 0.001F);
    host[static_cast<std::size_t>(id)] = plug.getParameter(id);
  }
  /// What a copy overwrites is no part of the history: each bank once.
  void chooseBank() {
    endGestures();
    BankSelector banks(plug);
    if (pick(2) == 0 && freshBank < Plug::kNumBanks) banks.copyTo(freshBank++);
    banks.choose(pick(freshBank));
  }
  bool load() {
    endGestures();
    const auto file = static_cast<std::size_t>(pick(3));
    if (file < files.size()) return plug.presetFiles().loadPresetFile(files.at(file).first);
    ::load(plug, textOf(plug));  // as a host that opens a session
    EXPECT_TRUE(mayBeBroken || State(plug).unlike(states.back()) == "");
    mayBeBroken = false;
    states.back() = State(plug);
    return false;
  }
  /// Those that were lost, late.
  void endGestures() {
    for (const int id : std::exchange(lost, {})) {
      group.end(plug, id);
      plug.endEdit(id);
    }
  }

  /// What the host has been told is what has changed, but for what follows by links.
  void hear(const Plug::FlagWords& links) {
    bool isOther = false;
    for (const PlugRig::Message& m : std::exchange(rig.messages, {})) {
      if (m.opcode == kHostAutomate) host[static_cast<std::size_t>(m.index)] = m.value;
      if (m.opcode == kHostVendorSpecific) isOther = true;
      if (m.opcode == kHostEndEdit) --gestures[m.index];
      if (m.opcode == kHostBeginEdit) ++gestures[m.index];
    }
    Plug::Flags linked;
    linked.setWords(links);
    for (int id = 0; id < kNumParams; ++id) {
      ASSERT_TRUE(gestures[id] == 0 || gestures[id] == 1) << id;
      float& known = host[static_cast<std::size_t>(id)];
      const bool isSilent = isOther || linked.get(id) || plug.isLinked(id);
      const bool isKnown = std::abs(known - plug.getParameter(id)) < 2e-6F;
      ASSERT_TRUE(isSilent || isKnown) << parameterKeyTable().name(id);
      known = plug.getParameter(id);
    }
  }
  /// From the text that a host gets, which is that of this moment.
  void expectLoadsAgain() {
    const std::string text = textOf(plug);
    ASSERT_EQ(plug.document(false).c_str(), text) << "a change is missing in the document";
    static_cast<void>(textOf(plug));  // kept from here on, for what comes next
    ::load(loaded.plug, text);
    ASSERT_EQ(faultOf(loaded.plug), "");
    ASSERT_EQ(loaded.plug.getLockWords(), plug.getLockWords());
    ASSERT_EQ(loaded.plug.getLinkWords(), plug.getLinkWords());
    if (mayBeBroken) return;
    ASSERT_EQ(faultOf(plug), "");
    ASSERT_EQ(State(loaded.plug).unlike(State(plug)), "");
  }
  void turn(void (Plug::*go)(), const State& wanted, std::size_t number) {
    plug.setLockWords(Plug::FlagWords{});  // what is locked would stay
    plug.setLinkWords(Plug::FlagWords{});
    (plug.*go)();
    ASSERT_EQ(State(plug).unlike(wanted), "") << "state " << number << " of " << states.size();
    hear(Plug::FlagWords{});
  }

  const Kind kind;
  std::mt19937 random;
  TestDirectory directory;
  const std::vector<std::pair<std::string, bool>> files = {
      {directory.path("user/A.") + kPresetExtension, true},
      {directory.path("user/B.") + kBankExtension, false}};
  PlugRig rig;
  Plug& plug = rig.plug;
  PlugRig& loaded;
  GroupEdit group;
  std::vector<float> host;
  std::map<int, int> gestures;
  std::vector<State> states;
  std::set<int> lost;  // gestures begun
  int freshBank = 1;
  bool mayBeBroken = false;
};

TEST(EditWalk, TellsTheHostLoadsAgainAndIsUndoneToBothEnds) {
  PlugRig loaded;
  for (unsigned seed = 0; seed < kWalks; ++seed) {
    SCOPED_TRACE(seed);
    EditWalk walk(seed, loaded);
    for (int step = 0; step < 20 && !testing::Test::HasFatalFailure(); ++step) {
      SCOPED_TRACE(step);
      walk.step();
    }
    walk.undoAll();
    if (testing::Test::HasFailure()) break;
  }
  ScriptedDialogs user;
  user.expectedCaption = "Halvekro : Band Error";
  Alerts::instance().show(user);
}

}  // namespace
