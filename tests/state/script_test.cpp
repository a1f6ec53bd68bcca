// Files, folders, stores and options, told in tables: what is done, and what is seen of it.

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/resources.h"
#include "platform/user_folders.h"
#include "state/file_store.h"
#include "state/globals.h"
#include "state/install_folders.h"
#include "state/machine.h"
#include "state/preset_menu.h"
#include "state/ui_settings.h"
#include "tests/state/test_store.h"
#include "tests/support/data_rows.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

std::string yes(bool is) { return is ? "yes" : "no"; }

/// The length of a long text.
std::string shortened(const std::string& text) {
  return text.size() > 99 ? std::to_string(text.size()) : text;
}

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

/// Writes fail while it lives, as on a full disk.
class FullDisk {
 public:
  FullDisk() : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit none = {0, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit old{};
  void (*oldHandler)(int);
};

/// Files lie in a directory that paths begin with as "@".
class ScriptTest : public testing::Test {
 protected:
  ~ScriptTest() override {
    fs::current_path(oldFolder);
    for (const auto& [name, text] : oldVariables) setVariable(name, text);
  }

  static void setVariable(const std::string& name, const std::optional<std::string>& text) {
    text ? setenv(name.c_str(), text->c_str(), 1) : unsetenv(name.c_str());
  }
  void run(const char* path) {
    runScript(path, [this](const DataRow& next) {
      row = next;
      seen.clear();
      commands.at(row[0])();
      return seen.substr(0, row[0] == "names" ? seen.size() - 1 : seen.size());
    });
  }
  [[nodiscard]] std::string path(std::size_t cell) const {
    std::string text = row[cell] == "much" ? std::string(kMostDocumentBytes, 'x') : row[cell];
    for (std::size_t i; (i = text.find('@')) != text.npos;) text.replace(i, 1, directory->path(""));
    return text;
  }
  [[nodiscard]] std::string out(std::string text) const {
    const std::string root = directory->path("");
    for (std::size_t i; (i = text.find(root)) != text.npos;) text.replace(i, root.size(), "@");
    const std::string home = getpwuid(getuid())->pw_dir;
    return text.starts_with(home) ? "~" + text.substr(home.size()) : text;
  }
  void begin() {
    fs::current_path(oldFolder);
    directory = std::make_unique<TestDirectory>();
  }
  static std::string kindOf(const std::string& path) {
    if (fs::is_symlink(path)) return "link to " + fs::read_symlink(path).string();
    return fs::is_directory(path) ? "folder" : fs::exists(path) ? "file" : "none";
  }
  void notice() {
    seen = out(store->takeNotice());
    if (!row[1].empty() && seen.find(row[1]) != seen.npos) seen = "yes";
  }
  void look() {
    const bool done = store->update(row[1], [&](const std::optional<std::string>& old) {
      seen = old.value_or("(none)");
      return std::optional<std::string>();
    });
    if (!done) seen = "no";
  }
  void keep() {
    const bool isLong = row[2] == "long";
    kept.put(row[1], isLong             ? std::string(std::stoul(row[3]), 'p')
                     : row[2] == "none" ? ""
                                        : row[2]);
  }
  void makeFile() {
    fs::create_directories(fs::path(path(1)).parent_path());
    writeBytes(path(1), row[2]);
  }
  void changeEnvironment() {
    const char* const before = std::getenv(row[1].c_str());
    oldVariables.try_emplace(row[1], before ? std::optional<std::string>(before) : std::nullopt);
    setVariable(row[1], row[2] == "none" ? std::nullopt : std::optional(path(2)));
  }
  void prefixes() {
    const InstallFolders folders{row[1], row[2]};
    seen = folders.presets() + ";" + folders.bands() + ";" + folders.factoryPresets();
  }
  void load() {
    std::string place;
    const std::string text = loadInstallFile({path(1), path(2)}, row[3], row[4], place);
    seen = shortened(text) + ";" + out(place);
  }
  void walk() {
    menu = PresetMenu();
    menu.path = path(2);
    if (!row[3].empty()) menu.entries.push_back({row[3], nullptr});
    walkPresetFolder(menu, path(2), row[1]);
    seen = outline(menu);
  }
  void findMenu() {
    const PresetMenu* const found = menu.findSubmenu(path(1));
    seen = found ? out(found->path) : "(none)";
  }
  void setMode() {
    using Mode = TestStore::Mode;
    kept.mode = row[1] == "write" ? Mode::kDoesNotWrite
                : row[1] == "ask" ? Mode::kDoesNotEvenAsk
                                  : Mode::kWorks;
  }
  void describeGroup() {
    const int index = std::stoi(row[2]);
    const std::string key = own()->getGroupName(index);
    seen = key + "=" + std::to_string(own()->getGlobal(key.c_str())) + " on " +
           std::to_string(own()->getGroupPage(index)) + ":";
    for (int i = -1; i <= own()->getGroupValueCount(index); ++i) {
      seen += own()->getGroupValue(index, i) + ",";
    }
  }
  [[nodiscard]] int number(std::size_t cell) const { return std::stoi(row[cell]); }
  /// How many of so many calls there was something to save in, and how often the store was asked.
  void saveManyTimes() {
    const int before = kept.updates;
    int open = 0;
    for (int i = 0; i < number(1); ++i) open += midi->saveChanges() ? 1 : 0;
    seen = std::to_string(open) + " " + std::to_string(kept.updates - before);
  }
  void listControllers() {
    for (int i = 0; i < MIDIMap::kControllers; ++i) {
      const std::int32_t id = midi->parameterOf(i);
      if (id != -1) seen += std::to_string(i) + "=" + std::to_string(id) + " ";
    }
    if (!seen.empty()) seen.pop_back();
  }
  void makeOptions() {
    testing::internal::CaptureStderr();
    options = std::make_unique<UiSettings>(row[1] == "null" ? nullptr : row[1].c_str());
    seen = testing::internal::GetCapturedStderr();
  }
  void merge() { options->merge(JsonTree(jsonParse(row[1].c_str())).get()); }
  template <typename Change>
  void seeRevision(const Change& change) {
    const unsigned before = options->revision();
    change();
    seen = options->revision() == before ? "same" : "new";
  }
  /// The globals of a process.
  std::unique_ptr<Globals>& own() { return globals[row[1] == "two"]; }
  /// A key or table; null for none.
  const char* name(std::size_t cell) { return row[cell].empty() ? nullptr : row[cell].c_str(); }

