#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/device_picture.h"
#include "toolkit/menu_entry.h"
#include "toolkit/param_display.h"

class COptionMenu;

/// An entry of a `COptionMenu`.
struct CMenuItem {
  std::string title;
  Held<COptionMenu> submenu{};
  bool isSeparator = false;
  bool isEnabled = true;
  bool isChecked = false;
};

enum COptionMenuStyle : std::int32_t {
  kPopupStyle = 1 << 16,          ///< opens over the view, with the present entry where it stands
  kCheckStyle = 1 << 17,          ///< the present entry is checked
  kMultipleCheckStyle = 1 << 18,  ///< entries are checked by `checkEntry` alone
};

/// A menu that a press or a key opens; its value is the index of the present entry, and separators
/// count. What the user chooses is told to the listener as a change of the value, also where it is
/// the present one; a choice in a submenu sets that one's value and is told by the outermost menu.
/// Threads: as `CControl`; nothing here waits.
class COptionMenu : public CParamDisplay {
 public:
  explicit COptionMenu(const ControlSetup& setup, std::int32_t style = 0);

  /// A title that begins with `-` makes a separator. Below 0: at the end. Null for an index beyond
  /// it. Valid until entries are added or removed.
  CMenuItem* addEntry(std::string title, int index = -1);
  /// Takes over the count that the maker of `submenu` has.
  CMenuItem* addEntry(COptionMenu* submenu, std::string title, int index = -1);
  CMenuItem* addSeparator(int index = -1);
  /// Adds an entry for each part of a text between line ends or `\n` in two characters.
  void addEntries(std::string_view fillText);
  bool removeEntry(int index);
  void removeAllEntry();
  [[nodiscard]] CMenuItem* getEntry(int index) noexcept;
  [[nodiscard]] const CMenuItem* getEntry(int index) const noexcept;
  [[nodiscard]] int getNbEntries() const noexcept { return static_cast<int>(items.size()); }
  [[nodiscard]] COptionMenu* getSubMenu(int index) noexcept;

  bool checkEntry(int index, bool state);
  /// Checks this entry and no other.
  bool checkEntryAlone(int index);
  bool enableEntry(int index, bool state);
  [[nodiscard]] bool isCheckEntry(int index) const noexcept;

  /// The present entry; null without one.
  [[nodiscard]] CMenuItem* getCurrent() noexcept { return getEntry(getCurrentIndex()); }
  [[nodiscard]] int getCurrentIndex() const noexcept;
  bool setCurrent(int index);
  void setValue(float index) override;

  /// The index that was chosen last, in the menu that `getLastItemMenu` gives; -1 for none.
  [[nodiscard]] int getLastResult() const noexcept { return lastResult; }
  [[nodiscard]] COptionMenu* getLastItemMenu() noexcept;
  /// The button that opened it last.
  [[nodiscard]] CButtonState getLastButton() const noexcept { return lastButton; }

  /// Opens it below the view, or at a point of the frame. What is chosen comes to the listener,
  /// unless the view has left its frame meanwhile.
  void popup();
  /// Also for a menu that is no view of any frame.
  void popup(CFrame& shownIn, CPoint where);

  void draw(CDrawContext& context) override;
  void removed() override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  /// Drawn as the background while the menu is open.
  void setClickedBackground(Held<CBitmap> bitmap) { clickedBackground = std::move(bitmap); }

 protected:
  /// What is about to be shown may still be changed.
  virtual void beforePopup() {}
  /// The user has chosen this entry, of which the listener hears next.
  virtual void choose(int index) { setValue(static_cast<float>(index)); }
  [[nodiscard]] bool isPoppedUp() const noexcept { return isOpen; }

 private:
  void popupAt(CFrame* shownIn, const CRect& anchor, bool isOver, bool isPressed);
  [[nodiscard]] std::vector<MenuEntry> shownEntries(bool checksCurrent) const;
  void chosen(const std::vector<std::size_t>& path);
  CMenuItem* put(CMenuItem item, int index);

  std::vector<CMenuItem> items;
  Held<CBitmap> clickedBackground;
  Held<COptionMenu> lastMenu;  // a submenu; empty for the menu itself
  CButtonState lastButton;
  int lastResult = -1;
  bool isOpen = false;
  bool wasRemoved = false;  // since it was opened
  IconPicture arrow;
};
