#include "host/preset_files.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "host/file_errors.h"
#include "platform/whole_file.h"
#include "state/chunk_codec.h"
#include "state/json_document.h"

namespace {

constexpr const char* kFactoryMenu = "Factory";
constexpr const char* kOpenTitle = "Select preset file";
constexpr const char* kOpenFolder = "~/Desktop";
constexpr const char* kSaveTitle = "Choose destination filename";
constexpr int kMostTold = 3;  // presets skipped by one step that are reported one by one

/// The last part of a path, cut at its last dot.
struct FileName {
  std::string base;
  std::string extension;  // empty without a dot
};

FileName splitName(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos) return {name, {}};
  return {name.substr(0, dot), name.substr(dot + 1)};
}

/// Marks that a file is being loaded, until the scope is left in whatever way.
class FileLoadingScope {
 public:
  explicit FileLoadingScope(EditorState& state) : editor(state) { editor.loadingFile = true; }
  ~FileLoadingScope() { editor.loadingFile = false; }
  FileLoadingScope(const FileLoadingScope&) = delete;
  FileLoadingScope& operator=(const FileLoadingScope&) = delete;

 private:
  EditorState& editor;
};

/// Reads the document in a file. Null if it holds none; with `tells` the user is told why.
std::shared_ptr<const JsonNode> readDocumentFile(const std::string& path, bool tells = true) {
  std::string bytes;
  const std::error_code error = readWholeFile(path, bytes, kMostDocumentBytes);
  const bool isTooLarge = error == std::errc::file_too_large;
  if (error && !isTooLarge) {
    if (tells) reportFileError(path, "rb");
    return nullptr;
  }
  // Before anything is applied: a refused document would still clear locks and links.
  auto root = isTooLarge ? nullptr : readDocument(bytes);
  if (root == nullptr && tells) {
    reportFileContent(
        path,
        bytes.empty() && !isTooLarge ? "is empty" : "holds no settings, or they have been damaged",
        "Nothing has been changed");
  }
  return root;
}

}  // namespace

void PresetFiles::buildPresetMenu() {
  auto built = std::make_unique<PresetMenu>();
  built->path = folders.presets();
  if (!built->path.empty()) walkPresetFolder(*built, built->path, kPresetExtension);
  if (const std::string factory = folders.factoryPresets();
      !factory.empty() && factory != built->path) {
    auto submenu = std::make_unique<PresetMenu>();
    submenu->path = factory;
    walkPresetFolder(*submenu, factory, kPresetExtension);
    built->entries.push_back({kFactoryMenu, std::move(submenu)});
  }
  const PlugBase::StateScope scope(plug);
  menu = std::move(built);
  updatePresetButtons();
}

const PresetMenu* PresetFiles::findMenu(std::string_view path) const {
  return menu == nullptr || path.empty() ? nullptr : menu->findSubmenu(path);
}

const PresetMenu* PresetFiles::currentPresetMenu() const { return findMenu(place().folder); }

PresetFiles::Place PresetFiles::place() const {
  const PlugBase::StateScope scope(plug);
  return {editor.lastPresetFolder, editor.lastPreset};
}

void PresetFiles::setPlace(const Place& wanted) {
  const PlugBase::StateScope scope(plug);
  editor.lastPresetFolder = wanted.folder;
  editor.lastPreset = wanted.index;
  plug.markChanged();
  updatePresetButtons();
}

/// Null beyond the ends.
const PresetMenu::Entry* PresetFiles::Target::entry() const noexcept {
  const auto count = static_cast<std::int64_t>(menu->entries.size());
  return index >= 0 && index < count ? &menu->entries[static_cast<std::size_t>(index)] : nullptr;
}

/// The entry that a step leads to. The place may be anything, since it comes from a document.
PresetFiles::Target PresetFiles::targetOf(int by) const {
  const Place here = place();
  if (const PresetMenu* const current = findMenu(here.folder)) {
    return {current, std::int64_t{here.index} + by};
  }
  return {menu.get(), 0};
}

