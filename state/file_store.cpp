#include "state/file_store.h"

#include <cmath>
#include <cstddef>
#include <utility>

#include "platform/file_lock.h"
#include "platform/paths.h"
#include "platform/whole_file.h"
#include "state/json_memory.h"
#include "state/known_files.h"

namespace {

constexpr std::chrono::milliseconds kNoWait{0};

/// What was found at the path of a store; one of the three is set.
struct Contents {
  JsonTree root;
  std::string foreignReason;  // why the file is no store
  std::error_code error;      // why the file could not be examined
};

/// Whether the file itself is at fault, not a temporary lack of resources.
bool isFaultOfFile(const std::error_code& error) {
  for (const std::errc fault :
       {std::errc::permission_denied, std::errc::is_a_directory, std::errc::not_supported,
        std::errc::file_too_large, std::errc::too_many_symbolic_link_levels}) {
    if (error == fault) return true;
  }
  return false;
}

Contents load(const std::string& path) {
  std::string text;
  const std::error_code error = readWholeFile(path, text, kMostDocumentBytes);
  if (error && isFaultOfFile(error)) return {nullptr, error.message(), {}};
  if (error && error != std::errc::no_such_file_or_directory) return {nullptr, {}, error};
  // An empty file counts as an empty store: nothing in it could be lost.
  JsonTree root = text.empty() ? JsonTree(made(jsonCreateObject())) : FileStore::parse(text);
  if (root) return {std::move(root), {}, {}};
  return {nullptr, "it does not hold what this program writes", {}};
}

/// The index after the object with which a valid text begins.
std::size_t endOfObject(const std::string& text) {
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString && c == '\\') {
      ++i;
    } else if (c == '"') {
      inString = !inString;
    } else if (!inString && (c == '{' || c == '[')) {
      ++depth;
    } else if (!inString && (c == '}' || c == ']') && --depth == 0) {
      return i + 1;
    }
  }
  return text.size();
}

// What the reader treats as white space.
bool isBlank(const std::string& text, std::size_t begin) {
  for (std::size_t i = begin; i < text.size(); ++i) {
    if (static_cast<unsigned char>(text[i]) > 32) return false;
  }
  return true;
}

// 1e999 reads as infinity, whose printed form no reader takes.
bool hasOnlyFiniteNumbers(const JsonNode* list) {
  for (; list; list = list->next) {
    if (!std::isfinite(list->valueDouble) || !hasOnlyFiniteNumbers(list->child)) return false;
  }
  return true;
}

/// Unlike `jsonGetObjectItem`, matches the exact name and skips members that are no strings.
JsonNode* findString(const JsonNode& root, std::string_view name) {
  for (JsonNode* item = root.child; item; item = item->next) {
    if (jsonIsType(item, kJsonString) && name == item->key) return item;
  }
  return nullptr;
}

bool hasZero(const std::string& text) { return text.find('\0') != std::string::npos; }

/// A name next to `path` that nothing has, not even a link to nowhere.
std::string nameForKept(const std::string& path) {
  std::string name = path + ".kept";
  for (int i = 2; isNameTaken(name); ++i) {
    name = path + ".kept-" + std::to_string(i);
  }
  return name;
}

}  // namespace

FileStore::FileStore(std::string storePath, std::chrono::milliseconds wait)
    : path(std::move(storePath)), longestWait(wait) {}

std::optional<std::string> FileStore::read(std::string_view name) {
  const auto file = readKnownFile(path);
  const JsonTree root = file->bytes.empty() ? nullptr : parse(file->bytes);
  return root ? find(*root, name) : std::nullopt;
}

bool FileStore::update(std::string_view name, const Change& change) {
  return updateWithin(longestWait, name, change);
}

bool FileStore::updateIfFree(std::string_view name, const Change& change) {
  return updateWithin(kNoWait, name, change);
}

