#pragma once

#include <memory>

#include "platform/gl_context.h"
#include "platform/linux/x11_display.h"
#include "platform/linux/x11_gl_target.h"

/// A context that draws to a window inside `parent`, of its size, which lets the mouse through.
/// GLX or, where the server lacks it, EGL; null without either. It has a connection of its own,
/// so that another thread than that of the events may draw. With the parent or the server gone,
/// `makeCurrent` is refused.
[[nodiscard]] std::unique_ptr<GlContext> makeX11GlContext(Display* display, Window parent,
                                                          std::shared_ptr<X11GlTarget> target,
                                                          int samples);
