#pragma once

// The headers of the window system, to be included by way of this one alone: their name for a
// pointer's picture is `Cursor` in all of the toolkit.
#define Cursor X11Cursor
#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xcursor/Xcursor.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XShm.h>
#undef Cursor
