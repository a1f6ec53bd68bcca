// Every entry of every menu: chosen as a user does it, it changes what it promises.

#include <filesystem>
#include <utility>

#include "tests/editor/whole_surface.h"

namespace {

class Menus : public WholeSurface {
 protected:
  using Entries = std::vector<MenuEntry>;
  using Settings = std::map<std::string, double>;

  Menus() {
    stored = settings();
    for (const char* const name : {"click", "at"}) {
      commands[name] = [this, act = commands[name]] {
        opener = {row, act};
        act();
      };
    }
    commands["each"] = [this] { chooseEach(); };
    commands["settings"] = [this] { chooseEachSetting(); };
    commands["prefer"] = [this] { on.machine.globals().setGlobal(row[1].c_str(), number(2)); };
    commands["option"] = [this] { user.plug.uiSettings().setUiValue(row[1], row[2], number(3)); };
    commands["active"] = [this] { activate(number(1), number(2) != 0); };
    commands["kind"] = [this] { setKind(number(1), number(2)); };
    commands["select"] = [this] {
      user.plug.editorState().selectedBands = static_cast<std::uint32_t>(number(1));
    };
    commands["set"] = [this] {
      const std::int32_t id = tagTable().find(row[1]);
      user.plug.setParameter(id, std::stof(row[2]));
      user.plug.setLocked(id, row[3] == "locked");
      user.plug.setLinked(id, row[3] == "linked");
    };
    commands["learn"] = [this] { on.machine.midiMap().learn(tagTable().find(row[1]), number(2)); };
    // The present band of that number, as a file of the user's.
    commands["keep"] = [this] {
      std::string text;
      user.plug.saveBand(text, number(1));
      const std::filesystem::path path = on.machine.folders().bands() + row[2];
      std::filesystem::create_directories(path.parent_path());
      writeBytes(path, text);
    };
  }

  /// The entries of the menu that is open, of its innermost box.
  [[nodiscard]] Entries entries() {
    const auto* const menu = dynamic_cast<PopupMenu*>(user.frame().getModalView());
    return menu != nullptr ? menu->panel(menu->panelCount() - 1).rows() : Entries{};
  }
  void leave() {
    for (int i = 0; i < 9 && user.frame().getModalView() != nullptr; ++i) user.key(Key::kEscape);
  }
  /// The menu that the last click has opened, down to the submenu of the row, if it names one.
  void openAgain(const std::string& submenu) {
    row = opener.first;
    opener.second();
    user.wait(300);
    if (submenu.empty()) return;
    EXPECT_TRUE(user.choose(submenu)) << submenu;
  }

  /// Each entry on the state as it was: "*" if it is checked, and what it changed.
  void chooseEach() {
    const std::string submenu = row[1];
    restore(state());
    const State kept = state();
    openAgain(submenu);
    const Entries all = entries();
    for (const MenuEntry& entry : all) {
      if (entry.isSeparator) continue;
      const char* const suffix = entry.isSubmenu ? " >" : entry.isEnabled ? "" : " off";
      say((entry.isChecked ? "[*" : "[") + entry.text + suffix + "]");
      if (entry.isSubmenu || !entry.isEnabled) continue;
      restore(kept);
      openAgain(submenu);
      EXPECT_TRUE(user.plug.document(false) == kept.document) << entry.text;
      EXPECT_TRUE(user.choose(entry.text)) << entry.text;
      const std::size_t length = said.size();
      afterRow();
      if (opener.first[1] == "kGUICopyTo") sayEqualBanks();
      if (said.size() == length) say("nothing");
    }
    restore(kept);
  }

  /// The banks that hold what the present one does.
  void sayEqualBanks() {
    Values here = before;
    for (int bank = 0; bank < PlugBase::kNumBanks; ++bank) {
      here[kABBank] = user.plug.plainToNormalised(kABBank, static_cast<float>(bank));
      user.plug.setParameter(kABBank, here[kABBank]);
      if (values() == here) say(std::string(1, static_cast<char>('A' + bank)));
    }
  }

