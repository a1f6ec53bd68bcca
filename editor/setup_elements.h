#pragma once

#include "editor/element_row.h"

// What makes the views of the setup window and the tray of presets; see `ElementRow::Maker`.
CView* makeSetupWindow(const LayoutElement& element, const ElementSetup& setup);
CView* makePreferences(const LayoutElement& element, const ElementSetup& setup);
CView* makeUiPreferences(const LayoutElement& element, const ElementSetup& setup);
CView* makeSection(const LayoutElement& element, const ElementSetup& setup);
/// A menu with the picture that the layout gives it.
CView* makePresetMenu(const LayoutElement& element, const ElementSetup& setup);
/// A menu with the name of the present preset over it.
CView* makePresetMenu2(const LayoutElement& element, const ElementSetup& setup);
