// What edits, documents and files do: data/edits.txt tells it case by case; data/walk.txt has the
// steps of walks in any order, after each of which the host knows what changed, the chain is whole
// and the state comes back from its text; in the end all is undone and done again.

#include <array>
#include <optional>
#include <stdexcept>

#include "host/aeff_editor.h"
#include "tests/core/edit_script.h"

namespace {

/// The lines under each heading; a tab goes on with the line before.
TEST(Edits, DoWhatTheScriptTells) {
  std::map<std::string, std::vector<std::string>> scenes;
  std::optional<TestDirectory> directory;
  std::optional<EditScript> script;
  std::ifstream file(TEST_DATA "/edits.txt");
  int cases = 0;
  std::string heading;
  std::string scene;
  for (std::string line, more; std::getline(file, line);) {
    while (file.peek() == '\t' && std::getline(file, more)) line += more;
    SCOPED_TRACE(heading);
    if (line.empty() || line.starts_with("#")) continue;
    if (line == "  restart" || line == "  session") {  // another instance, without the document
      const std::string kept = script->document();
      script.emplace(*directory);
      if (line == "  session") script->run("full " + kept);
    } else if (line.starts_with(" ")) {
      script ? script->run(line) : scenes[scene].push_back(line);
    } else {
      heading = line;
      std::istringstream words(line);
      words >> line >> scene;
      script.reset();
      if (line == "scene") continue;
      scene.pop_back();  // a colon
      script.emplace(directory.emplace());
      for (const std::string& setting : scenes[scene]) script->run(setting);
      script->note();
      ++cases;
    }
  }
  EXPECT_GT(cases, 20);
}

/// What a history gives back.
struct State {
  explicit State(Plug& plug)
      : values(normalisedValues(plug)), order(plug.getEngine().layout.orderList) {
    std::array<char, ProgramRecord::kNameCapacity> name{};
    plug.getProgramName(name.data());
    place = name.data() + plug.editorState().lastPresetFolder +
            std::to_string(plug.editorState().lastPreset);
  }
  bool operator==(const State&) const = default;
  /// Which is another; a bank that is switched to moves values to where their curves put them.
  [[nodiscard]] std::string unlike(const State& other) const {
    std::string found = order == other.order && place == other.place ? "" : "order or place ";
    for (int id = 0; id < kNumParams; ++id) {
      const auto index = static_cast<std::size_t>(id);
      if (std::abs(values[index] - other.values[index]) > 2e-6F) found += nameOf(id) + " ";
    }
    return found;
  }
  std::vector<float> values;
  BandLayout::List order;
  std::string place;
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

}  // namespace

class EditWalk {
 public:
  /// `kind`: all can be undone, with locks, or a host that joins in.
  EditWalk(unsigned seed, PlugRig& other, const std::vector<std::string>& setUp)
      : kind("ulh"[seed % 3]), random(seed), loaded(other) {
    for (const std::string& line : setUp) script.run(line);
    for (const char* const row : {"Knee", "SCSBand", "SCSrc"}) {
      for (const char band : {'1', '2', '4'}) {
        if (pick(4) != 0) script.run(std::string("link B") + band + row);
      }
    }
    for (int i = 0; kind == 'l' && i < 30; ++i) plug.setLocked(pick(kNumParams), true);
    script.run("set B1SCSBand 2; set B1SCSrc 2; select 1 123467 123467");  // lost with band 3
    script.note();
    script.isWhole = true;
    script.programChanges = 0;
    plug.setCompressionLevel(0);
    host = normalisedValues(plug);
    states.emplace_back(plug);
  }

  void step(const std::vector<std::string>& templates) {
    std::string line;
    do line = templates.at(static_cast<std::size_t>(pick(static_cast<int>(templates.size()))));
    while (line.substr(0, line.find(' ')).find(kind) == std::string::npos);
    std::istringstream parts(filled(line.substr(line.find(' '))));
    for (std::string part; std::getline(parts, part, '/') && !testing::Test::HasFailure();) {
      std::ranges::replace(part, '|', '/');
      SCOPED_TRACE(part);
      const bool wasWhole = script.isWhole;
      const Plug::FlagWords links = plug.getLinkWords();
      script.run(part);
      if (const Args args{wordsOf(part)}; args.words.at(0) == "set") {
        host.at(static_cast<std::size_t>(args.id(1))) = plug.getParameter(args.id(1));
      }
      const bool isSession = part.ends_with("recall");
      if (isSession) {
        EXPECT_TRUE(!wasWhole || State(plug).unlike(states.back()) == "");
        script.isWhole = true;
        states.pop_back();
      }
      hear(links);
      expectLoadsAgain();
      const bool isStep = part.starts_with(" late; load") || part.starts_with(" late; pick");
      if (isSession || isStep || State(plug) != states.back()) states.emplace_back(plug);
    }
  }

  /// To both ends.
  void undoAll() {
    script.run("late");
    hear(plug.getLinkWords());
    if (kind == 'h') return;
    for (std::size_t i = states.size() - 1; i-- > 0;) turn(&Plug::undo, states[i], i);
    EXPECT_FALSE(plug.canUndo());
    for (std::size_t i = 1; i < states.size(); ++i) turn(&Plug::redo, states[i], i);
    EXPECT_FALSE(plug.canRedo());
  }

 private:
  int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
  std::string pick(const std::vector<std::string>& words) {
    return words.at(static_cast<std::size_t>(pick(static_cast<int>(words.size()))));
  }
  std::string pickBand() { return std::to_string(1 + pick(kNumBands)); }

