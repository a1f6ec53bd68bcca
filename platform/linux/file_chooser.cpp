#include "platform/file_chooser.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/paths.h"
#include "platform/user_folders.h"

extern char** environ;

namespace {

constexpr std::size_t kMostBytes = 64 * 1024;  // longer than any path

/// The program of this name in the folders of `PATH`; empty if there is none.
std::string programPath(const char* name) {
  const std::string folders = environmentText("PATH");
  for (std::size_t at = 0; at <= folders.size();) {
    const std::size_t end = std::min(folders.find(':', at), folders.size());
    const std::string path = joinedPath(folders.substr(at, end - at), name);
    if (path.front() == '/' && isFile(path) && ::access(path.c_str(), X_OK) == 0) return path;
    at = end + 1;
  }
  return {};
}

/// Where the dialog begins: the nearest folder that there is, with a slash at its end, or the file
/// that is proposed.
std::string startPath(const FileDialog& dialog) {
  if (!dialog.proposedName.empty()) return dialog.proposedName;
  std::string folder = withHomeFolder(dialog.startFolder);
  while (!folder.empty() && !isFolder(folder)) folder = parentFolder(folder);
  if (folder.empty()) return {};
  if (folder.back() != '/') folder += '/';
  return folder;
}

std::vector<std::string> patternsOf(const FileDialog& dialog) {
  std::vector<std::string> patterns;
  if (!dialog.extension.empty()) patterns.push_back("*." + dialog.extension);
  for (const std::string& other : dialog.otherExtensions) patterns.push_back("*." + other);
  return patterns;
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : " ") + part;
  return text;
}

// Each argument is handed over as it is: no shell reads them.

std::vector<std::string> zenityArguments(const FileDialog& dialog) {
  std::vector<std::string> arguments = {"zenity", "--file-selection", "--title=" + dialog.title};
  if (!dialog.isOpen) {
    arguments.insert(arguments.end(), {"--save", "--confirm-overwrite"});
  }
  if (const std::string start = startPath(dialog); !start.empty()) {
    arguments.push_back("--filename=" + start);
  }
  if (const std::string patterns = joined(patternsOf(dialog)); !patterns.empty()) {
    arguments.push_back("--file-filter=" + patterns + " | " + patterns);
    arguments.emplace_back("--file-filter=All files | *");
  }
  return arguments;
}

std::vector<std::string> kdialogArguments(const FileDialog& dialog) {
  std::vector<std::string> arguments = {"kdialog", "--title", dialog.title,
                                        dialog.isOpen ? "--getopenfilename" : "--getsavefilename"};
  const std::string start = startPath(dialog);
  arguments.push_back(start.empty() ? "." : start);
  if (const std::string patterns = joined(patternsOf(dialog)); !patterns.empty()) {
    arguments.push_back(patterns + " (" + patterns + ")\nAll files (*)");
  }
  return arguments;
}

/// Attributes and file actions of a child that begins with a clean slate.
class SpawnSettings {
 public:
  SpawnSettings() {
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
  }
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  /// Standard output to `writeEnd`, nothing else of the host's files, signals as they are by
  /// default, in a process group of its own.
  [[nodiscard]] bool prepare(int writeEnd) {
    sigset_t none{};
    sigset_t all{};
    sigemptyset(&none);
    sigfillset(&all);
    const short flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    return ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0) == 0 &&
           ::posix_spawn_file_actions_adddup2(&actions, writeEnd, 1) == 0 &&
           ::posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0) == 0 &&
           ::posix_spawn_file_actions_addclosefrom_np(&actions, 3) == 0 &&
           ::posix_spawnattr_setflags(&attributes, flags) == 0 &&
           ::posix_spawnattr_setpgroup(&attributes, 0) == 0 &&
           ::posix_spawnattr_setsigmask(&attributes, &none) == 0 &&
           ::posix_spawnattr_setsigdefault(&attributes, &all) == 0;
  }

  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
};

class ChooserProcess : public FileChooser {
 public:
  ChooserProcess(pid_t process, int pipeEnd) : child(process), readEnd(pipeEnd) {}
  ~ChooserProcess() override {
    ::close(readEnd);
    if (child == 0) return;
    // Nothing holds up a process that is killed: it is collected at once, and none stays behind.
    ::kill(-child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }
  ChooserProcess(const ChooserProcess&) = delete;
  ChooserProcess& operator=(const ChooserProcess&) = delete;

  State poll(std::string& path) override {
    read();
    int status = 0;
    const pid_t ended = child != 0 ? ::waitpid(child, &status, WNOHANG) : 0;
    if (ended == 0 || (ended < 0 && errno == EINTR)) return State::kOpen;
    child = 0;
    read();
    // A host that collects children itself leaves the answer alone to judge by.
    const bool isKnown = ended > 0;
    if (isKnown && (!WIFEXITED(status) || WEXITSTATUS(status) > 1)) return State::kFailed;
    if (!answer.empty() && answer.back() == '\n') answer.pop_back();
    if ((isKnown && WEXITSTATUS(status) == 1) || answer.empty()) return State::kCancelled;
    if (answer.front() != '/' || answer.size() >= kMostBytes) return State::kFailed;
    path = std::exchange(answer, {});
    return State::kChosen;
  }

 private:
  void read() {
    std::array<char, 4096> bytes;
    for (;;) {
      const ssize_t got = ::read(readEnd, bytes.data(), bytes.size());
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return;
      // What is too long is read on, so that the child can end, and then refused.
      if (answer.size() < kMostBytes) answer.append(bytes.data(), static_cast<std::size_t>(got));
    }
  }

  pid_t child;
  int readEnd;
  std::string answer;
};

std::unique_ptr<FileChooser> spawned(const std::string& program,
                                     std::vector<std::string> arguments) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return nullptr;
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  SpawnSettings settings;
  pid_t child = 0;
  const bool isRunning =
      settings.prepare(ends[1]) && ::posix_spawn(&child, program.c_str(), &settings.actions,
                                                 &settings.attributes, argv.data(), environ) == 0;
  ::close(ends[1]);
  if (isRunning) return std::make_unique<ChooserProcess>(child, ends[0]);
  ::close(ends[0]);
  return nullptr;
}

}  // namespace

std::unique_ptr<FileChooser> FileChooser::open(const FileDialog& dialog) {
  if (environmentText("DISPLAY").empty() && environmentText("WAYLAND_DISPLAY").empty()) {
    return nullptr;
  }
  const bool likesKde = environmentText("XDG_CURRENT_DESKTOP").find("KDE") != std::string::npos;
  for (const bool kde : {likesKde, !likesKde}) {
    const std::string program = programPath(kde ? "kdialog" : "zenity");
    if (program.empty()) continue;
    return spawned(program, kde ? kdialogArguments(dialog) : zenityArguments(dialog));
  }
  return nullptr;
}
