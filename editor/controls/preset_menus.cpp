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

CPresetMenu::CPresetMenu(const ControlSetup& setup, Plug& shown)
    : CPresetSubMenu(setup), plug(shown) {}

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
  CPresetSubMenu::valueChanged();
}

void CPresetMenu::draw(CDrawContext& context) {
  if (getBackground() != nullptr) context.drawBitmap(*getBackground(), size);
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
  return CPresetSubMenu::onMouseDown(where, buttons);
}

bool CPresetMenu::onKeyDown(const KeyEvent& key) {
  if (key.key != Key::kReturn && key.key != Key::kEnter && key.key != Key::kSpace) return false;
  refresh();
  return getNbEntries() == 0 || CPresetSubMenu::onKeyDown(key);
}

bool CPresetMenu::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}

void CPresetMenu::onIdle() {
  if (waits && getFrame()->now() < pressedAt + kSecondPressMs) return;
  const bool opens = waits;
  forgetPress();
  if (!opens || getFrame()->getModalView() != nullptr) return;
  refresh();
  if (getNbEntries() > 0) popup();
}

void CPresetMenu::forgetPress() {
  waits = false;
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, false);
}

void CPresetMenu::removed() {
  forgetPress();
  CPresetSubMenu::removed();
}

void CTTPresetMenu::draw(CDrawContext& context) {
  const CColor colour = isHot || isPoppedUp() ? look::kText : look::kLabel;
  arrow.draw(context, {size.right - kArrowFromRight, size.centre().y + 0.5F}, kPresetArrowSize,
             Icon::kDown, colour);
  setDirty(false);
}

void CTTPresetMenu::onMouseEntered(CPoint /*where*/, CButtonState /*buttons*/) {
  isHot = true;
  setDirty();
}

void CTTPresetMenu::onMouseExited() {
  isHot = false;
  setDirty();
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
