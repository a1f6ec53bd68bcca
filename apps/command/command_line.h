#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

// Commands and their options. The parser is templates that take most of the time to compile: what
// defines a command sees none of them.

/// How an option is given and what the help tells of it.
struct OptionForm {
  const char* type = "";  ///< of its value, as the help names it
  bool isRequired = false;
  bool showsDefault = false;
  bool isRepeatable = false;  ///< with one value each time
  std::optional<std::pair<int, int>> range{};
  std::vector<std::string> choices{};
};

/// The program's own command line, with the options `--help` and `--version`.
class CommandLine {
 public:
  CommandLine(const char* description, const char* name, const char* version);
  ~CommandLine();

  [[nodiscard]] CLI::App& program() noexcept { return *app; }
  /// Fills what the options name. False where it has answered already, as to `--help`. Throws
  /// `WrongArguments`.
  [[nodiscard]] bool parse(int argc, char** argv);

 private:
  std::unique_ptr<CLI::App> app;
};

[[nodiscard]] CLI::App& addCommand(CLI::App& parent, const char* name, const char* description);
void setFooter(CLI::App& command, const char* text);
/// One of the commands below `command` has to be given.
void requireCommand(CLI::App& command);
/// After parsing: whether `command` was given.
[[nodiscard]] bool isChosen(const CLI::App& command);

// Values go to `value`, which must outlive the parsing; a name without dashes is that of a place.
CLI::Option* addOption(CLI::App& command, const char* name, std::string& value,
                       const char* description, const OptionForm& form = {});
CLI::Option* addOption(CLI::App& command, const char* name, std::vector<std::string>& values,
                       const char* description, const OptionForm& form = {});
CLI::Option* addOption(CLI::App& command, const char* name, int& value, const char* description,
                       const OptionForm& form = {});
CLI::Option* addOption(CLI::App& command, const char* name, double& value, const char* description,
                       const OptionForm& form = {});
/// An option that keeps its own values, see `valuesOf`.
CLI::Option* addOption(CLI::App& command, const char* name, const char* description,
                       const OptionForm& form);
CLI::Option* addFlag(CLI::App& command, const char* name, bool& value, const char* description);
/// `option` is taken only together with `other`, or only without it.
void require(CLI::Option* option, CLI::Option* other);
void exclude(CLI::Option* option, CLI::Option* other);

// After parsing.
[[nodiscard]] const std::vector<std::string>& valuesOf(const CLI::Option* option);
/// Every option as often as it was given, in the order of the command line.
[[nodiscard]] std::vector<const CLI::Option*> optionsInOrder(const CLI::App& command);
/// Throws `WrongArguments` where one of `options` was given an empty name: most likely a variable
/// of a script that was not set.
void refuseEmptyNames(const std::vector<CLI::Option*>& options);
