#pragma once

#include <CLI/CLI.hpp>

/// `corvanthelis presets`: the presets of the user and of the program, and where they lie.
class PresetsCommand {
 public:
  explicit PresetsCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return app.parsed(); }

 private:
  [[nodiscard]] CLI::App& addList();
  [[nodiscard]] CLI::App& addPath();

  CLI::App& app;
  bool json = false;
  const CLI::App& list;
  const CLI::App& path;
};
