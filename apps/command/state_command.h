#pragma once

#include <string>

#include "apps/command/command_line.h"

/// `corvanthelis state`: shows, checks, compares and makes stored states, presets, banks and band
/// files.
class StateCommand {
 public:
  explicit StateCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`; throws `Failure` and `WrongArguments`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  [[nodiscard]] CLI::App& addShow();
  [[nodiscard]] CLI::App& addPack();
  [[nodiscard]] CLI::App& addCheck();
  [[nodiscard]] CLI::App& addDiff();
  void writePacked() const;

  CLI::App& app;
  std::string first;
  std::string second;
  bool asTexts = false;
  std::string bank;  // letter; empty for the program
  const CLI::App& show;
  const CLI::App& pack;
  const CLI::App& check;
  const CLI::App& diff;
};
