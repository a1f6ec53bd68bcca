#pragma once

#include "editing/menu.h"

class BankSelector;
class EditedParameters;
class PresetFiles;

// Menus by which whole states are chosen. What they name must outlive them. Threads: message
// thread.

/// Banks A to H, the live one checked; an entry makes its bank the live one.
[[nodiscard]] Menu bankMenu(const EditedParameters& parameters, BankSelector& banks);
/// The same banks; an entry overwrites its bank with the present values.
[[nodiscard]] Menu bankCopyMenu(BankSelector& banks);
/// The presets as they were found last (`PresetFiles::presetMenu`); an entry loads its preset.
[[nodiscard]] Menu presetMenu(PresetFiles& files);
