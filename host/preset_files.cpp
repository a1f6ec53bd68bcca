#include "host/preset_files.h"

#include <algorithm>
#include <array>
#include <limits>
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

/// Marks that a file is being loaded, however the scope is left.
class FileLoadingScope {
 public:
  explicit FileLoadingScope(EditorState& state) : editor(state) { editor.loadingFile = true; }
  ~FileLoadingScope() { editor.loadingFile = false; }
  FileLoadingScope(const FileLoadingScope&) = delete;
  FileLoadingScope& operator=(const FileLoadingScope&) = delete;

 private:
  EditorState& editor;
};

/// Reads a file that a document is in; else tells the user.
bool readDocument(const std::string& path, std::string& bytes) {
  const std::error_code error = readWholeFile(path, bytes, kMostDocumentBytes);
  const bool isTooLarge = error == std::errc::file_too_large;
  if (error && !isTooLarge) {
    reportFileError(path, "rb");
    return false;
  }
  if (!isTooLarge && holdsDocument(bytes)) return true;
  // Before anything is applied: locks and links would go even where a document is refused.
  reportFileContent(
      path,
      bytes.empty() && !isTooLarge ? "is empty" : "holds no settings, or they have been damaged",
      "Nothing has been changed");
  return false;
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
  menu = std::move(built);
  updatePresetButtons();
}

const PresetMenu* PresetFiles::findMenu(std::string_view path) const {
  return menu == nullptr || path.empty() ? nullptr : menu->findSubmenu(path);
}

const PresetMenu* PresetFiles::currentPresetMenu() const {
  return findMenu(editor.lastPresetFolder);
}

void PresetFiles::setPlace(const Place& wanted) {
  editor.lastPresetFolder = wanted.folder;
  editor.lastPreset = wanted.index;
  plug.markChanged();
  updatePresetButtons();
}

void PresetFiles::choosePreset(std::string_view menuPath, int index) {
  if (findMenu(menuPath) != nullptr) moveTo({std::string(menuPath), index});
}

void PresetFiles::step(int by) {
  // A document may name any place at all.
  const std::int64_t wanted = std::int64_t{editor.lastPreset} + by;
  constexpr std::int64_t kHighest = std::numeric_limits<int>::max();
  moveTo(
      {editor.lastPresetFolder, static_cast<int>(std::clamp(wanted, std::int64_t{-1}, kHighest))});
}

void PresetFiles::moveTo(const Place& wanted) {
  const Place before = place();
  setPlace(wanted);
  if (!loadCurrent(before)) setPlace(before);
}

/// False when the place is none that could be loaded; one beyond the ends moves to the end instead.
bool PresetFiles::loadCurrent(const Place& comesFrom) {
  if (currentPresetMenu() == nullptr && menu != nullptr) setPlace({menu->path, 0});
  const PresetMenu* const current = currentPresetMenu();
  if (current == nullptr) return false;
  const auto count = static_cast<int>(current->entries.size());
  if (editor.lastPreset < 0 || editor.lastPreset >= count) {
    setPlace({current->path, editor.lastPreset < 0 ? 0 : std::max(count - 1, 0)});
    return true;
  }
  const PresetMenu::Entry& entry = current->entries[static_cast<std::size_t>(editor.lastPreset)];
  if (entry.submenu != nullptr) return false;
  return loadFile(current->path + entry.text + "." + kPresetExtension, true, entry.text, comesFrom);
}

bool PresetFiles::previousEnabled() const { return editor.lastPreset > 0; }

bool PresetFiles::nextEnabled() const {
  const PresetMenu* const current = currentPresetMenu();
  if (current == nullptr || editor.lastPreset < 0) return false;
  const std::size_t next = static_cast<std::size_t>(editor.lastPreset) + 1;
  return next < current->entries.size() && current->entries[next].submenu == nullptr;
}

void PresetFiles::savePresetDialog(Dialogs& dialogs, const std::string& extension, bool isPreset) {
  const std::string folder = folders.presets();
  // The proposal lies there; where it cannot be made, saving tells.
  if (!folder.empty()) static_cast<void>(makeFolders(folder));
  std::string name = programName();
  std::replace(name.begin(), name.end(), '/', '-');
  std::string path;
  if (!dialogs.openFileDialog(
          {false, kSaveTitle, folder, folder + name + "." + extension, extension}, path)) {
    return;
  }
  savePreset(path, extension, isPreset);
}

bool PresetFiles::savePreset(const std::string& path, const std::string& extension, bool isPreset) {
  const std::string oldName = programName();
  const std::string oldFolder = editor.lastPresetFolder;
  if (menu != nullptr && currentPresetMenu() == nullptr) editor.lastPresetFolder.clear();
  const FileName file = splitName(path);
  if (file.extension == extension) plug.setProgramName(file.base.c_str());
  const std::string bytes = document(isPreset);
  if (!bytes.empty() && !writeWholeFile(path, bytes)) {
    editor.presetMenuStale = true;
    updatePresetButtons();
    return true;
  }
  reportFileError(path, "wb");
  plug.setProgramName(oldName.c_str());
  editor.lastPresetFolder = oldFolder;
  return false;
}

void PresetFiles::loadPresetDialog(Dialogs& dialogs, const std::string& extension) {
  std::string path;
  if (dialogs.openFileDialog({true, kOpenTitle, kOpenFolder, {}, extension}, path)) {
    loadPresetFile(path);
  }
}

bool PresetFiles::loadPresetFile(const std::string& path) {
  const FileName file = splitName(path);
  const bool isPreset = file.extension != kBankExtension;
  const bool isNamed = !isPreset || file.extension == kPresetExtension;
  return loadFile(path, isPreset, isNamed ? file.base : std::string(), {{}, -1});
}

/// An empty `name` leaves that of the file's document.
bool PresetFiles::loadFile(const std::string& path, bool isPreset, std::string_view name,
                           const Place& comesFrom) {
  const FileLoadingScope loading(editor);
  std::string bytes;
  if (!readDocument(path, bytes)) return false;
  undoStates.push_back(takeSnapshot(isPreset, comesFrom));
  const Place here = place();
  plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), isPreset);
  // A preset may hold the place where it was saved.
  if (isPreset) setPlace(here);
  if (!name.empty()) plug.setProgramName(std::string(name).c_str());
  updatePresetButtons();
  const std::int32_t marker = isPreset ? historyPresetLoad : historyBankLoad;
  plug.beginEdit(marker);
  plug.endEdit(marker);
  redoStates.clear();
  return true;
}

void PresetFiles::restoreSnapshot(bool isPreset, bool towardsRedo) {
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
  return {document(isPreset), isPreset, toReturnTo.index, toReturnTo.folder};
}

std::string PresetFiles::document(bool isPreset) {
  // What was handed out last must not pass for a document of this moment, or for one of this form.
  plug.markChanged();
  void* data = nullptr;
  const std::int32_t size = plug.getChunk(&data, isPreset);
  if (data == nullptr) return {};
  return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
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
  const std::string bytes = document(false);
  return !bytes.empty() && !writeWholeFile(defaultBankPath, bytes);
}
