#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/menu_entry.h"
#include "toolkit/menu_panel.h"
#include "toolkit/view.h"

/// A menu that is open, with its submenus, over everything else in a frame. It has all of mouse and
/// keys until an entry is chosen, or it is left by a press elsewhere or Escape; that press does
/// nothing else. A press that opened it may be dragged to an entry and released there.
///
/// Threads: the message thread, under the frame's lock; nothing here waits.
class PopupMenu : public CView {
 public:
  /// Indices of the chosen entry, from the outermost menu inwards; empty where none was chosen.
  using Path = std::vector<std::size_t>;
  using Answer = std::function<void(const Path& path)>;

  /// Where it opens, in the frame. It stands below `anchor`, or above it where there is more room.
  struct Place {
    CRect anchor;
    int over = MenuPanel::kNone;  ///< this row stands over the anchor instead
    bool isPressed = false;       ///< the press that opens it still lasts
  };

  /// `answer` comes once, after the menu has gone; it may close the frame. Without an open frame it
  /// comes at once.
  static void open(CFrame& frame, std::vector<MenuEntry> entries, const Place& place,
                   Answer answer);

  /// The boxes that are open, the outermost first.
  [[nodiscard]] std::size_t panelCount() const noexcept { return panels.size(); }
  [[nodiscard]] const MenuPanel& panel(std::size_t level) const { return *panels.at(level); }

  void draw(CDrawContext& context) override;
  void attached(CViewContainer& holder) override;
  void removed() override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  bool onKeyUp(const KeyEvent& /*key*/) override { return true; }
  /// It would stand in the wrong place: closes.
  void frameResized() override { finish({}); }
  void onIdle() override;

 protected:
  ~PopupMenu() override;

 private:
  PopupMenu(std::vector<MenuEntry> entries, const Place& place, Answer answer);

  void placeFirst(const CRect& window);
  void openSubmenu(std::size_t level, int row);
  void closeAfter(std::size_t level);
  void fitSize();
  void changed();
  [[nodiscard]] int levelAt(CPoint where) const;
  void pointAt(CPoint where);
  void choose(std::size_t level, int row);
  void finish(const Path& path);
  void moveTo(int row);
  bool moveKey(Key key);
  void enter();
  void typeAhead(const std::string& text);

  std::vector<MenuEntry> entries;
  Place place;
  Answer answer;
  std::vector<std::unique_ptr<MenuPanel>> panels;  // the outermost first
  std::size_t keyLevel = 0;                        // the panel that keys move in
  CPoint openedAt;
  bool canRelease = false;  // a release chooses
  CPoint lastMouse;
  float wheelRest = 0.0F;
  std::uint64_t scrolledAt = 0;
  std::string typed;
  std::uint64_t typedAt = 0;
};
