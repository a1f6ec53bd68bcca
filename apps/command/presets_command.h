#pragma once

#include "apps/command/command_line.h"

/// `corvanthelis presets`: lists the user's presets and the factory presets, and prints the
/// folders.
class PresetsCommand {
 public:
  explicit PresetsCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  [[nodiscard]] CLI::App& addList();
  [[nodiscard]] CLI::App& addPath();

  CLI::App& app;
  bool json = false;
  const CLI::App& list;
  const CLI::App& path;
};
