#pragma once

#include <memory>

#include "platform/gl_context.h"
#include "platform/linux/x11_display.h"
#include "platform/linux/x11_gl_target.h"

/// A context that draws to a window inside `parent`, of its size, which lets the mouse through;
/// null where the driver has none. It has a connection of its own, so that another thread than that
/// of the events may draw. With the parent or the server gone, `makeCurrent` is refused.
///
/// To be tried first: of GLX, some drivers go on with a picture of arbitrary size when the window
/// goes while it is drawn to.
[[nodiscard]] std::unique_ptr<GlContext> makeX11EglContext(Display* display, Window parent,
                                                           std::shared_ptr<X11GlTarget> target,
                                                           int samples);
[[nodiscard]] std::unique_ptr<GlContext> makeX11GlxContext(Display* display, Window parent,
                                                           std::shared_ptr<X11GlTarget> target,
                                                           int samples);
