#include "toolkit/folder_list.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "platform/paths.h"
#include "toolkit/utf8.h"

namespace {

constexpr std::size_t kMostEntries = 20'000;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isLetter(char c) { return (c | 32) >= 'a' && (c | 32) <= 'z'; }

/// Takes the digits at the start, without zeros before them.
std::string_view takeNumber(std::string_view& text) {
  std::size_t end = 0;
  while (end < text.size() && isDigit(text[end])) ++end;
  std::string_view digits = text.substr(0, end);
  text.remove_prefix(end);
  while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
  return digits;
}

/// As `comesBefore`, of names in small letters.
bool isLess(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (isDigit(a.front()) && isDigit(b.front())) {
      const std::string_view first = takeNumber(a);
      const std::string_view second = takeNumber(b);
      if (first.size() != second.size()) return first.size() < second.size();
      if (first != second) return first < second;
      continue;
    }
    const auto first = static_cast<unsigned char>(a.front());
    const auto second = static_cast<unsigned char>(b.front());
    if (first != second) return first < second;
    a.remove_prefix(1);
    b.remove_prefix(1);
  }
  return a.size() < b.size();
}

}  // namespace

bool comesBefore(std::string_view a, std::string_view b) {
  return isLess(lowerCase(a), lowerCase(b));
}

std::string FolderList::read(const std::string& path, const std::vector<std::string>& extensions) {
  std::vector<FolderEntry> entries;
  bool all = true;
  if (const std::error_code error = readFolder(path, kMostEntries, entries, all)) {
    return error.message();
  }
  struct Named {
    std::string lower;
    Row row;
  };
  std::vector<Named> found;
  for (FolderEntry& entry : entries) {
    const std::string_view extension = extensionOf(entry.name);
    const bool isShown =
        entry.isFolder ||
        (entry.isFile &&
         (extensions.empty() || std::ranges::any_of(extensions, [&](const std::string& wanted) {
            return !extension.empty() && extension.substr(1) == wanted;
          })));
    if (!isShown || entry.name.starts_with('.')) continue;
    std::string lower = lowerCase(entry.name);
    found.push_back({std::move(lower), {std::move(entry.name), entry.isFolder}});
  }
  std::ranges::sort(found, [](const Named& a, const Named& b) {
    if (a.row.isFolder != b.row.isFolder) return a.row.isFolder;
    if (isLess(a.lower, b.lower)) return true;
    return !isLess(b.lower, a.lower) && a.row.name < b.row.name;
  });
  list.clear();
  for (Named& named : found) list.push_back(std::move(named.row));
  folder = path;
  isWhole = all;
  return {};
}

int FolderList::find(std::string_view name) const {
  const auto found = std::ranges::find(list, name, &Row::name);
  return found != list.end() ? static_cast<int>(found - list.begin()) : -1;
}

std::string withExtension(const std::string& path, const std::string& extension) {
  // "Vocal 1.5" and "St. James" have none.
  const std::string_view own = extensionOf(path);
  const bool isOne = std::ranges::any_of(own, isLetter) && own.find(' ') == std::string_view::npos;
  return extension.empty() || isOne ? path : path + "." + extension;
}
