#include "editor/setup_elements.h"

#include <utility>

#include "core/plug.h"
#include "editor/controls/preferences.h"
#include "editor/controls/preset_menus.h"
#include "editor/controls/section.h"
#include "editor/controls/setup_window.h"
#include "editor/controls/ui_preferences.h"
#include "editor/layout/tag_table.h"
#include "toolkit/look.h"

namespace {

constexpr const char* kVersion = "1.03";

/// A menu and, over it, the name of the preset.
template <typename Menu>
CView* makeNamedMenu(const ElementSetup& setup, Held<CBitmap> picture) {
  const CRect whole{0.0F, 0.0F, setup.size.width(), setup.size.height()};
  auto* const box = new CViewContainer(setup.size);
  auto* const menu = new Menu(ControlSetup{whole, setup.listener, setup.tag}, setup.effect);
  menu->setBackground(std::move(picture));
  box->addView(menu);
  box->addView(new PresetName({whole, setup.listener, kGUIPresetName}, setup.effect, *menu));
  return box;
}

}  // namespace

CView* makeSetupWindow(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new SetupWindow(setup, kVersion);
}

CView* makePreferences(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new Preferences(setup, setup.effect.machine().globals(), setup.effect.presetFiles());
}

CView* makeUiPreferences(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return new UIPreferences(setup, setup.effect);
}

CView* makeSection(const LayoutElement& element, const ElementSetup& setup) {
  const auto code = static_cast<std::uint32_t>(getAttributeHex(element.attributes, "colour"));
  return new nSection(setup.size, setup.tag, elementText(element, "text"),
                      code == 0 ? look::kBorder : CColor::rgb(code),
                      elementNumber(element, "autospace"));
}

CView* makePresetMenu(const LayoutElement& element, const ElementSetup& setup) {
  return makeNamedMenu<CPresetMenu>(setup, elementBitmap(element));
}

CView* makePresetMenu2(const LayoutElement& /*element*/, const ElementSetup& setup) {
  return makeNamedMenu<CTTPresetMenu2>(setup, {});
}
