#include "editor/controls/preset_menus.h"

#include <array>
#include <utility>

#include "core/plug.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr float kArrowFromRight = 10.0F;
constexpr float kPresetArrowSize = 9.0F;
constexpr std::size_t kMostNameCharacters = 63;
/// Shorter than the time in which a second press makes a double click, so that a menu is not slow.
constexpr std::uint64_t kSecondPressMs = 250;

}  // namespace

CPresetSubMenu::CPresetSubMenu(std::string folder)
    : COptionMenu(ControlSetup{}), path(std::move(folder)) {}

CPresetSubMenu::CPresetSubMenu(const ControlSetup& setup) : COptionMenu(setup) {}

void CPresetSubMenu::fill(const PresetMenu& folder) {
  removeAllEntry();
  path = folder.path;
  for (const PresetMenu::Entry& entry : folder.entries) {
    CMenuItem* added = nullptr;
    if (entry.submenu != nullptr) {
      auto* const submenu = new CPresetSubMenu(entry.submenu->path);
      submenu->fill(*entry.submenu);
      added = addEntry(submenu, entry.text);
    } else {
      added = addEntry(std::string());
    }
    added->title = entry.text;  // also one that begins like a separator
  }
  setValue(-1.0F);
}

CPresetMenu::CPresetMenu(const ControlSetup& setup, Plug& shown) : WithKeys(setup), plug(shown) {}

void CPresetMenu::refresh() {
  plug.presetFiles().buildPresetMenu();
  fill(*plug.presetFiles().presetMenu());
  setDirty();
}

void CPresetMenu::valueChanged() {
  auto* const from = static_cast<CPresetSubMenu*>(getLastItemMenu());
  const CMenuItem* const item = from != nullptr ? from->getEntry(getLastResult()) : nullptr;
  if (item == nullptr) return;
  plug.presetFiles().choosePresetNamed(from->getPath(), item->title);
  setDirty();
  WithKeys::valueChanged();
}

void CPresetMenu::draw(CDrawContext& context) {
  if (getBackground() != nullptr) context.drawBitmap(*getBackground(), size);
  drawFocus(context, size);
  setDirty(false);
}

CMouseEventResult CPresetMenu::onMouseDown(CPoint where, CButtonState buttons) {
  if (buttons.isLeft() && !opensAtOnce(where)) {
    waits = true;
    pressedAt = getFrame()->now();
    getFrame()->wantIdle(*this, true);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  refresh();
  if (getNbEntries() == 0) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return WithKeys::onMouseDown(where, buttons);
}

bool CPresetMenu::onKeyDown(const KeyEvent& key) {
  const bool opens =
      key.key == Key::kReturn || key.key == Key::kEnter || key.key == Key::kSpace || isMenuKey(key);
  if (!opens) return false;
  refresh();
  if (getNbEntries() > 0) popup();
  return true;
}

bool CPresetMenu::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}

void CPresetMenu::onIdle() {
  WithKeys::onIdle();
  if (!waits) return;
  getFrame()->wantIdle(*this, true);  // also where the fade under the mouse has ended
  if (getFrame()->now() < pressedAt + kSecondPressMs) return;
  forgetPress();
  if (getFrame()->getModalView() != nullptr) return;
  refresh();
  if (getNbEntries() > 0) popup();
}

void CPresetMenu::removed() {
  forgetPress();
  WithKeys::removed();
}

void CTTPresetMenu::draw(CDrawContext& context) {
  const CColor colour = isPoppedUp() ? look::kText : mix(look::kLabel, look::kText, hoverShare());
  arrow.draw(context, {size.right - kArrowFromRight, size.centre().y + 0.5F}, kPresetArrowSize,
             Icon::kDown, colour);
  drawFocus(context, size);
  setDirty(false);
}

PresetName::PresetName(const ControlSetup& setup, Plug& effect, CPresetMenu& below)
    : CTextEdit(setup, {}, kDoubleClickStyle), plug(effect), menu(below) {
  const TextStyle typed = look::bold(look::kTextSize, look::kText);
  setFont(typed.face, typed.size);
  setFontColor(typed.colour);
  setHoriAlign(kCenterText);
  setMaxLength(kMostNameCharacters);
}

std::string PresetName::shownText() const {
  std::array<char, ProgramRecord::kNameCapacity> name{};
  plug.getProgramName(name.data());
  return name.data();
}

void PresetName::draw(CDrawContext& context) {
  setDirty(false);
  const CRect room = size.inset(CTTPresetMenu::kArrowRoom, 0.0F);
  context.drawTextCached(look::cutTo(room.width(), getTextStyle(), shownText()), room,
                         getTextStyle());
}

CMouseEventResult PresetName::onMouseDown(CPoint where, CButtonState buttons) {
  if (buttons.isDouble()) menu.forgetPress();
  return CTextEdit::onMouseDown(where, buttons);
}

void PresetName::takeText(const std::string& utf8) {
  const Held<PresetName> stays(this);
  if (utf8.empty() || utf8 == shownText()) return;
  plug.setProgramName(utf8.c_str());
  setDirty();
  if (getFrame() != nullptr) valueChanged();
}
