#pragma once

#include "editing/menu.h"

class BankSelector;
class EditedParameters;
class PresetFiles;

// Menus for banks and presets. Their arguments must outlive them. Threads: message thread.

/// Banks A to H, the live one checked. An entry makes its bank the live one.
[[nodiscard]] Menu bankMenu(const EditedParameters& parameters, BankSelector& banks);
/// Banks A to H. An entry overwrites its bank with the present values.
[[nodiscard]] Menu bankCopyMenu(BankSelector& banks);
/// The presets found last (`PresetFiles::presetMenu`). An entry loads its preset.
[[nodiscard]] Menu presetMenu(PresetFiles& files);