bool FileStore::updateWithin(std::chrono::milliseconds wait, std::string_view name,
                             const Change& change) {
  const std::scoped_lock threads(mutex);
  if (path.empty()) return refuse("there is no folder for settings");
  FileLock others;
  if (const std::error_code error = lockOut(others, wait)) {
    const bool isLate = error == std::errc::timed_out;
    if (isLate && wait == kNoWait) return false;
    return refuse(isLate ? "another program is keeping it locked" : error.message());
  }
  Contents contents = load(path);
  if (contents.error) return refuse(contents.error.message());
  const auto old = contents.root ? find(*contents.root, name) : std::nullopt;
  const std::optional<std::string> text = change(old);
  if (!text || text == old) return true;
  if (!contents.root) contents.root.reset(made(jsonCreateObject()));
  const std::string printed = printWith(*contents.root, std::string(name), *text);
  if (printed.empty()) return refuse("the text for it cannot be stored");
  if (printed.size() > kMostDocumentBytes) return refuse("it would become larger than 4 MiB");
  return replace(printed, contents.foreignReason);
}

std::error_code FileStore::lockOut(FileLock& others, std::chrono::milliseconds wait) const {
  const std::string folder = parentFolder(path);
  if (const std::error_code error = folder.empty() ? std::error_code{} : makeFolders(folder)) {
    return error;
  }
  return others.lock(path + ".lock", wait);
}

bool FileStore::replace(const std::string& text, const std::string& foreignReason) {
  const bool isForeign = !foreignReason.empty();
  const std::string kept = isForeign ? nameForKept(path) : "";
  const std::string moved = "The settings file " + path + " could not be used (" + foreignReason +
                            "). It was moved to " + kept;
  std::error_code moving;
  if (isForeign) moving = moveFile(path, kept);
  if (moving) return refuse(foreignReason + "; moving it aside: " + moving.message());
  if (const std::error_code error = writeWholeFile(path, text)) {
    if (isForeign) moving = moveFile(kept, path);
    if (moving) addNotice(moved + '.');
    return refuse(error.message());
  }
  forgetTold();
  if (isForeign) addNotice(moved + ", and a new one was begun.");
  return true;
}

bool FileStore::refuse(const std::string& reason) {
  addNotice("The settings file " + path + " could not be written: " + reason + '.');
  return false;
}

// One line per notice. A repeated failure is reported once, since some callers retry for ever.
void FileStore::addNotice(const std::string& sentence) {
  const std::scoped_lock lock(noticeMutex);
  if (!told.insert(sentence).second) return;
  if (!notice.empty()) notice += '\n';
  notice += sentence;
}

void FileStore::forgetTold() {
  const std::scoped_lock lock(noticeMutex);
  told.clear();
}

std::string FileStore::takeNotice() {
  const std::scoped_lock lock(noticeMutex);
  return std::exchange(notice, {});
}

JsonTree FileStore::parse(const std::string& text) {
  if (hasZero(text)) return nullptr;
  JsonTree root = parsedJson(text.c_str());
  if (!root || root->type != kJsonObject || !hasOnlyFiniteNumbers(root.get())) return nullptr;
  // The reader stops after the first value; anything after it would be lost with the next write.
  return isBlank(text, endOfObject(text)) ? std::move(root) : nullptr;
}

std::optional<std::string> FileStore::find(const JsonNode& root, std::string_view name) {
  const JsonNode* const item = findString(root, name);
  if (!item || *item->valueString == 0) return std::nullopt;
  return item->valueString;
}

std::string FileStore::printWith(JsonNode& root, const std::string& name, const std::string& text) {
  if (hasZero(name) || hasZero(text)) return {};
  JsonTree item(made(jsonCreateString(text.c_str())));
  if (JsonNode* const old = findString(root, name)) {
    std::swap(old->valueString, item->valueString);
  } else {
    addToObject(root, name.c_str(), item.release());
  }
  return JsonText(made(jsonPrintFormatted(&root))).get() + std::string("\n");
}