void PresetFiles::choosePreset(std::string_view menuPath, int index) {
  const PresetMenu* const chosen = findMenu(menuPath);
  if (chosen != nullptr && clampPlace({chosen, index})) loadEntry({chosen, index});
}

void PresetFiles::choosePresetNamed(std::string_view menuPath, std::string_view text) {
  const PresetMenu* const chosen = findMenu(menuPath);
  if (chosen == nullptr) return;
  const auto found = std::ranges::find_if(chosen->entries, [text](const PresetMenu::Entry& entry) {
    return entry.submenu == nullptr && entry.text == text;
  });
  if (found != chosen->entries.end()) {
    loadEntry({chosen, found - chosen->entries.begin()});
  }
}

void PresetFiles::loadCurrentPreset() {
  const Target here = targetOf(0);
  if (here.menu != nullptr && clampPlace(here)) loadEntry(here);
}

void PresetFiles::step(int by) {
  Target target = targetOf(by);
  if (target.menu == nullptr || !clampPlace(target)) return;
  if (target.menu != currentPresetMenu()) by = 1;  // without a place
  int failures = 0;
  for (; target.entry() != nullptr; target.index += by) {
    if (target.entry()->submenu != nullptr || loadEntry(target, failures < kMostTold)) break;
    ++failures;
  }
  if (failures <= kMostTold) return;
  reportFileContent(
      target.menu->path,
      "holds " + std::to_string(failures - kMostTold) + " more presets that cannot be loaded",
      "They have been passed over");
}

/// False for an index beyond the ends of the menu; the place then moves to the nearer end.
bool PresetFiles::clampPlace(const Target& target) {
  if (target.entry() != nullptr) return true;
  const auto count = static_cast<int>(target.menu->entries.size());
  setPlace({target.menu->path, target.index < 0 ? 0 : std::max(count - 1, 0)});
  return false;
}

/// Loads an entry. False, with nothing changed, if it cannot be loaded; with `tells` the user is
/// told why.
bool PresetFiles::loadEntry(const Target& target, bool tells) {
  const PresetMenu::Entry& entry = *target.entry();
  if (entry.submenu != nullptr) return false;
  const std::string path = target.menu->path + entry.text + "." + kPresetExtension;
  const auto root = readDocumentFile(path, tells);
  if (root == nullptr) return false;
  const PlugBase::StateScope scope(plug);
  const Place to = {target.menu->path, static_cast<int>(target.index)};
  return takeDocument(root.get(), true, entry.text, place(), to);
}

bool PresetFiles::previousEnabled() const { return editor.lastPreset > 0; }

bool PresetFiles::nextEnabled() const {
  const Target next = targetOf(1);
  return next.menu != nullptr && next.entry() != nullptr && next.entry()->submenu == nullptr;
}

void PresetFiles::savePresetDialog(Dialogs& dialogs, const std::string& extension, bool isPreset) {
  const std::string folder = folders.presets();
  // The proposed file lies there. If the folder cannot be made, saving reports it.
  if (!folder.empty()) static_cast<void>(makeFolders(folder));
  std::string name = programName();
  std::replace(name.begin(), name.end(), '/', '-');
  const std::string proposed = folder + name + "." + extension;
  dialogs.openFileDialog({false, kSaveTitle, folder, proposed, extension},
                         [this, extension, isPreset](const std::string& path) {
                           if (!path.empty()) savePreset(path, extension, isPreset);
                         });
}