  /// {p}, {q}, {x}, {b} and {c} are one parameter or band each in a line; the others are drawn
  /// anew.
  std::string filled(std::string line) {
    const std::vector<std::string> rows = {"Frequency", "Frequency", "Knee",
                                           "Gain",      "Threshold", "SCSBand"};
    std::map<char, std::string> fixed = {
        {'p', "B" + pickBand() + pick(rows)},
        {'q', "B" + pickBand() + "Ratio"},
        {'x', "B" + pickBand() + pick({"Frequency", "State", "Type"})},
        {'b', pickBand()},
        {'c', pickBand()}};
    if (pick(4) == 0) fixed['x'] = "BandOrder";
    for (std::size_t at = 0; (at = line.find('{')) != std::string::npos;) {
      const char key = line[at + 1];
      std::string word = fixed[key];
      if (key == 'v') word = std::to_string(0.1 * (50 + pick(900))) + "%";
      if (key == 'f') word = pick({"10", "400", "1000", "1100", "19000", "20000"});
      if (key == 'n') word = std::to_string(freshBank < Plug::kNumBanks ? freshBank++ : -1);
      if (key == 'o') word = std::to_string(pick(freshBank));
      if (key >= '1' && key <= '9') word = std::to_string(pick(key - '0'));
      line.replace(at, 3, word);
    }
    return line;
  }
  /// What the host has been told is what has changed, but for what follows by links.
  void hear(const Plug::FlagWords& links) {
    script.take();
    const bool isOther = std::exchange(script.programChanges, 0) != 0;
    for (const auto& [id, value] : std::exchange(script.told, {})) {
      host[static_cast<std::size_t>(id)] = value;
    }
    BandRules::Flags linked;
    linked.setWords(links);
    for (int id = 0; id < kNumParams; ++id) {
      float& known = host[static_cast<std::size_t>(id)];
      const bool isSilent = isOther || linked.get(id) || plug.isLinked(id);
      ASSERT_TRUE(isSilent || std::abs(known - plug.getParameter(id)) < 2e-6F) << nameOf(id);
      known = plug.getParameter(id);
    }
  }
  /// From the text that a host gets, which is that of this moment.
  void expectLoadsAgain() {
    const std::string text = chunkOf(plug);
    ASSERT_EQ(documentOf(plug), text) << "a change is missing in the document";
    static_cast<void>(chunkOf(plug));  // kept from here on, for what comes next
    load(loaded.plug, text);
    ASSERT_EQ(faultOf(loaded.plug), "");
    ASSERT_EQ(loaded.plug.getLockWords(), plug.getLockWords());
    ASSERT_EQ(loaded.plug.getLinkWords(), plug.getLinkWords());
    if (!script.isWhole) return;
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

  const char kind;
  std::mt19937 random;
  TestDirectory directory;
  EditScript script{directory};
  Plug& plug = script.plug;
  PlugRig& loaded;
  std::vector<float> host;
  std::vector<State> states;
  int freshBank = 1;
};

namespace {

/// Notes what becomes of it; looks at its effect whenever it may.
class NotedEditor : public AEffEditor {
 public:
  NotedEditor(Plug& ofPlug, std::string& notes) : plug(ofPlug), log(notes) {
    EXPECT_EQ(plug.machine().globals().getGroupCount(), 0) << "preferences come later";
    EXPECT_EQ(plug.normalisedValue(kIpTrim), plug.getParameterDefault(kIpTrim));
    log += "made ";
  }
  ~NotedEditor() override { log += "gone " + std::to_string(plug.editorState().currentBand) + " "; }
  void effectReady() override { log += "ready " + numberText(plug.getPlainValue(kIpTrim)) + " "; }
  void effectClosed() override { log += "closed " + chunkOf(plug).substr(0, 1) + " "; }
  void setParameter(std::int32_t index, float /*normalised*/) override {
    if (index == kIpTrim && !log.ends_with("trim ")) log += "trim ";
  }

 private:
  Plug& plug;
  std::string& log;
};

}  // namespace

TEST(PlugEditor, IsThereFromBeforeTheBanksToTheEnd) {
  const TestDirectory directory;
  writeBytes(directory.path("Default Bank.CorvanthelisBank"), R"({"parameters":{"kIpTrim":0.75}})");
  std::string log;
  const auto make = [&log](Plug& plug) { return std::make_unique<NotedEditor>(plug, log); };
  {
    Machine machine(std::make_unique<MemoryStore>(), {directory.path(""), ""});
    const Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine, make);
    EXPECT_EQ(std::exchange(log, {}), "made trim ready 12 ");
  }
  EXPECT_EQ(std::exchange(log, {}), "closed { gone 0 ");
  Machine machine(std::make_unique<MemoryStore>(), {});
  const auto noClock = []() -> std::int64_t { throw std::runtime_error("no clock"); };
  EXPECT_THROW(Plug(nullptr, Plug::Idle::kCaller, noClock, machine, make), std::runtime_error);
  EXPECT_EQ(log, "made gone 0 ") << "before what it shows";
}

TEST(Edits, TellTheHostLoadAgainAndAreUndoneToBothEnds) {
#ifdef NDEBUG
  constexpr unsigned kWalks = 40;
#else
  constexpr unsigned kWalks = 6;
#endif
  std::vector<std::string> setUp, templates;
  std::ifstream file(TEST_DATA "/walk.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("  ")) setUp.push_back(line);
    const int weight = std::isdigit(line[0]) != 0 ? std::stoi(line) : 0;
    for (int i = 0; i < weight; ++i) templates.push_back(line.substr(line.find(' ') + 1));
  }
  PlugRig loaded;
  for (unsigned seed = 0; seed < kWalks && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    EditWalk walk(seed, loaded, setUp);
    for (int step = 0; step < 20 && !HasFailure(); ++step) walk.step(templates);
    walk.undoAll();
  }
  ScriptedDialogs user;
  Alerts::instance().show(user);
}
