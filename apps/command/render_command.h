#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "apps/command/command_line.h"
#include "apps/command/state_options.h"
#include "apps/output/output_files.h"
#include "apps/render/batch.h"
#include "apps/render/render_pass.h"

/// `corvanthelis render`.
class RenderCommand {
 public:
  explicit RenderCommand(CLI::App& program);

  /// Call after parsing. Returns an `ExitStatus`. Throws `Failure` and `WrongArguments` for
  /// problems that concern all files.
  int run();
  [[nodiscard]] bool chosen() const { return isChosen(app); }

 private:
  struct Plan {
    RenderOptions options;
    std::vector<RenderItem> items;
    std::vector<std::string> warnings;  // about the arguments
  };

  void addFileOptions();
  void addEffectOptions();
  void addReportOptions();
  [[nodiscard]] RenderOptions options(std::vector<std::string>& warnings) const;
  [[nodiscard]] std::vector<RenderItem> items() const;
  [[nodiscard]] Plan plan() const;
  [[nodiscard]] bool isBatch() const noexcept { return !outDirectory.empty(); }
  void print(std::ostream& answer, const Plan& work, const std::vector<RenderOutcome>& outcomes,
             double elapsedSeconds) const;
  [[nodiscard]] std::vector<RenderItem> outputs(std::vector<RenderItem> items) const;
  void savePreset(EffectState settings, const RenderReport& report) const;
  void checkStreams() const;
  void checkMatch(const Plug& plug, const RenderOptions& options) const;
  void checkSidechain(const Plug& plug, const RenderOptions& options,
                      std::vector<std::string>& warnings) const;
  [[nodiscard]] int jobCount() const;

  CLI::App& app;
  StateOptions state;
  std::vector<CLI::Option*> names;  // options whose value must not be empty
  std::vector<std::string> files;
  std::string outDirectory;
  std::string sidechain;
  std::string automation;
  std::string savedPreset;
  std::string format;
  std::string container;
  int block = 1024;
  int jobs = 0;  // 0: one per core
  bool dither = false;
  bool noDither = false;
  bool doubles = false;
  bool realtime = false;
  bool keepLatency = false;
  bool matchLoudness = false;
  bool json = false;
  bool quiet = false;
};
