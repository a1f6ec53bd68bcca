#pragma once

#include "editing/menu.h"
#include "toolkit/option_menu.h"

// Menus of the effect, shown by the toolkit. Threads: the message thread, under the frame's lock.

/// Gives `shown` the entries of `menu` in place of its own, submenus with theirs.
void fillMenu(COptionMenu& shown, const Menu& menu);

/// The entry that the user chose last in `shown`, which `menu` has filled; null for none.
[[nodiscard]] const Menu::Entry* chosenEntry(COptionMenu& shown, const Menu& menu);

/// Opens a menu at a point of the frame and does what the user chooses, which may close the frame.
/// What the entries work on must live as long as the frame is open.
void popupMenu(CFrame& frame, CPoint where, Menu menu);
