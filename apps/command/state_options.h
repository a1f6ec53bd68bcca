#pragma once

#include <string>
#include <vector>

#include "apps/command/command_line.h"
#include "apps/effect/effect_state.h"
#include "apps/effect/settings.h"

/// The options `--set` and `--setn` of a command. `command` must outlive it.
class SettingOptions {
 public:
  explicit SettingOptions(CLI::App& command);

  // Call after parsing.
  [[nodiscard]] bool isGiven() const {
    return !valuesOf(plain).empty() || !valuesOf(normalised).empty();
  }
  /// Applies the settings of both options to `plug` in the order of the command line, each read by
  /// what was set before it, and returns them. Throws `WrongArguments`; corrections are added to
  /// `warnings`.
  [[nodiscard]] std::vector<Setting> parse(Plug& plug, std::vector<std::string>& warnings) const;

 private:
  const CLI::App& app;
  const CLI::Option* plain;
  const CLI::Option* normalised;
};

/// The options by which a command sets up the effect: `--state`, `--bank`, `--preset`,
/// `--band-file` and those of `SettingOptions`. `command` must outlive it.
class StateOptions {
 public:
  /// `isBandFree`: whether `--band` is free to be another name of `--band-file`.
  explicit StateOptions(CLI::App& command, bool isBandFree = true);

  /// Call after parsing. Reads the files: first a state or bank, then a preset, then bands. Throws
  /// `Failure` and `WrongArguments`; what the effect will skip or correct is added to `warnings`.
  [[nodiscard]] EffectState read(std::vector<std::string>& warnings) const;

 private:
  void addFile(const std::string& path, StateFile::Role role, int band, EffectState& result,
               std::vector<std::string>& warnings) const;
  void addBand(const std::string& text, EffectState& result,
               std::vector<std::string>& warnings) const;

  std::string state;
  std::string bank;
  std::string preset;
  std::vector<std::string> bands;
  std::vector<CLI::Option*> options;
  SettingOptions settings;
};
