#pragma once

#include <span>
#include <string>
#include <vector>

#include "apps/effect/settings.h"
#include "core/plug.h"

/// A file with settings for the effect, already read and checked.
struct StateFile {
  enum class Role { kState, kBank, kPreset, kBand };

  Role role = Role::kState;
  std::string name;  ///< path
  std::string text;  ///< the document, unpacked
  int band = 0;      ///< 0..7, of a band file
};

/// The settings of the effect before the first block: files, then single settings, each applied in
/// order.
struct EffectState {
  std::vector<StateFile> files;
  std::vector<Setting> settings;
};

/// Throws std::bad_alloc if memory ran out before the engine had all settings: it would render a
/// different sound.
void requireUpdate(const Plug& plug);

/// Sets parameters of `plug` in the order of `settings`.
void applySettings(Plug& plug, std::span<const Setting> settings);

/// Loads one file. Throws `Failure` if the effect refuses it. A band file overrides locks, which
/// are restored afterwards.
void loadStateFile(Plug& plug, const StateFile& file);

/// The document of the present settings: a preset, or a state with all banks. Leaves compression
/// off. Throws std::bad_alloc.
[[nodiscard]] std::string storedText(Plug& plug, bool isPreset);

/// Applies `state` to a new `plug`. Locks and links of its files are cleared, so that settings and
/// automation change exactly the parameters that they name.
void applyState(Plug& plug, const EffectState& state);