  struct State {
    std::string document;
    std::vector<std::string> files;
    std::vector<std::int32_t> controllers;
    std::uint32_t selected = 0;
    std::uint32_t visited = 0;
  };
  [[nodiscard]] State state() {
    leave();
    user.wait(300);
    EditorState& editor = user.plug.editorState();
    State now{user.plug.document(false),
              on.directory.names(),
              {},
              editor.selectedBands,
              editor.visitedBanks};
    for (int i = 0; i < MIDIMap::kControllers; ++i) {
      now.controllers.push_back(on.machine.midiMap().parameterOf(i));
    }
    return now;
  }
  void restore(const State& kept) {
    leave();
    EXPECT_GT(user.plug.setChunk(kept.document.data(),
                                 static_cast<std::int32_t>(kept.document.size()), false),
              0);
    for (const std::string& name : on.directory.names()) {
      const bool isOld = std::ranges::find(kept.files, name) != kept.files.end();
      if (!isOld) std::filesystem::remove(on.directory.path(name));
    }
    MIDIMap& midi = on.machine.midiMap();
    midi.setLearnTarget(-1);
    for (int i = 0; i < MIDIMap::kControllers; ++i) {
      const std::int32_t id = kept.controllers[static_cast<std::size_t>(i)];
      if (id < 0) {
        midi.unlearn(midi.parameterOf(i));
      } else {
        midi.learn(id, i);
      }
    }
    EditorState& editor = user.plug.editorState();
    editor.selectedBands = kept.selected;
    editor.visitedBanks = kept.visited;
    const std::string heard = std::exchange(said, "");
    afterRow();
    said = heard;
  }

  /// Options of the graphs and preferences, as they are stored.
  [[nodiscard]] Settings settings() {
    Settings all;
    for (const UiOption& option : user.plug.uiSettings().list()) {
      all[option.group + " " + option.key] = option.value;
    }
    for (const Preference& preference : on.machine.globals().list()) {
      all[preference.key] = preference.value;
    }
    return all;
  }
  void afterRow() override {
    WholeSurface::afterRow();
    for (const auto& [key, value] : settings()) {
      const double old = std::exchange(stored[key], value);
      if (old != value) say(key + "=" + std::to_string(std::lround(value)));
    }
    for (const std::string& name : on.directory.names()) {
      if (files.insert(name).second) say("file '" + name + "'");
    }
    const std::vector<std::string> names = on.directory.names();
    std::erase_if(files, [&names](const std::string& name) {
      return std::ranges::find(names, name) == names.end();
    });
  }

  /// Every choice of every row of a page of settings: each is stored under one name, as what it is
  /// called. How many there are of how many.
  void chooseEachSetting() {
    CControl* const rows = user.editor->index().find(tagged());
    std::set<std::pair<std::string, double>> all;
    std::set<std::string> names;
    const int tabs = row[2].empty() ? 1 : number(2);
    for (int tab = 0; tab < tabs; ++tab) {
      int count = 0;
      while (openRow(*rows, count)) {
        const Entries choices = entries();
        leave();
        const bool isNumber = choices.back().text == "Propagate to All Graph Types";
        if (!isNumber && choices.front().text.starts_with("Save")) break;  // that of the button
        for (std::size_t i = 0; !isNumber && i <= choices.size(); ++i) {
          openRow(*rows, count);
          const std::string& text = choices[i % choices.size()].text;
          EXPECT_TRUE(user.choose(text));
          for (const auto& [name, value] : settings()) {
            if (std::exchange(stored[name], value) == value) continue;
            all.emplace(name, value);
            names.insert(name);
            EXPECT_EQ(nameOf(name, value), text) << name;
            EXPECT_EQ(std::lround(value), static_cast<long>(i % choices.size())) << name;
          }
        }
        ++count;
      }
      if (tab + 1 == tabs) break;
      user.key(Key::kEnd);
      for (int i = 0; i < tabs - tab - 1; ++i) user.key(Key::kUp);
      user.key(Key::kReturn);
    }
    leave();
    say(all.size());
    say("choices of");
    say(names.size());
  }
  /// By keys; false for what opens no menu.
  bool openRow(CControl& rows, int number) {
    user.frame().setFocusView(&rows);
    user.key(Key::kHome);
    for (int i = 0; i < number; ++i) user.key(Key::kDown);
    user.key(Key::kReturn);
    return !entries().empty();
  }
  [[nodiscard]] std::string nameOf(const std::string& setting, double value) {
    const auto at = static_cast<std::size_t>(value);
    for (const UiOption& option : user.plug.uiSettings().list()) {
      if (option.group + " " + option.key == setting) return option.values.at(at);
    }
    for (const Preference& preference : on.machine.globals().list()) {
      if (preference.key == setting) return preference.values.at(at);
    }
    return {};
  }

  std::pair<DataRow, std::function<void()>> opener;
  Settings stored;
  std::set<std::string> files;
};

TEST_F(Menus, EveryEntryDoesWhatItPromises) { run(TEST_DATA "/menus.txt"); }

}  // namespace
