#pragma once

#include <vector>

#include "apps/command/command_line.h"
#include "apps/command/state_options.h"
#include "core/plug.h"

/// `corvanthelis curve`: the frequency response of one band.
class CurveCommand {
 public:
  struct Point {
    float frequency;  ///< Hz
    double level;     ///< dB, minus infinity if nothing passes
  };
  using Curve = std::vector<Point>;

  explicit CurveCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  void checkRate() const;
  void print(Plug& plug, const Curve& curve) const;

  CLI::App& app;
  StateOptions state;
  int band = 1;  // 1..8
  int points = 512;
  double rate = 48000.0;  // Hz
  bool json = false;
  bool measured = false;
  bool impulse = false;
};
