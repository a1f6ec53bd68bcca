#include "platform/user_folders.h"

#include <dlfcn.h>
#include <link.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <vector>

#include "platform/paths.h"

namespace {

// Relative paths in XDG variables are to be ignored.
bool isAbsolute(const std::string& path) { return !path.empty() && path.front() == '/'; }

std::string homeByPasswordDatabase() {
  constexpr std::size_t kMostBytes = std::size_t{1} << 20;
  passwd entry{};
  passwd* found = nullptr;
  for (std::vector<char> texts(4096); texts.size() <= kMostBytes; texts.resize(2 * texts.size())) {
    const int error = ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found);
    if (error == ERANGE) continue;
    if (error == ENOMEM) throw std::bad_alloc();
    return error == 0 && found && found->pw_dir ? found->pw_dir : "";
  }
  return {};
}

std::string homeFolder() {
  const std::string told = environmentText("HOME");
  const std::string home = isAbsolute(told) ? told : homeByPasswordDatabase();
  return isAbsolute(home) ? home : "";
}

std::string withoutSlashes(std::string path, std::size_t leastSize) {
  while (path.size() > leastSize && path.back() == '/') path.pop_back();
  return path;
}

std::string baseFolder(const char* variable, const char* belowHome) {
  const std::string told = environmentText(variable);
  if (isAbsolute(told)) return withoutSlashes(told, 1);
  const std::string home = homeFolder();
  return home.empty() ? "" : withoutSlashes(home, 0) + belowHome;
}

}  // namespace

std::string userConfigFolder() { return baseFolder("XDG_CONFIG_HOME", "/.config"); }

std::string userDataFolder() { return baseFolder("XDG_DATA_HOME", "/.local/share"); }

std::string userHomeFolder() { return withoutSlashes(homeFolder(), 1); }

std::string withHomeFolder(const std::string& path) {
  const bool isInHome = path == "~" || path.starts_with("~/");
  return isInHome ? withoutSlashes(homeFolder(), 0) + path.substr(1) : path;
}

std::string codeFolder() {
  Dl_info info{};
  link_map* module = nullptr;
  const auto address = reinterpret_cast<const void*>(&codeFolder);
  if (::dladdr1(address, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) == 0) return {};
  // For the program itself there is no name here, and the one it was started by may be relative.
  const bool isProgram = !module || !module->l_name || *module->l_name == 0;
  const char* const name = isProgram ? "/proc/self/exe" : module->l_name;
  const auto real = realPath(name);
  return real ? real->substr(0, real->rfind('/')) : "";
}

std::string environmentText(const char* name) {
  const char* const text = std::getenv(name);
  return text ? text : "";
}
