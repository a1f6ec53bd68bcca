#pragma once

#include <string>
#include <vector>

#include "apps/command/command_line.h"
#include "apps/command/state_options.h"

/// `corvanthelis params`: the list of parameters.
class ParamsCommand {
 public:
  explicit ParamsCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  CLI::App& app;
  bool json = false;
};

/// `corvanthelis format`: the texts with which values are shown.
class FormatCommand {
 public:
  explicit FormatCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  CLI::App& app;
  StateOptions state;
  bool note = false;
  std::string identifier;
  std::vector<std::string> values;
};

/// `corvanthelis latency`: the delay of the effect with some settings.
class LatencyCommand {
 public:
  explicit LatencyCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  CLI::App& app;
  StateOptions state;
  double rate = 48000.0;  // Hz
  bool offline = false;
};
