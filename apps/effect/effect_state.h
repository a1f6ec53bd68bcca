#pragma once

#include <span>
#include <string>
#include <vector>

#include "apps/effect/settings.h"
#include "core/plug.h"

/// A file that the effect is to be set by, read and found sound.
struct StateFile {
  enum class Role { kState, kBank, kPreset, kBand };

  Role role = Role::kState;
  std::string name;  ///< path
  std::string text;  ///< the document, unpacked
  int band = 0;      ///< 0..7, of a band file
};

/// What the effect is set to before the first block: by files, then by single settings, each in
/// this order.
struct EffectState {
  std::vector<StateFile> files;
  std::vector<Setting> settings;
};

/// Throws std::bad_alloc where the engine has not got all that the effect was told: what it would
/// render is another sound.
void requireUpdate(const Plug& plug);

/// Sets parameters of `plug` in the order of `settings`.
void applySettings(Plug& plug, std::span<const Setting> settings);

/// Loads one file. Throws `Failure` if the effect refuses it. A band file is not held back by
/// locks; the plug has them again afterwards.
void loadStateFile(Plug& plug, const StateFile& file);

/// Sets a new `plug` to `state`. Locks and links that its files hold do not stay: what is set here
/// or automated later is exactly what is named.
void applyState(Plug& plug, const EffectState& state);
