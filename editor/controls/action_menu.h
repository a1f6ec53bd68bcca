#pragma once

#include "editing/menu.h"
#include "toolkit/frame.h"
#include "toolkit/geometry.h"

/// Opens a menu of actions for a view, below a place in the coordinates of the view's container.
/// The entry that is chosen runs once the menu has gone, and only while the view is still in its
/// frame. `isPressed`: the press that opens it still lasts. Threads: the message thread, under the
/// frame's lock; does not wait.
void openActionMenu(CView& owner, Menu menu, const CRect& place, bool isPressed);
/// At a point of a frame, whose closing the chosen entry may bring about. A menu without entries
/// does not open.
void openActionMenu(CFrame& frame, CPoint where, Menu menu);
