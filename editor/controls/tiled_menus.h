#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "editor/controls/tiled_buttons.h"
#include "toolkit/option_menu.h"

/// A menu that looks like a button of the title bar: the text of its present entry, with an arrow.
/// Threads, for all of these: as `CView`.
class tiledMenu : public WithKeys<COptionMenu>, public nTiledButton {
 public:
  /// The look's title is what is written, unless it is empty. `entries`: parts of a text, as
  /// `COptionMenu::addEntries` takes them.
  tiledMenu(const ControlSetup& setup, TileLook look, std::string_view entries);

  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;

 private:
  TextStyle style;
  IconPicture arrow;
};

/// The banks. The right button goes back to another one, told as a change of `alttag`.
class tiledSOptionMenu : public tiledMenu {
 public:
  tiledSOptionMenu(const ControlSetup& setup, TileLook look, std::string_view entries,
                   std::int32_t alttag = -1);

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  std::int32_t alttag;
};

/// To which bank the present one is copied.
class tiledCopyToMenu : public tiledSOptionMenu {
 public:
  tiledCopyToMenu(const ControlSetup& setup, TileLook look, std::string_view entries);
};

/// What the graph shows.
class tiledGraphMenu : public tiledMenu {
 public:
  tiledGraphMenu(const ControlSetup& setup, Held<CBitmap> frames);
};

/// What is heard.
class tiledSCMenu : public tiledMenu {
 public:
  tiledSCMenu(const ControlSetup& setup, Held<CBitmap> frames);
};

/// What keeps its value when a preset is loaded.
class tiledLockMenuButton : public tiledMenu {
 public:
  tiledLockMenuButton(const ControlSetup& setup, Held<CBitmap> frames);
};

/// A control of no window that tells a listener of a value for a tag. Its size is `place`: what a
/// menu is to open at, in the coordinates of the frame.
class CTagUpdate : public CControl {
 public:
  static void send(CControlListener& listener, std::int32_t tag, float value,
                   const CRect& place = {});

 private:
  using CControl::CControl;
};
