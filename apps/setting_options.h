#pragma once

#include <string>
#include <vector>

#include "apps/command_line.h"
#include "apps/settings.h"

/// The options `--set` and `--setn` of a command. `command` must outlive it.
class SettingOptions {
 public:
  explicit SettingOptions(CLI::App& command);

  /// The settings of both options in the order of the command line, after it was parsed.
  /// Throws `WrongArguments`; what had to be corrected is told to `warnings`.
  [[nodiscard]] std::vector<Setting> parse(std::vector<std::string>& warnings) const;

 private:
  const CLI::App& app;
  const CLI::Option* plain;
  const CLI::Option* normalised;
};