bool PresetFiles::savePreset(const std::string& path, const std::string& extension, bool isPreset) {
  const FileName file = splitName(path);
  const bool isNamed = file.extension == extension;
  const bool isHomeless = menu != nullptr && currentPresetMenu() == nullptr;
  const auto take = [&](const std::string& name, const std::string& folder) {
    if (isNamed) plug.setProgramName(name.c_str());
    if (isHomeless) editor.lastPresetFolder = folder;
  };
  std::string bytes;
  {
    // The document holds the new name and folder at once, the program only after it is written.
    const PlugBase::StateScope scope(plug);
    const std::string oldName = programName();
    const std::string oldFolder = editor.lastPresetFolder;
    take(file.base, "");
    bytes = plug.document(isPreset);
    take(oldName, oldFolder);
  }
  if (bytes.empty() || writeWholeFile(path, bytes)) {
    reportFileError(path, "wb");
    return false;
  }
  const PlugBase::StateScope scope(plug);
  take(file.base, "");
  plug.markChanged();
  editor.presetMenuStale = true;
  updatePresetButtons();
  return true;
}

void PresetFiles::loadPresetDialog(Dialogs& dialogs, const std::string& extension) {
  dialogs.openFileDialog({true, kOpenTitle, kOpenFolder, {}, extension},
                         [this](const std::string& path) {
                           if (!path.empty()) loadPresetFile(path);
                         });
}

bool PresetFiles::loadPresetFile(const std::string& path) {
  const FileName file = splitName(path);
  const bool isPreset = file.extension != kBankExtension;
  const bool isNamed = !isPreset || file.extension == kPresetExtension;
  const auto root = readDocumentFile(path);
  if (root == nullptr) return false;
  const PlugBase::StateScope scope(plug);
  return takeDocument(root.get(), isPreset, isNamed ? file.base : std::string(), {{}, -1}, place());
}

/// Loads a document; the caller holds a `StateScope`. An empty `name` keeps the document's own.
/// Undo returns to place `from`; a preset moves the place to `to`, whatever place it carries.
bool PresetFiles::takeDocument(const JsonNode* root, bool isPreset, const std::string& name,
                               const Place& from, const Place& to) {
  const FileLoadingScope loading(editor);
  StateSnapshot before = takeSnapshot(isPreset, from);
  if (before.data.empty()) return false;
  undoStates.reserve(undoStates.size() + 1);
  plug.setDocument(root, isPreset);
  undoStates.push_back(std::move(before));  // only now: a load that fails must leave none
  if (isPreset) setPlace(to);
  if (!name.empty()) plug.setProgramName(name.c_str());
  updatePresetButtons();
  const std::int32_t marker = isPreset ? historyPresetLoad : historyBankLoad;
  plug.beginEdit(marker);
  plug.endEdit(marker);
  redoStates.clear();
  return true;
}

void PresetFiles::restoreSnapshot(bool isPreset, bool towardsRedo) {
  const PlugBase::StateScope scope(plug);
  std::vector<StateSnapshot>& from = towardsRedo ? redoStates : undoStates;
  std::vector<StateSnapshot>& to = towardsRedo ? undoStates : redoStates;
  if (from.empty()) return;
  const StateSnapshot wanted = std::move(from.back());
  from.pop_back();
  to.push_back(takeSnapshot(isPreset, place()));
  const FileLoadingScope loading(editor);
  const Place here = place();
  plug.setChunk(wanted.data.data(), static_cast<std::int32_t>(wanted.data.size()), wanted.isPreset);
  if (wanted.isPreset) setPlace(here);
  if (wanted.presetIndex >= 0 && findMenu(wanted.menuPath) != nullptr) {
    setPlace({wanted.menuPath, wanted.presetIndex});
  }
  updatePresetButtons();
}

StateSnapshot PresetFiles::takeSnapshot(bool isPreset, const Place& toReturnTo) {
  return {plug.document(isPreset), isPreset, toReturnTo.index, toReturnTo.folder};
}

std::string PresetFiles::programName() {
  std::array<char, ProgramRecord::kNameCapacity> name{};
  plug.getProgramName(name.data());
  return name.data();
}

bool PresetFiles::saveAsDefault() {
  if (defaultBankPath.empty()) return false;
  const std::string folder = defaultBankPath.substr(0, defaultBankPath.find_last_of('/'));
  if (makeFolders(folder)) return false;
  const std::string bytes = plug.document(false);
  return !bytes.empty() && !writeWholeFile(defaultBankPath, bytes);
}
