#pragma once

#include <string>

#include "apps/command/command_line.h"
#include "apps/command/state_options.h"
#include "apps/editor/editor_session.h"

/// `corvanthelis screenshot` and `corvanthelis views`: the editor without a window, as a picture or
/// as a list of what it shows.
class PictureCommand {
 public:
  enum class Kind { kScreenshot, kViews };
  PictureCommand(CLI::App& program, Kind kind);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  [[nodiscard]] EditorView view() const;
  [[nodiscard]] AudioExcerpt audio() const;

  Kind kind;
  CLI::App& app;
  StateOptions state;
  std::string output;
  std::string events;
  std::string input;
  std::string mode = "plain";
  double seconds = 10.0;
  double zoom = 1.0;
  double scale = 1.0;
  int band = 1;
  int setupPage = -1;
  bool plain = false;
};

/// `corvanthelis gui`: the editor in a window of its own.
class GuiCommand {
 public:
  explicit GuiCommand(CLI::App& program);
  int run() const;  ///< an `ExitStatus`
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  CLI::App& app;
  StateOptions state;
};
