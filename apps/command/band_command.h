#pragma once

#include <string>
#include <vector>

#include "apps/command/command_line.h"

/// `corvanthelis band`: saves bands of states and presets to band files, and loads them.
class BandCommand {
 public:
  explicit BandCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`; throws `Failure` and `WrongArguments`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  [[nodiscard]] CLI::App& addSave();
  [[nodiscard]] CLI::App& addLoad();
  void saveBand() const;
  void loadBand() const;

  CLI::App& app;
  std::vector<std::string> words;  // arguments of `save`
  bool isDefault = false;
  std::string file;
  int band = 1;  // 1..8
  std::string bandFile;
  std::string output;
  const CLI::App& save;
  const CLI::App& load;
};