  const std::map<std::string, std::function<void()>> commands = {
      // The disk.
      {"new", [&] { begin(); }},
      {"file", [&] { makeFile(); }},
      {"grow", [&] { fs::resize_file(path(1), kMostDocumentBytes + std::stoul(row[2])); }},
      {"folder", [&] { fs::create_directories(path(1)); }},
      {"link", [&] { fs::create_symlink(row[2], path(1)); }},
      {"pipe", [&] { mkfifo(path(1).c_str(), 0600); }},
      {"move", [&] { fs::rename(path(1), path(2)); }},
      {"remove", [&] { fs::remove_all(path(1)); }},
      {"go to", [&] { fs::current_path(path(1)); }},
      {"kind", [&] { seen = kindOf(path(1)); }},
      {"names",
       [&] {
         for (const std::string& one : directory->names()) seen += one + " ";
       }},
      {"bytes", [&] { seen = readBytes(path(1)); }},
      {"full disk", [&] { disk = row[1] == "no" ? nullptr : std::make_unique<FullDisk>(); }},
      {"environment", [&] { changeEnvironment(); }},
      // A store in a file.
      {"store", [&] { store = std::make_unique<FileStore>(path(1)); }},
      {"read", [&] { seen = store->read(row[1]).value_or("(none)"); }},
      {"write", [&] { seen = yes(store->write(row[1], path(2))); }},
      {"look", [&] { look(); }},
      {"notice", [&] { notice(); }},
      {"holds", [&] { seen = compact(FileStore::parse(readBytes(path(1)))); }},
      // Folders, and files in them.
      {"keep", [&] { keep(); }},
      {"install", [&] { seen = shortened(out(findInstallFolders(kept).install)); }},
      {"factory", [&] { seen = out(findInstallFolders(kept).factory); }},
      {"factory from", [&] { seen = out(findFactoryFolder(path(1), path(2))); }},
      {"config", [&] { seen = userConfigFolder(); }},
      {"settings", [&] { seen = settingsPath(); }},
      {"code", [&] { seen = yes(codeFolder() == fs::canonical("/proc/self/exe").parent_path()); }},
      {"prefixes", [&] { prefixes(); }},
      {"load", [&] { load(); }},
      {"too large", [&] { seen = yes(isTooLargeToLoad(path(1))); }},
      {"menu", [&] { walk(); }},
      {"submenu", [&] { findMenu(); }},
      // Preferences and options.
      {"mode", [&] { setMode(); }},
      {"globals", [&] { own() = std::make_unique<Globals>(kept); }},
      {"table", [&] { own()->initGlobals(name(2)), seen = kept.text("globals"); }},
      {"own table", [&] { own()->initGlobals(findResource("json", "defaults").data()); }},
      {"groups", [&] { seen = std::to_string(own()->getGroupCount()); }},
      {"group", [&] { describeGroup(); }},
      {"stored", [&] { seen = kept.text(row[1]); }},
      {"choice", [&] { seen = std::to_string(own()->getGlobal(name(2))); }},
      {"choice or -9", [&] { seen = std::to_string(own()->getGlobal(name(2), -9)); }},
      {"choose",
       [&] { own()->setGlobal(name(2), std::stoi(row[3])), seen = kept.text("globals"); }},
      // Controllers.
      {"map", [&] { midi = std::make_unique<MIDIMap>(kept); }},
      {"learn", [&] { midi->learn(number(1), number(2)); }},
      {"unlearn", [&] { midi->unlearn(number(1)); }},
      {"save", [&] { seen = yes(midi->saveChanges()); }},
      {"saves", [&] { saveManyTimes(); }},
      {"controllers", [&] { listControllers(); }},
      // Options of the graphs.
      {"options", [&] { makeOptions(); }},
      {"option", [&] { seen = std::to_string(options->getUiValue(row[1], row[2])); }},
      {"set option",
       [&] { seeRevision([&] { options->setUiValue(row[1], row[2], std::stod(row[3])); }); }},
      {"merge", [&] { seeRevision([&] { merge(); }); }},
      {"saved", [&] { seen = compact(options->save()); }},
  };

  DataRow row;
  std::string seen;
  const fs::path oldFolder = fs::current_path();
  std::map<std::string, std::optional<std::string>> oldVariables;
  std::unique_ptr<TestDirectory> directory;
  std::unique_ptr<FullDisk> disk;
  std::unique_ptr<FileStore> store;
  TestStore kept;
  PresetMenu menu;
  std::unique_ptr<Globals> globals[2];
  std::unique_ptr<MIDIMap> midi;
  std::unique_ptr<UiSettings> options;
};

TEST_F(ScriptTest, Stores) { run(TEST_DATA "/stores.txt"); }

TEST_F(ScriptTest, Folders) { run(TEST_DATA "/folders.txt"); }

TEST_F(ScriptTest, PresetMenus) { run(TEST_DATA "/preset_menus.txt"); }

TEST_F(ScriptTest, Controllers) { run(TEST_DATA "/controllers.txt"); }

TEST_F(ScriptTest, Options) { run(TEST_DATA "/options.txt"); }

}  // namespace
