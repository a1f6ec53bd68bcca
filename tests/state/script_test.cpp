// Files, folders, stores and options, told in tables: what is done, and what is seen of it.

#include "tests/support/script.h"

#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <thread>

#include "platform/resources.h"
#include "platform/user_folders.h"
#include "state/file_store.h"
#include "state/known_files.h"
#include "state/machine.h"
#include "state/parameter_flags.h"
#include "state/preset_menu.h"
#include "state/ui_settings.h"
#include "tests/state/test_store.h"
#include "tests/support/real_time.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

std::string compact(const JsonTree& tree) {
  const JsonText text(jsonPrintUnformatted(tree.get()));
  return text ? text.get() : "(none)";
}

std::string outline(const PresetMenu& menu) {
  std::string text;
  for (const PresetMenu::Entry& entry : menu.entries) {
    text += (text.empty() ? "" : ";") + entry.text;
    if (entry.submenu) text += '(' + outline(*entry.submenu) + ')';
  }
  return text;
}

/// Files lie in a directory that paths begin with as "@"; "x*9" is a text of so many.
class ScriptTest : public Script {
 protected:
  ScriptTest() {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &oldLimit);
    addDisk();
    addFolders();
    addChoices();
    addControllers();
    addOptions();
  }
  ~ScriptTest() override {
    fs::current_path(oldFolder);
    for (const auto& [name, text] : oldVariables) setenv(name.c_str(), text.c_str(), 1);
  }

  /// A cell as it is meant, and a text as it is shown.
  [[nodiscard]] std::string in(std::size_t cell) const {
    std::string text = row[cell];
    if (text.starts_with("x*")) return std::string(std::stoul(text.substr(2)), 'x');
    for (std::size_t i; (i = text.find('@')) != text.npos;) text.replace(i, 1, directory->path(""));
    return text;
  }
  [[nodiscard]] std::string out(std::string text) const {
    if (text.size() > 999) return std::to_string(text.size());
    const std::string root = directory->path("");
    for (std::size_t i; (i = text.find(root)) != text.npos;) text.replace(i, root.size(), "@");
    const std::string home = getpwuid(getuid())->pw_dir;
    return text.starts_with(home) ? "~" + text.substr(home.size()) : text;
  }

  void addDisk() {
    commands["new"] = [this] {
      fs::current_path(oldFolder);
      directory = std::make_unique<TestDirectory>();
    };
    commands["file"] = [this] {
      fs::create_directories(fs::path(in(1)).parent_path());
      writeBytes(in(1), row[2]);
    };
    commands["grow"] = [this] { fs::resize_file(in(1), std::stoul(row[2])); };
    commands["folder"] = [this] { fs::create_directories(in(1)); };
    commands["link"] = [this] { fs::create_symlink(row[2], in(1)); };
    commands["pipe"] = [this] { mkfifo(in(1).c_str(), 0600); };
    commands["move"] = [this] { fs::rename(in(1), in(2)); };
    commands["remove"] = [this] { fs::remove_all(in(1)); };
    commands["go to"] = [this] { fs::current_path(in(1)); };
    commands["kind"] = [this] {
      const fs::path path = in(1);
      say(fs::is_symlink(path)     ? "link to " + fs::read_symlink(path).string()
          : fs::is_directory(path) ? "folder"
          : fs::exists(path)       ? "file"
                                   : "none");
    };
    commands["names"] = [this] {
      for (const std::string& name : directory->names()) say(name);
    };
    commands["bytes"] = [this] { say(readBytes(in(1))); };
    commands["full disk"] = [this] {
      const rlimit none = {0, oldLimit.rlim_max};
      setrlimit(RLIMIT_FSIZE, row[1] != "no" ? &none : &oldLimit);
    };
    commands["store"] = [this] { store = std::make_unique<FileStore>(in(1)); };
    commands["read"] = [this] { say(store->read(row[1]).value_or("(none)")); };
    commands["write"] = [this] { say(store->write(row[1], in(2))); };
    commands["look"] = [this] {
      const bool done = store->update(row[1], [&](const auto& old) {
        return say(old.value_or("(none)")), std::optional<std::string>();
      });
      if (!done) said = "false";
    };
    commands["notice"] = [this] {
      const std::string notice = out(store->takeNotice());
      const bool isFound = !row[1].empty() && notice.find(row[1]) != notice.npos;
      say(isFound ? "true" : notice);
    };
    commands["holds"] = [this] { say(compact(FileStore::parse(readBytes(in(1))))); };
  }

  void addFolders() {
    commands["environment"] = [this] {
      const char* const old = std::getenv(row[1].c_str());
      oldVariables.try_emplace(row[1], old ? old : "");
      row[2] == "none" ? unsetenv(row[1].c_str()) : setenv(row[1].c_str(), in(2).c_str(), 1);
    };
    commands["install"] = [this] { say(out(findInstallFolders(kept).install)); };
    commands["factory"] = [this] { say(out(findInstallFolders(kept).factory)); };
    commands["factory from"] = [this] { say(out(findFactoryFolder(in(1), in(2)))); };
    commands["config"] = [this] { say(userConfigFolder()); };
    commands["settings"] = [this] { say(settingsPath()); };
    commands["code"] = [this] {
      say(codeFolder() == fs::canonical("/proc/self/exe").parent_path());
    };
    commands["prefixes"] = [this] {
      const InstallFolders folders{row[1], row[2]};
      say(folders.presets() + ";" + folders.bands() + ";" + folders.factoryPresets());
    };
    commands["load"] = [this] {
      std::string place;
      const InstallFile file = loadInstallFile({in(1), in(2)}, row[3], row[4], place);
      const std::string text = file.contents ? file.contents->bytes : "";
      const std::string from =
          std::string(file.isUsers ? "own" : "") + (file.isTooLarge ? "too large" : "");
      say(out(text) + ";" + out(place) + (from.empty() ? "" : ";" + from));
    };
    commands["settle"] = [] { std::this_thread::sleep_for(std::chrono::milliseconds(150)); };
    commands["known"] = [this] { say(readKnownFile(in(1)) == readKnownFile(in(1))); };
    commands["menu"] = [this] {
      menu = PresetMenu();
      menu.path = in(2);
      if (!row[3].empty()) menu.entries.push_back({row[3], nullptr});
      walkPresetFolder(menu, in(2), row[1]);
      say(outline(menu));
    };
    commands["submenu"] = [this] {
      const PresetMenu* const found = menu.findSubmenu(in(1));
      say(found ? out(found->path) : "(none)");
    };
  }

  /// The globals of a process.
  std::unique_ptr<Globals>& own() { return globals[row[1] == "two"]; }
  /// A key or table; null for none.
  const char* name(std::size_t cell) { return row[cell].empty() ? nullptr : row[cell].c_str(); }
  void describeGroup() {
    const int index = number(2);
    const std::string key = own()->getGroupName(index);
    say(key + "=" + std::to_string(own()->getGlobal(key.c_str())) + " on " +
        std::to_string(own()->getGroupPage(index)) + ":");
    for (int i = -1; i <= own()->getGroupValueCount(index); ++i) {
      said += own()->getGroupValue(index, i) + ",";
    }
    const std::vector<Preference> all = own()->list();
    if (index < 0 || index >= std::ssize(all)) return;
    const Preference& listed = all[static_cast<std::size_t>(index)];
    EXPECT_EQ(listed.key, key);
    EXPECT_EQ(listed.value, own()->getGlobal(key.c_str()));
    EXPECT_EQ(listed.page, own()->getGroupPage(index));
    EXPECT_EQ(std::ssize(listed.values), own()->getGroupValueCount(index));
    for (std::size_t i = 0; i < listed.values.size(); ++i) {
      EXPECT_EQ(listed.values[i], own()->getGroupValue(index, static_cast<int>(i)));
    }
  }
  template <typename Change>
  void seeRevision(const Change& change) {
    const unsigned before = options->revision();
    change();
    say(options->revision() == before ? "same" : "new");
  }

  void sayController(int controller, std::int32_t id) {
    if (id != -1) say(std::to_string(controller) + "=" + std::to_string(id));
  }
  void sayFlags() {
    for (const std::int32_t word : flags.words()) say(word);
  }

  void addChoices() {
    commands["keep"] = [this] { kept.put(row[1], in(2)); };
    commands["stored"] = [this] { say(kept.text(row[1])); };
    commands["mode"] = [this] { kept.mode = row[1]; };
    commands["globals"] = [this] { own() = std::make_unique<Globals>(kept); };
    commands["table"] = [this] { own()->initGlobals(name(2)), say(kept.text("globals")); };
    commands["own table"] = [this] { own()->initGlobals(findResource("json", "defaults").data()); };
    commands["groups"] = [this] { say(own()->getGroupCount()); };
    commands["group"] = [this] { describeGroup(); };
    commands["choice"] = [this] { say(own()->getGlobal(name(2))); };
    commands["choice or"] = [this] { say(own()->getGlobal(name(2), number(3))); };
    commands["choose"] = [this] {
      own()->setGlobal(name(2), number(3)), say(kept.text("globals"));
    };
  }

  void addControllers() {
    commands["map"] = [this] { midi = std::make_unique<MIDIMap>(kept); };
    commands["learn"] = [this] { midi->learn(number(1), number(2)); };
    commands["unlearn"] = [this] { midi->unlearn(number(1)); };
    // How many of so many calls there was something to save in, and how often the store was asked.
    commands["saves"] = [this] {
      const int before = kept.updates;
      int open = 0;
      for (int i = 0; i < number(1); ++i) open += midi->saveChanges() ? 1 : 0;
      say(open), say(kept.updates - before);
    };
    commands["controllers"] = [this] {
      for (int i = 0; i < MIDIMap::kControllers; ++i) sayController(i, midi->parameterOf(i));
    };
    commands["stored controllers"] = [this] {
      const JsonTree table(jsonParse(kept.text("MIDIMap").c_str()));
      int i = 0;
      for (const JsonNode* id = table->child; id; id = id->next) sayController(i++, id->valueInt);
    };
    commands["controller of"] = [this] { say(midi->controllerOf(number(1))); };
    commands["parameter of"] = [this] { say(midi->parameterOf(number(1))); };
    commands["swap"] = [this] { std::swap(midi, otherMidi); };
    commands["target"] = [this] { midi->setLearnTarget(number(1)), say(midi->getLearnTarget()); };
    commands["send"] = [this] {
      std::uint8_t message[3];
      for (std::size_t i = 0; i < 3; ++i) message[i] = static_cast<std::uint8_t>(number(i + 1));
      const auto move = processInRealTime(*midi, message);
      move ? (say(move->id), say(move->normalised)) : say("none");
    };
  }

  void addOptions() {
    commands["flags"] = [this] { flags.clear(), sayFlags(); };
    commands["flag"] = [this] { say(flags.get(number(1))); };
    commands["set flag"] = [this] { flags.set(number(1), row[2] == "1"), sayFlags(); };
    commands["flag words"] = [this] {
      std::istringstream text(row[1]);
      const std::vector<std::int32_t> words{std::istream_iterator<std::int32_t>(text), {}};
      flags.setWords(words), sayFlags();
    };
    commands["options"] = [this] {
      testing::internal::CaptureStderr();
      options = std::make_unique<UiSettings>(
          std::make_shared<const UiTable>(row[1] == "null" ? nullptr : row[1].c_str()));
      said = testing::internal::GetCapturedStderr();
    };
    commands["own options"] = [this] {
      options = std::make_unique<UiSettings>(
          std::make_shared<const UiTable>(findResource("json", "uisettings").data()));
    };
    commands["option"] = [this] { say(options->getUiValue(row[1], row[2])); };
    // In both forms of a number.
    commands["set option"] = [this] {
      seeRevision([&] { options->setUiValue(row[1], row[2], std::stod(row[3])); });
      const JsonTree copy = options->save();
      const JsonNode* const group = jsonGetObjectItem(copy.get(), row[1].c_str());
      const JsonNode* const option = jsonGetObjectItem(group, row[2].c_str());
      const JsonNode* const value = jsonGetObjectItem(option, "value");
      if (value) say(value->valueInt), say(value->valueDouble);
    };
    commands["merge"] = [this] {
      seeRevision([&] { options->merge(JsonTree(jsonParse(row[1].c_str())).get()); });
    };
    commands["listed"] = [this] {
      for (const UiOption& each : options->list()) {
        say(each.group + "/" + each.key + "=");
        said += std::to_string(each.value).substr(0, 4);
        for (const std::string& text : each.values) said += "," + text;
        if (!each.unit.empty()) say(each.unit), say(each.min), say(each.max);
        if (each.hidden) say("hidden");
        if (each.isColour) say("colour");
      }
    };
    commands["saved"] = [this] { say(compact(options->save())); };
  }

  rlimit oldLimit = {};
  const fs::path oldFolder = fs::current_path();
  std::map<std::string, std::string> oldVariables;
  std::unique_ptr<TestDirectory> directory = std::make_unique<TestDirectory>();
  std::unique_ptr<FileStore> store;
  TestStore kept;
  PresetMenu menu;
  std::unique_ptr<Globals> globals[2];
  std::unique_ptr<MIDIMap> midi, otherMidi;
  ParameterFlags<70> flags;
  std::unique_ptr<UiSettings> options;
};

TEST_F(ScriptTest, EachCallDoesWhatItsTableTells) {
  for (const std::string table :
       {"stores", "folders", "preset_menus", "options", "controllers", "two_maps", "flags"}) {
    SCOPED_TRACE(table);
    ASSERT_NO_FATAL_FAILURE(run(TEST_DATA "/" + table + ".txt"));
  }
}

}  // namespace
