// The frequency graphs under mouse and keys, told in tables.

#include <cmath>
#include <cstdio>
#include <vector>

#include "core/parameter_table.h"
#include "editor/layout/tag_table.h"
#include "graphs/eq_graph.h"
#include "graphs/sc_eq_graph.h"
#include "tests/editor/user.h"
#include "tests/support/script.h"

namespace {

std::uint32_t keysIn(const std::string& words) {
  std::uint32_t keys = 0;
  if (words.find("shift") != std::string::npos) keys |= kShift;
  if (words.find("control") != std::string::npos) keys |= kControl;
  if (words.find("alt") != std::string::npos) keys |= kAlt;
  if (words.find("double") != std::string::npos) keys |= kDoubleClick;
  return keys;
}

class GraphTest : public Script {
 protected:
  GraphTest() : user(on.machine) {
    user.wait(100);
    graph = main = find<EQGraph>();
    for (int id = 0; id < kNumParams; ++id) before.push_back(user.plug.getParameter(id));
    start = before;
    commands["press"] = [this] {
      press();
      user.up(at.x, at.y);
    };
    commands["hold"] = [this] { press(); };
    commands["to"] = [this] { move(); };
    commands["up"] = [this] { user.up(at.x, at.y); };
    commands["hover"] = [this] {
      at = placed(1);
      user.move(at.x, at.y);
    };
    commands["box"] = [this] {
      const CRect& box = main->getHoverBoxes().at(static_cast<std::size_t>(number(1)));
      at = graph->localToFrame(box.centre());
      user.click(at.x, at.y);
    };
    commands["wheel"] = [this] {
      at = placed(1);
      user.move(at.x, at.y);
      user.frame().events().wheel({at.x, at.y}, std::stof(row[2]), keysIn(row[3]));
    };
    commands["type"] = [this] { user.type(row[1]); };
    commands["key"] = [this] { user.key(keys.at(row[1]), keysIn(row[2])); };
    commands["sidechain"] = [this] { graph = find<SCEQGraph>(); };
    commands["focus"] = [this] { user.frame().setFocusView(graph); };
    commands["choose"] = [this] { EXPECT_TRUE(user.choose(row[1])) << row[1]; };
    commands["undo"] = [this] { user.plug.undo(); };
    commands["host deletes"] = [this] { user.plug.deleteBand(number(1)); };
    commands["host sets"] = [this] {
      user.plug.setParameter(bandParameterId(number(1), kB1Solo), std::stof(row[2]));
    };
    commands["rate"] = [this] { user.plug.setSampleRate(std::stof(row[1])); };
    commands["option"] = [this] { on.machine.globals().setGlobal(row[1].c_str(), number(2)); };
    commands["undo all"] = [this] {
      while (user.plug.canUndo()) user.plug.undo();
      for (std::size_t id = 0; id < start.size(); ++id) {
        EXPECT_EQ(user.plug.getParameter(static_cast<int>(id)), start[id]) << id;
      }
    };
    commands["store"] = [this] {
      void* data = nullptr;
      const std::int32_t bytes = user.plug.getChunk(&data, false);
      stored.assign(static_cast<const char*>(data), static_cast<std::size_t>(bytes));
    };
    commands["load"] = [this] {
      user.plug.setChunk(stored.data(), static_cast<std::int32_t>(stored.size()), false);
    };
    commands["reopen"] = [this] {
      user.editor->close();
      EXPECT_TRUE(user.editor->openOffScreen(1.0F));
      graph = main = find<EQGraph>();
    };
  }

  template <typename Graph>
  Graph* find() {
    const ControlIndex& index = user.editor->index();
    for (int i = 0; i < index.getControlCount(); ++i) {
      if (auto* const found = dynamic_cast<Graph*>(index.getControl(i))) return found;
    }
    return nullptr;
  }
  /// "x y" in the plot, or "#n" for the handle n, in the frame.
  CPoint placed(std::size_t cell) {
    const CPoint corner = graph->localToFrame(graph->getViewSize().topLeft());
    if (row[cell][0] == '#') {
      EXPECT_NE(user.frame().picture(), nullptr);
      const auto& handle = graph->handleOf(std::stoi(row[cell].substr(1)));
      return corner +
             CPoint{static_cast<float>(handle.centre.x), static_cast<float>(handle.centre.y)};
    }
    CPoint point;
    EXPECT_EQ(std::sscanf(row[cell].c_str(), "%f %f", &point.x, &point.y), 2) << row[cell];
    return corner + point;
  }
  void press() {
    at = placed(1);
    const CButton button = row[2].find("right") != std::string::npos ? kRButton : kLButton;
    held = button | keysIn(row[2]);
    user.down(at.x, at.y, button, keysIn(row[2]));
  }
  void move() {
    at = placed(1);
    user.frame().events().mouseMoved({at.x, at.y}, kLButton | keysIn(row[2]));
  }

  void afterRow() override {
    user.wait(300);
    for (std::size_t id = 0; id < before.size(); ++id) {
      const auto number = static_cast<std::int32_t>(id);
      const float now = user.plug.getParameter(number);
      // No gesture stays open once the button is up.
      EXPECT_TRUE(user.held != 0 || !user.plug.edits().isOpen(number)) << number;
      if (std::exchange(before[id], now) == now || number == kBandOrder) continue;
      char text[64];
      std::snprintf(text, sizeof text, "%s=%.5g", parameterKeyTable().name(number).c_str(),
                    static_cast<double>(user.plug.getPlainValue(number)));
      if (row[0] != "undo all") say(text);
    }
    const EditorState& state = user.plug.editorState();
    tellChange("selected", state.selectedBands);
    tellChange("band", state.currentBand);
    tellChange("bar", main->getHoverBand());
    tellChange("from", graph->frequencyAxis().minf);
    tellChange("to", graph->frequencyAxis().maxf);
    tellChange("range", graph->levelAxis().range);
    tellChange("menu", user.frame().getModalView() != nullptr ? 1 : 0);
  }
  void tellChange(const std::string& thing, double value) {
    const auto [place, isNew] = last.try_emplace(thing, value);
    if (!isNew && place->second != value) say(thing + "=" + std::to_string(std::lround(value)));
    place->second = value;
  }

  OnMachine on;
  User user;
  EQGraph* main = nullptr;
  EQGraphBase* graph = nullptr;  // that of the next rows
  std::vector<float> before;
  std::vector<float> start;
  std::map<std::string, double> last{{"selected", 1}, {"band", 0},   {"bar", -1}, {"from", 10},
                                     {"to", 22050},   {"range", 24}, {"menu", 0}};
  std::string stored;
  CPoint at;
  std::uint32_t held = 0;
  const std::map<std::string, Key> keys{
      {"left", Key::kLeft},     {"right", Key::kRight}, {"up", Key::kUp},
      {"down", Key::kDown},     {"tab", Key::kTab},     {"return", Key::kReturn},
      {"delete", Key::kDelete}, {"space", Key::kSpace}, {"escape", Key::kEscape}};
};

TEST_F(GraphTest, BandsAreMadeMovedAndDeleted) { run(TEST_DATA "/graph_bands.txt"); }
TEST_F(GraphTest, SeveralBandsAreEditedTogether) { run(TEST_DATA "/graph_selection.txt"); }
TEST_F(GraphTest, AxesAreZoomed) { run(TEST_DATA "/graph_zoom.txt"); }
TEST_F(GraphTest, KeysReachAllHandles) { run(TEST_DATA "/graph_keys.txt"); }
TEST_F(GraphTest, SidechainFiltersAreMoved) { run(TEST_DATA "/graph_sidechain.txt"); }

}  // namespace
