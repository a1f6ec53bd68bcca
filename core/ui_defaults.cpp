#include "core/ui_defaults.h"

#include <optional>
#include <string>
#include <utility>

#include "platform/paths.h"
#include "platform/resources.h"
#include "platform/whole_file.h"
#include "state/chunk_codec.h"
#include "state/document_keys.h"
#include "state/json_memory.h"
#include "state/known_files.h"

namespace {

struct DefaultBank {
  std::string path;  // of the user's; empty without a folder for it
  JsonTree root;     // null for a file that holds no bank
};

DefaultBank readDefaultBank(const InstallFolders& folders) {
  const std::string extension = std::string(".") + kBankExtension;
  DefaultBank bank;
  const InstallFile file =
      loadInstallFile(folders, "Default Bank" + extension, "Factory Bank" + extension, bank.path);
  if (file.contents == nullptr) {
    // Options are taken from documents that tell of the editor.
    bank.root.reset(made(jsonCreateObject()));
    addToObject(*bank.root, documentKey::kSettings, jsonCreateObject());
    addToObject(*bank.root, documentKey::kVersionMark, jsonCreateTrue());
    return bank;
  }
  const std::string& bytes = file.contents->bytes;
  const std::optional<std::string> text =
      isPackedChunk(bytes) ? unpackChunk(bytes) : std::optional(bytes);
  if (text) bank.root = parsedJson(text->c_str());
  if (!jsonIsType(bank.root.get(), kJsonObject)) bank.root.reset();
  return bank;
}

/// A table with the options of new instances.
struct DefaultOptions {
  explicit DefaultOptions(const DefaultBank& bank) : options(uiTable()) {
    options.merge(jsonGetObjectItem(bank.root.get(), documentKey::kUiPrefs));
  }

  UiSettings options;
};

void copyGroup(const UiSettings& from, const std::string& group, UiSettings& into) {
  for (const UiOption& option : from.list()) {
    if (group.empty() || option.group == group) {
      into.setUiValue(option.group, option.key, option.value);
    }
  }
}

}  // namespace

const std::shared_ptr<const UiTable>& uiTable() {
  static const auto table =
      std::make_shared<const UiTable>(findResource("json", "uisettings").data());
  return table;
}

bool saveUiDefaults(const UiSettings& from, const std::string& group,
                    const InstallFolders& folders) {
  const DefaultBank bank = readDefaultBank(folders);
  if (bank.path.empty() || bank.root == nullptr) return false;
  DefaultOptions defaults(bank);
  copyGroup(from, group, defaults.options);
  JsonTree stored = defaults.options.save();
  if (stored == nullptr) return false;
  jsonDeleteItemFromObject(bank.root.get(), documentKey::kUiPrefs);
  addToObject(*bank.root, documentKey::kUiPrefs, stored.release());
  if (jsonGetObjectItem(bank.root.get(), documentKey::kSettings) == nullptr) {
    addToObject(*bank.root, documentKey::kSettings, jsonCreateObject());
  }
  const JsonText text(jsonPrintFormatted(bank.root.get()));
  if (text == nullptr || makeFolders(parentFolder(bank.path))) return false;
  return !writeWholeFile(bank.path, std::string(text.get()) + '\0');
}

void restoreUiDefaults(UiSettings& into, const std::string& group, const InstallFolders& folders) {
  copyGroup(DefaultOptions(readDefaultBank(folders)).options, group, into);
}
