#pragma once

#include <string>
#include <vector>

#include "apps/command/command_line.h"

/// `corvanthelis band`: takes bands out of states and presets, and puts them in.
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
  std::vector<std::string> words;  // what stands behind `save`
  bool isDefault = false;
  std::string file;
  int band = 1;  // as users count, 1..8
  std::string bandFile;
  std::string output;
  const CLI::App& save;
  const CLI::App& load;
};
