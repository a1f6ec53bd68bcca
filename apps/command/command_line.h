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

// Commands and their options. Hides the parser, whose templates take long to compile, from the
// files that define commands.

/// How an option is given, and what the help says about it.
struct OptionForm {
  const char* type = "";  ///< type of its value, as the help names it
  bool isRequired = false;
  bool showsDefault = false;
  bool isRepeatable = false;  ///< may be repeated, with one value each time
  std::optional<std::pair<int, int>> range{};
  std::vector<std::string> choices{};
};

/// The program's own command line, with the options `--help` and `--version`.
class CommandLine {
 public:
  CommandLine(const char* description, const char* name, const char* version);
  ~CommandLine();

  [[nodiscard]] CLI::App& program() noexcept { return *app; }
  /// Parses and stores the values of the options. False if nothing is left to do, as after
  /// `--help`. Throws `WrongArguments`.
  [[nodiscard]] bool parse(int argc, char** argv);

 private:
  std::unique_ptr<CLI::App> app;
};

[[nodiscard]] CLI::App& addCommand(CLI::App& parent, const char* name, const char* description);
void setFooter(CLI::App& command, const char* text);
/// Requires one of the subcommands of `command`.
void requireCommand(CLI::App& command);
/// After parsing: whether `command` was given.
[[nodiscard]] bool isChosen(const CLI::App& command);

// Values go to `value`, which must outlive the parsing. A name without dashes is positional.
CLI::Option* addOption(CLI::App& command, const char* name, std::string& value,
                       const char* description, const OptionForm& form = {});
CLI::Option* addOption(CLI::App& command, const char* name, std::vector<std::string>& values,
                       const char* description, const OptionForm& form = {});
CLI::Option* addOption(CLI::App& command, const char* name, int& value, const char* description,
                       const OptionForm& form = {});
CLI::Option* addOption(CLI::App& command, const char* name, double& value, const char* description,
                       const OptionForm& form = {});
/// An option that stores its own values; see `valuesOf`.
CLI::Option* addOption(CLI::App& command, const char* name, const char* description,
                       const OptionForm& form);
CLI::Option* addFlag(CLI::App& command, const char* name, bool& value, const char* description);
// `option` is accepted only together with `other`, or only without it.
void require(CLI::Option* option, CLI::Option* other);
void exclude(CLI::Option* option, CLI::Option* other);

// After parsing.
[[nodiscard]] const std::vector<std::string>& valuesOf(const CLI::Option* option);
/// All options given, in the order of the command line; repeated ones appear repeatedly.
[[nodiscard]] std::vector<const CLI::Option*> optionsInOrder(const CLI::App& command);
/// Throws `WrongArguments` if one of `options` was given an empty name, most likely from an unset
/// variable of a script.
void refuseEmptyNames(const std::vector<CLI::Option*>& options);
