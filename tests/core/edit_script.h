// A language of edits: an effect that lines of text act on and look at, for tests whose cases are
// data.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "editing/band_edits.h"
#include "editing/band_menu.h"
#include "editing/bank_selector.h"
#include "editing/group_edit.h"
#include "editing/parameter_menu.h"
#include "editing/state_menus.h"
#include "host/alerts.h"
#include "state/chunk_codec.h"
#include "state/file_store.h"
#include "tests/core/plug_rig.h"
#include "tests/support/test_directory.h"

inline std::string nameOf(int id) {
  return id < 0 ? "none" : parameterKeyTable().name(id).substr(1);
}

inline std::string joined(const std::vector<std::string>& parts, const char* between = " ") {
  std::string text;
  for (const std::string& part : parts) {
    text += (text.empty() || part.empty() ? "" : between) + part;
  }
  return text;
}

inline std::string numberText(float plain) {
  std::ostringstream text;
  text.precision(5);
  text << (std::abs(plain) < 0.001F ? 0.0F : plain);
  return text.str();
}

/// Bands as digits from 1.
inline std::string bandsText(BandMask bands) {
  std::string digits;
  for (int band = 0; band < 9; ++band) digits += isIn(bands, band) ? std::to_string(band + 1) : "";
  return digits.empty() ? "0" : digits;
}

/// The parameters that `flag` holds for: runs of rows with the bands, then globals.
template <typename Flag>
inline std::string flagText(const Flag& flag) {
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

inline std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}
/// All that is between the words of a text becomes one blank.
inline std::string collapsed(std::string text) {
  std::ranges::replace(text, '\0', '$');
  return joined(wordsOf(text));
}

inline std::string textOf(std::string_view bytes) {
  return std::string(isPackedChunk(bytes) ? *unpackChunk(bytes) : bytes).c_str();
}
/// What a host gets, which is the document as it was at the last change.
inline std::string chunkOf(Plug& plug, bool isPreset = false) {
  void* data = nullptr;
  const auto size = static_cast<std::size_t>(plug.getChunk(&data, isPreset));
  return textOf({static_cast<const char*>(data), size});
}
inline void load(Plug& plug, const std::string& text, bool isPreset = false) {
  plug.setChunk(text.c_str(), static_cast<std::int32_t>(text.size() + 1), isPreset);
}
inline std::string documentOf(Plug& plug) { return textOf(plug.document(false)); }

/// A user who answers every file dialog alike.
class ScriptedDialogs : public Dialogs {
 public:
  void showWarning(const std::string& caption, const std::string& message, Closed closed) override {
    warnings.push_back(caption + ": " + message);
    closed(true);
  }
  void confirm(const std::string& /*caption*/, const std::string& /*message*/,
               Confirmed confirmed) override {
    confirmed(true);
  }
  void openFileDialog(const FileDialog& dialog, FileChosen chosen) override {
    asked = joined({dialog.title, dialog.startFolder, dialog.proposedName}, "|");
    chosen(answer);
  }

  std::string answer;
  std::string asked;
  std::vector<std::string> warnings;
};

/// The words behind a command.
struct Args {
  [[nodiscard]] std::string text(std::size_t from = 0) const {
    return joined({words.begin() + static_cast<std::ptrdiff_t>(from), words.end()});
  }
  [[nodiscard]] const std::string& word(std::size_t i) const {
    read = std::max(read, i + 1);
    return words.at(i);
  }
  /// With blanks for underscores.
  [[nodiscard]] std::string name(std::size_t i) const {
    std::string text = word(i);
    std::ranges::replace(text, '_', ' ');
    return text;
  }
  [[nodiscard]] float plain(std::size_t i) const { return std::stof(word(i)); }
  [[nodiscard]] int whole(std::size_t i) const { return std::stoi(word(i)); }
  [[nodiscard]] int band(std::size_t i) const { return whole(i) - 1; }
  [[nodiscard]] BandMask bands(std::size_t i) const {
    BandMask bands = 0;
    for (const char digit : word(i)) bands |= digit == '0' ? 0 : 1U << (digit - '1');
    return bands;
  }
  /// A number, or a name without its first letter.
  [[nodiscard]] int id(std::size_t i) const {
    const int named = PlugRig::id(("k" + word(i)).c_str());
    return named >= 0 ? named : whole(i);
  }
  std::vector<std::string> words;
  mutable std::size_t read = 0;  // words that somebody has asked for
};

/// One instance that the lines of a script act on and look at.
class EditScript {
 public:
  explicit EditScript(const TestDirectory& files) : directory(files) { note(); }
  ~EditScript() {
    take();
    for (const auto& [id, count] : gestures) EXPECT_EQ(count, 0) << "open: " << nameOf(id);
  }
  EditScript(const EditScript&) = delete;
  EditScript& operator=(const EditScript&) = delete;

  [[nodiscard]] std::string document() { return documentOf(plug); }
  /// Commands that ";" parts.
  void run(const std::string& line) {
    SCOPED_TRACE(line);
    std::istringstream parts(line);
    for (std::string part; std::getline(parts, part, ';');) {
      Args args{wordsOf(part)};
      const std::string command = args.words.at(0);
      args.words.erase(args.words.begin());
      if (looks.contains(command)) {
        const std::string found = looks.at(command)(args);
        expectText(found, args.text(args.read));
      } else if (commands.contains(command)) {
        commands.at(command)(args);
      } else {
        attempt(command, args);
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
  friend class EditWalk;

  /// What is to succeed; to fail with "no" before it, and either with "try".
  void attempt(const std::string& command, const Args& args) {
    const bool isTry = command.starts_with("try");
    const bool isNo = command.starts_with("no") && !attempts.contains(command);
    const auto name = command.substr(isTry ? 3 : isNo ? 2 : 0);
    ASSERT_TRUE(attempts.contains(name)) << command;
    bool isDone = false;
    const auto act = [&] { isDone = attempts.at(name)(args); };
    const bool isFile = name == "paste" || name == "loadband";
    isFile || name == "add" || name == "place" ? asOne(isFile, act) : act();
    EXPECT_TRUE(isTry || isDone != isNo);
    if (name == "add" || name == "place") isWhole |= isDone;
  }
  /// With "..." in front, what it holds; with "..." in the end, how it begins.
  static void expectText(std::string text, std::string wanted) {
    if (wanted.starts_with("...")) {
      EXPECT_NE(text.find(wanted.substr(3)), std::string::npos) << text;
      return;
    }
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
      if (m.opcode == kHostVendorSpecific && m.index == kProgramChanged) ++programChanges;
      if (m.opcode == kHostIoChanged) parts.emplace_back("latency");
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
    if (args.words[i] == "=") return plug.getParameter(id);
    const float plain = args.plain(i);
    if (args.words[i].ends_with("%")) {
      return plug.plainToNormalised(id, plug.normalisedToPlain(id, plain * 0.01F));
    }
    return std::isnan(plain) ? plain : plug.plainToNormalised(id, plain);
  }
  /// The engine is to have another chain, or is to hear `all` that is told, as one.
  template <typename Act>
  void asOne(bool all, const Act& act) {
    compressor& engine = plug.getEngine();
    const auto heard = [&engine, all] {
      const auto hertz = all ? engine.layout.frequency : BandLayout().frequency;
      return std::tuple(engine.stagePlanWord(), hertz, all ? engine.getLatency() : 0);
    };
    const auto before = heard();
    int early = 0;
    rig.onAutomate = [&] { early += heard() != before ? 1 : 0; };
    const std::size_t messages = rig.messages.size();
    act();
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
    group.begin(id);
    plug.beginEdit(id);
    for (std::size_t goal = 2; goal < args.words.size(); ++goal) {
      const float from = plug.getParameter(id);
      const float to = value(args, goal, id);
      for (int i = 1; i <= steps + (steps > 1 ? 1 : 0); ++i) {
        const float share = static_cast<float>(i) / static_cast<float>(steps);
        const float normalised = i < steps ? from + (to - from) * share : to;
        group.spread(id, normalised);
        const auto hertz = [this](int band) { return hertzOf(band); };
        EXPECT_TRUE(!movesAll || std::ranges::is_sorted(crossover(), {}, hertz));
        plug.setParameterAutomated(id, normalised);
      }
    }
    plug.endEdit(id);
    group.end(id);
  }
  /// A gesture whose end comes late, if it does anything.
  void lose(const Args& args) {
    const int id = args.id(0);
    const float before = plug.getParameter(id);
    group.begin(id);
    plug.beginEdit(id);
    group.spread(id, value(args, 1, id));
    plug.setParameterAutomated(id, value(args, 1, id));
    lost.insert(id);
    if (plug.getParameter(id) == before) endLost();
  }
  void endLost() {
    for (const int id : std::exchange(lost, {})) {
      group.end(id);
      plug.endEdit(id);
    }
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
  /// A host that gives back what it was told, or its list of all values.
  void echo(bool isAll) {
    take();
    for (int id = 0; isAll && id < kNumParams; ++id) told.emplace(id, plug.getParameter(id));
    for (const auto& [id, normalised] : std::exchange(told, {})) plug.setParameter(id, normalised);
  }
  /// Back to the start of the case.
  void reset() {
    plug.setLockWords(Plug::FlagWords{});
    plug.setLinkWords(Plug::FlagWords{});
    while (plug.canUndo()) plug.undo();
    note();
  }
  /// Rows of all bands somewhere, each somewhere else; with a seed, their flags as well.
  void scramble(const Args& args) {
    std::mt19937 random(args.words.empty() ? 5U : static_cast<unsigned>(args.whole(0)));
    std::uniform_real_distribution<float> anywhere;
    for (int id = kB1State; id < kBandOrder; ++id) {
      const int row = bandOneIdOf(id);
      const bool isChain = row == kB1State || row == kB1Type || row == kB1Frequency;
      if (!isChain && row != kB1Solo) plug.setParameter(id, anywhere(random));
      if (args.words.empty()) continue;
      plug.setLocked(id, random() % 6 == 0);
      plug.setLinked(id, random() % 6 == 0);
    }
  }
  /// A parameter with its flags; a band that it names by the place in `order` that it comes to.
  [[nodiscard]] auto rowOf(int id, const std::vector<int>& order) const {
    const bool isName = id == kSCListen || bandOneIdOf(id) == kB1SCSBand;
    float number = isName ? plug.getPlainValue(id) : plug.normalisedValue(id);
    const auto found = std::ranges::find(order, static_cast<int>(number));
    if (isName && found != order.end()) number = static_cast<float>(found - order.begin());
    return std::tuple(number, plug.isLocked(id), plug.isLinked(id));
  }
  /// Sorting numbers the chain anew, in one step, and leaves the sound.
  void expectSorted() {
    const auto listen = [this] {
      plug.resume();
      return render(plug, noise<double>(6000), 500);
    };
    const auto rows = [this](const std::vector<int>& order) {
      std::vector<std::tuple<float, bool, bool>> all;
      for (int id = 0; id < kNumParams; ++id) {
        const int from = isBandParameter(id) ? order.at(static_cast<std::size_t>(bandOf(id))) : 0;
        const int source = isBandParameter(id) ? bandParameterId(from, bandOneIdOf(id)) : id;
        if (id != kBandOrder) all.push_back(rowOf(source, order));
      }
      return all;
    };
    const auto& now = plug.getEngine().layout.order;
    const auto before = rows({now.begin(), now.end()});
    const bool isLocked = plug.isLocked(kBandOrder);
    const auto heard = listen();
    EXPECT_TRUE(bands.sortBands());
    EXPECT_FALSE(bands.sortBands()) << "once is enough";
    EXPECT_EQ(orderText(), "12345678");
    EXPECT_TRUE(rows({0, 1, 2, 3, 4, 5, 6, 7}) == before);
    EXPECT_EQ(plug.isLocked(kBandOrder), isLocked);
    EXPECT_LT(deviation(heard, listen(), 0), 1e-9);
    plug.setLockWords(Plug::FlagWords{});  // what is locked would stay as it is
    expectStep();
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

  /// As bytes of just this size: the text's end is where the size says.
  bool paste(const Args& args) {
    const std::string text = args.text(1);
    const std::vector<char> bytes(text.begin(), text.end());
    if (text == "null") return plug.loadBandFromText(nullptr, 3, args.band(0));
    return plug.loadBandFromText(bytes.data(), bytes.size(), args.band(0));
  }
  [[nodiscard]] std::string path(const Args& args) const { return directory.path(args.name(0)); }
  static bool isPreset(const Args& args) { return args.words.at(1) != "bank"; }
  static std::string extensionOf(const Args& args) {
    return isPreset(args) ? kPresetExtension : kBankExtension;
  }
  void write(const Args& args) {
    writeBytes(path(args), args.text(1));
    if (args.text(1) == "large") std::filesystem::resize_file(path(args), kMostDocumentBytes + 1);
  }
  /// All that a save holds, and what the host has of it.
  [[nodiscard]] std::pair<std::string, std::string> whole() {
    return {documentOf(plug), chunkOf(plug)};
  }
  /// A soloed dynamic EQ band at `hertz`, which is heard.
  void expectHeard(double hertz) {
    const auto soundOf = [](PlugRig& each) {
      compressor& engine = each.plug.getEngine();
      engine.resetEngine();
      auto sound = noise<double>(4000);
      std::array<double*, 2> inOut = {sound.channels[0].data(), sound.channels[1].data()};
      inRealTime([&] { engine.processBlock(inOut.data(), inOut.data(), 4000, 2, 0); });
      return sound;
    };
    static std::map<double, Stereo<double>> wanted;
    if (!wanted.contains(hertz)) {
      PlugRig fresh("B1Type=1 B1Solo=1 B1Bypass=1 B1Frequency=" + std::to_string(hertz));
      wanted.emplace(hertz, soundOf(fresh));
    }
    EXPECT_TRUE(soundOf(rig) == wanted.at(hertz));
  }
  void setProcessLevel(int level) {
    const RealTimeCheck::Exception whileItSwitches;
    rig.processLevel = level;
    render(plug, Stereo<float>(64), 64);
  }
  /// A tone, with an idle call after each block.
  void play(double level, double seconds) {
    auto sound = tone(level, 440.0, static_cast<int>(48000 * seconds));
    sound.channels[1] = sound.channels[0];
    render(plug, sound, 480, [this](int frame) {
      if (frame > 0) plug.onIdle();
    });
    plug.onIdle();
  }
  /// The parameters of a node by their kind, from -1 on.
  [[nodiscard]] std::string nodeText(int node) const {
    std::vector<std::string> parts;
    for (int kind = -1; kind < 10; ++kind) {
      const int index = plug.bandParameter(kind, node);
      parts.push_back(index < 0 ? "-" : nameOf(index));
    }
    return joined(parts);
  }
  std::string windowText() {
    const EditorState& editor = plug.editorState();
    return "mode " + std::to_string(editor.uimode) + " width " + std::to_string(editor.freeWidth) +
           " zoom " + numberText(static_cast<float>(editor.zoom)) + " range " +
           numberText(editor.meterRange) + " link page " + std::to_string(editor.linkPage);
  }
  /// As the engine has it, and as it makes it of what the host has.
  std::string orderText() {
    BandLayout& layout = plug.getEngine().layout;
    const BandLayout::List order = layout.orderList;
    EXPECT_TRUE(layout.applyBandOrder(static_cast<double>(plug.getPlainValue(kBandOrder))));
    EXPECT_EQ(layout.orderList, order);
    std::string text;
    for (const int band : order) text += std::to_string(band + 1);
    return text;
  }

  /// "title: [entry] [*checked] [-disabled]" of submenus, ": [entry]" of what stands by itself.
  static std::string menuText(const Menu& menu) {
    std::vector<std::string> parts;
    for (const Menu::Entry& entry : menu.entries) {
      const std::string mark = entry.enabled ? entry.checked ? "*" : "" : "-";
      std::string text = entry.isSubmenu ? entry.text + ":" : ": [" + mark + entry.text + "]";
      for (const Menu::Entry& each : entry.submenu) {
        text += " [" + std::string(each.enabled ? "" : "-") + (each.checked ? "*" : "") +
                each.text + (each.isSubmenu ? "/" : "") + "]";
      }
      parts.push_back(text);
    }
    return joined(parts, " | ");
  }
  /// The entry that a path of texts leads to.
  static void choose(const Menu& menu, const std::string& path) {
    const std::vector<Menu::Entry>* entries = &menu.entries;
    std::istringstream parts(path);
    const Menu::Entry* entry = nullptr;
    for (std::string part; std::getline(parts, part, '/'); entries = &entry->submenu) {
      const auto found = std::ranges::find(*entries, part, &Menu::Entry::text);
      ASSERT_TRUE(found != entries->end()) << path;
      entry = &*found;
    }
    entry->choose();
  }
  /// The entry at a place of a submenu, or else the only one of its kind, with these bands
  /// selected.
  void pick(const Args& args, Menu (EditScript::*menuFor)(const Args&), const std::string& title) {
    EditorState& editor = plug.editorState();
    const std::uint32_t selected = editor.selectedBands;
    editor.selectedBands = args.bands(2);
    const Menu menu = (this->*menuFor)(args);
    const auto place = static_cast<std::size_t>(args.whole(1));
    const auto found = std::ranges::find(menu.entries, title, &Menu::Entry::text);
    if (found != menu.entries.end()) {
      if (place < found->submenu.size()) found->submenu[place].choose();
    } else if (title == "Locking" && place == 0 && menu.entries.size() > 1) {
      menu.entries.front().choose();
    }
    editor.selectedBands = selected;
  }
  [[nodiscard]] Menu menuOf(const Args& args) {
    return parameterMenu({plug.edits(), plug.editorState(), midi}, args.id(0));
  }
  [[nodiscard]] Menu bandMenuOf(const Args& args) {
    return bandMenu({plug.edits(), plug.edits().bands, bandFiles, plug.editorState(),
                     rig.machine.globals(), user},
                    args.band(0));
  }
  [[nodiscard]] Menu stateMenuOf(const Args& args) {
    if (args.word(0) == "presets") return presetMenu(presets);
    return args.word(0) == "banks" ? bankMenu(plug.edits(), banks) : bankCopyMenu(banks);
  }
  /// A window that opens, is laid out or closes.
  void window(const std::string& what) {
    const Plug::StateScope scope(plug);
    if (what == "lays") {
      plug.editorState().beginLayout();
      EXPECT_FALSE(plug.editorState().layoutWanted);
      return;
    }
    plug.editorState().setWindowOpen(what == "opens");
  }
  /// Of as many bands as are asked for.
  std::string rowText(const Args& args) {
    std::vector<std::string> parts;
    const int row = PlugRig::id(("kB1" + args.word(0)).c_str());
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
    static_cast<void>(orderText());
    return text;
  }
  /// What has changed, all of it to what the row of one band was before.
  std::string takenText(const Args& args) {
    for (int id = kB1State; id < kBandOrder; ++id) {
      const int from = bandParameterId(args.band(0), bandOneIdOf(id));
      if (!isChanged(id)) continue;
      EXPECT_EQ(plug.getParameter(id), start[static_cast<std::size_t>(from)]) << nameOf(id);
    }
    return changedText();
  }
  std::string editorText() {
    EditorState& editor = plug.editorState();
    const bool isStale = editor.bankStale.exchange(false);
    return "bank " + std::to_string(plug.getCurrentBank()) + " band " +
           std::to_string(editor.currentBand + 1) + " selected " + bandsText(editor.selectedBands) +
           " shown " + bandsText(editor.shownBands) + " visited " + bandsText(editor.visitedBanks) +
           " last " + std::to_string(editor.lastAB) + (isStale ? " stale" : "");
  }
  /// Texts with the names of files as a script has them.
  [[nodiscard]] std::string plainText(std::string text) const {
    const std::string root = directory.path("");
    for (std::size_t at = 0; (at = text.find(root)) != std::string::npos;) {
      text.erase(at, root.size());
    }
    return collapsed(text);
  }
  std::string warningsText() {
    Alerts::instance().show(user);
    return plainText(joined(std::exchange(user.warnings, {}), " & "));
  }
  std::string bandText(int band) {
    std::string text;
    const std::int32_t size = plug.saveBand(text, band);
    EXPECT_EQ(size, text.empty() ? 0 : static_cast<std::int32_t>(text.size()) + 1);
    return text;
  }
  /// The name, the trim that tells presets apart, the place and where it can go.
  std::string placeText() {
    EditorState& editor = plug.editorState();
    std::array<char, ProgramRecord::kNameCapacity> name{};
    plug.getProgramName(name.data());
    EXPECT_FALSE(editor.loadingFile);
    return joined({name.data(), numberText(plug.getPlainValue(kIpTrim)),
                   plainText(editor.lastPresetFolder) + std::to_string(editor.lastPreset),
                   plug.presetFiles().previousEnabled() ? "previous" : "",
                   plug.presetFiles().nextEnabled() ? "next" : ""});
  }
  std::string menuEntriesText() {
    std::vector<std::string> parts;
    for (const auto& entry : plug.presetFiles().presetMenu()->entries) {
      parts.push_back(entry.text + (entry.submenu != nullptr ? "/" : ""));
    }
    return joined(parts);
  }
  [[nodiscard]] std::string optionText(const std::string& name) {
    return numberText(static_cast<float>(plug.uiSettings().getUiValue("Graph", name.c_str())));
  }
  [[nodiscard]] std::string defaultText(int id) {
    return numberText(plug.normalisedToPlain(id, plug.getParameterDefault(id)));
  }
  /// As it is shown, or as a note.
  [[nodiscard]] std::string shownText(int id, bool isNote) {
    std::array<char, PlugBase::kParameterTextCapacity> text{"before"};
    const float normalised = id < 0 ? 0.0F : plug.getParameter(id);
    plug.formatParameterValue(id, normalised, text.data(), isNote);
    return text.data();
  }

  /// One that forgets, but where a file of settings is.
  static std::unique_ptr<UserStore> storeIn(const TestDirectory& files) {
    const std::string path = files.path("settings");
    if (!std::filesystem::exists(path)) return std::make_unique<MemoryStore>();
    return std::make_unique<FileStore>(path);
  }

  const TestDirectory& directory;
  PlugRig rig{{}, 48000.0, {directory.path("user"), directory.path("factory")}, storeIn(directory)};
  Plug& plug = rig.plug;
  PresetFiles& presets = plug.presetFiles();
  BandFiles& bandFiles = plug.edits().bandFiles;
  ScriptedDialogs user;
  MIDIMap& midi = rig.machine.midiMap();
  GroupEdit group{plug.edits(), plug.editorState()};
  BandEdits bands{plug.edits()};
  BankSelector banks{plug.edits(), plug.editorState()};
  std::list<UpdateHold> holds;
  std::vector<float> start;
  std::map<int, int> gestures;  // open ones
  std::map<int, float> told;
  std::set<int> lost;
  int programChanges = 0;
  bool isWhole = true;  // no automation has broken the chain
  std::pair<std::string, std::string> remembered;
  const std::map<std::string, std::function<void(const Args&)>> commands = {
      {"set", [&](auto& a) { plug.setParameter(a.id(0), value(a, 1, a.id(0))), isWhole = false; }},
      {"move",
       [&](auto& a) {
         asOne(true, [&] { plug.setParameterAutomated(a.id(0), value(a, 1, a.id(0))); });
       }},
      {"edit", [&](auto& a) { plug.setParameterWithEdit(a.id(0), a.plain(1)); }},
      {"begin", [&](auto& a) { plug.beginEdit(a.id(0)); }},
      {"end", [&](auto& a) { plug.endEdit(a.id(0)); }},
      {"drag", [&](auto& a) { drag(a); }},
      {"lose", [&](auto& a) { lose(a); }},
      {"late", [&](auto&) { endLost(); }},
      {"groupbegin", [&](auto& a) { group.begin(a.id(0)); }},
      {"groupmove", [&](auto& a) { group.spread(a.id(0), value(a, 1, a.id(0))); }},
      {"groupend", [&](auto& a) { group.end(a.id(0)); }},
      {"hold", [&](auto&) { holds.emplace_back(plug.updates()); }},
      {"release", [&](auto&) { holds.pop_back(); }},
      {"lock", [&](auto& a) { plug.setLocked(a.id(0), true); }},
      {"unlock", [&](auto& a) { plug.setLocked(a.id(0), false); }},
      {"link", [&](auto& a) { plug.setLinked(a.id(0), true); }},
      {"unlink", [&](auto& a) { plug.setLinked(a.id(0), false); }},
      {"menulock", [&](auto& a) { pick(a, &EditScript::menuOf, "Locking"); }},
      {"menulink", [&](auto& a) { pick(a, &EditScript::menuOf, "Link"); }},
      {"propagate", [&](auto& a) { pick(a, &EditScript::menuOf, "Propagate"); }},
      {"bandlock", [&](auto& a) { pick(a, &EditScript::bandMenuOf, "Lock"); }},
      {"bandunlock", [&](auto& a) { pick(a, &EditScript::bandMenuOf, "Unlock"); }},
      {"bandlink", [&](auto& a) { pick(a, &EditScript::bandMenuOf, "Link"); }},
      {"bandunlink", [&](auto& a) { pick(a, &EditScript::bandMenuOf, "Unlink"); }},
      {"choose", [&](auto& a) { choose(menuOf(a), a.text(1)); }},
      {"bandchoose", [&](auto& a) { choose(bandMenuOf(a), a.text(1)); }},
      {"choosefrom", [&](auto& a) { choose(stateMenuOf(a), a.text(1)); }},
      {"windowthat", [&](auto& a) { window(a.word(0)); }},
      {"endall", [&](auto&) { group.endAll(), plug.edits().endAll(); }},
      {"copy", [&](auto& a) { bands.copyBand(a.band(0), a.band(1)); }},
      {"source",
       [&](auto& a) { setSidechainSource(plug.edits(), a.band(0), a.whole(1), a.band(2)); }},
      {"delete", [&](auto& a) { plug.deleteBand(a.band(0)); }},
      {"bankcopy", [&](auto& a) { banks.copyTo(a.whole(0)); }},
      {"toggle", [&](auto& a) { banks.toggle(static_cast<AbToggleMode>(a.whole(0))); }},
      {"full", [&](auto& a) { load(plug, a.text()); }},
      {"preset", [&](auto& a) { load(plug, a.text(), true); }},
      {"loadingflags", [&](auto& a) { plug.setLoadingFlags(a.whole(0)); }},
      {"loadingfile", [&](auto&) { plug.editorState().loadingFile = true; }},
      {"midi", [&](auto& a) { sendController(plug, a.whole(0), a.whole(1), a.whole(2)); }},
      {"idle", [&](auto&) { plug.onIdle(); }},
      {"clock", [&](auto& a) { rig.clockStep = 0, rig.now += std::stoll(a.words.at(0)); }},
      {"advance", [&](auto& a) { render(plug, Stereo<float>(a.whole(0)), a.whole(0)); }},
      {"tone", [&](auto& a) { play(std::stod(a.words.at(0)), std::stod(a.words.at(1))); }},
      {"level", [&](auto& a) { setProcessLevel(a.whole(0)); }},
      {"rate", [&](auto& a) { plug.setSampleRate(a.plain(0)); }},
      {"resume", [&](auto&) { plug.resume(); }},
      {"update", [&](auto& a) { plug.updateDsp(a.whole(0) != 0); }},
      {"heard", [&](auto& a) { expectHeard(static_cast<double>(a.plain(0))); }},
      {"resetband", [&](auto& a) { plug.resetBand(a.band(0)); }},
      {"defaultband", [&](auto& a) { plug.saveDefaultBand(a.band(0)); }},
      {"write", [&](auto& a) { write(a); }},
      {"folder", [&](auto& a) { std::filesystem::create_directories(path(a)); }},
      {"remove", [&](auto& a) { std::filesystem::remove_all(path(a)); }},
      {"name", [&](auto& a) { plug.setProgramName(a.words.at(0).c_str()); }},
      {"placed", [&](auto& a) { plug.editorState().lastPreset = a.whole(0); }},
      {"menu", [&](auto&) { presets.buildPresetMenu(); }},
      {"pick", [&](auto& a) { presets.choosePreset(path(a), a.whole(1)); }},
      {"next", [&](auto&) { presets.nextPreset(); }},
      {"previous", [&](auto&) { presets.previousPreset(); }},
      {"reload", [&](auto&) { presets.loadCurrentPreset(); }},
      {"answer", [&](auto& a) { user.answer = a.words.empty() ? "" : path(a); }},
      {"asksave", [&](auto& a) { presets.savePresetDialog(user, extensionOf(a), isPreset(a)); }},
      {"askload", [&](auto& a) { presets.loadPresetDialog(user, extensionOf(a)); }},
      {"remember", [&](auto&) { remembered = whole(); }},
      {"recall", [&](auto&) { load(plug, remembered.first); }},
      {"same", [&](auto&) { EXPECT_TRUE(whole() == remembered); }},
      {"select", [&](auto& a) { select(a); }},
      {"learn", [&](auto& a) { midi.learn(a.id(0), a.whole(1)); }},
      {"learning", [&](auto& a) { midi.setLearnTarget(a.id(0)); }},
      {"prefer", [&](auto& a) { rig.prefer(a.name(0).c_str(), a.whole(1)); }},
      {"scramble", [&](auto& a) { scramble(a); }},
      {"sorts", [&](auto&) { expectSorted(); }},
      {"again", [&](auto&) { reset(); }},
      {"undo", [&](auto&) { plug.undo(); }},
      {"redo", [&](auto&) { plug.redo(); }},
      {"echo", [&](auto&) { echo(false); }},
      {"echoall", [&](auto&) { echo(true); }},
      {"note", [&](auto&) { note(); }},
      {"skip", [&](auto&) { take(); }},
      {"step", [&](auto&) { expectStep(); }},
      {"nothing", [&](auto&) { expectNothing(); }},
  };
  const std::map<std::string, std::function<bool(const Args&)>> attempts = {
      {"add", [&](auto& a) { return plug.addBand(a.whole(0), a.whole(1)) >= 0; }},
      {"place", [&](auto& a) { return plug.setBandPosition(a.band(0), a.whole(1)); }},
      {"sort", [&](auto&) { return bands.sortBands(); }},
      {"chooseshows", [&](auto& a) { return banks.choose(a.whole(0)); }},
      {"paste", [&](auto& a) { return paste(a); }},
      {"saveband", [&](auto& a) { return bandFiles.saveBandFile(path(a), a.band(1)); }},
      {"loadband", [&](auto& a) { return bandFiles.loadBandFile(path(a), a.band(1)); }},
      {"save", [&](auto& a) { return presets.savePreset(path(a), extensionOf(a), isPreset(a)); }},
      {"load", [&](auto& a) { return presets.loadPresetFile(path(a)); }},
      {"saveasdefault", [&](auto&) { return presets.saveAsDefault(); }},
  };
  const std::map<std::string, std::function<std::string(const Args&)>> looks = {
      {"told", [&](auto&) { return take(); }},
      {"window", [&](auto&) { return windowText(); }},
      {"order", [&](auto&) { return orderText(); }},
      {"crossover", [&](auto&) { return crossoverText(); }},
      {"locks", [&](auto&) { return flagText([&](int id) { return plug.isLocked(id); }); }},
      {"links", [&](auto&) { return flagText([&](int id) { return plug.isLinked(id); }); }},
      {"editor", [&](auto&) { return editorText(); }},
      {"warned", [&](auto&) { return warningsText(); }},
      {"asked", [&](auto&) { return plainText(user.asked); }},
      {"at", [&](auto&) { return placeText(); }},
      {"entries", [&](auto&) { return menuEntriesText(); }},
      {"latency", [&](auto&) { return std::to_string(plug.getAeffect()->initialDelay); }},
      {"plan", [&](auto&) { return std::to_string(plug.getEngine().stagePlanWord()); }},
      {"engine", [&](auto&) { return std::to_string(plug.getEngine().getLatency()); }},
      {"measuring", [&](auto&) { return std::to_string(plug.getEngine().measuring()); }},
      {"programs", [&](auto&) { return take(), std::to_string(std::exchange(programChanges, 0)); }},
      {"canundo", [&](auto&) { return std::to_string(plug.canUndo()); }},
      {"canredo", [&](auto&) { return std::to_string(plug.canRedo()); }},
      {"document", [&](auto&) { return collapsed(chunkOf(plug)); }},
      {"presetdocument", [&](auto&) { return collapsed(chunkOf(plug, true)); }},
      {"stale",
       [&](auto&) {
         EditorState& editor = plug.editorState();
         return joined({editor.presetMenuStale.exchange(false) ? "menu" : "",
                        editor.defaultsStale.exchange(false) ? "defaults" : "",
                        editor.flagsStale.exchange(false) ? "flags" : "",
                        editor.presetNameStale.exchange(false) ? "name" : ""});
       }},
      {"marks",
       [&](auto&) {
         EditorState& editor = plug.editorState();
         return joined({editor.orderStale.exchange(false) ? "order" : "",
                        editor.kindsStale.exchange(false) ? "kinds" : "",
                        editor.preferencesStale.exchange(false) ? "preferences" : "",
                        editor.gesturesStale.exchange(false) ? "gestures" : "",
                        editor.loadingFlagsStale.exchange(false) ? "carried" : ""});
       }},
      {"offers", [&](auto& a) { return menuText(menuOf(a)); }},
      {"bandoffers", [&](auto& a) { return menuText(bandMenuOf(a)); }},
      {"menuof", [&](auto& a) { return menuText(stateMenuOf(a)); }},
      {"row", [&](auto& a) { return rowText(a); }},
      {"value", [&](auto& a) { return numberText(plug.getPlainValue(a.id(0))); }},
      {"took", [&](auto& a) { return takenText(a); }},
      {"bandtext", [&](auto& a) { return collapsed(bandText(a.band(0))); }},
      {"bytes", [&](auto& a) { return collapsed(readBytes(path(a))); }},
      {"stored", [&](auto& a) { return rig.machine.store().read(a.word(0)).value_or("nothing"); }},
      {"node", [&](auto& a) { return nodeText(a.whole(0)); }},
      {"graph", [&](auto& a) { return numberText(plug.getBandValue(a.whole(1), a.whole(0))); }},
      {"flags", [&](auto& a) { return std::to_string(plug.getBandFlags(a.whole(0), a.whole(1))); }},
      {"option", [&](auto& a) { return optionText(a.name(0)); }},
      {"default", [&](auto& a) { return defaultText(a.id(0)); }},
      {"shows", [&](auto& a) { return shownText(a.id(0), false); }},
      {"asnote", [&](auto& a) { return shownText(a.id(0), true); }},
      {"otherrelease", [&](auto& a) { return nameOf(otherRelease(a.id(0))); }},
  };
};
