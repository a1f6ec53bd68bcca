#pragma once

#include <atomic>

#include "platform/linux/x11.h"

/// What a window and the OpenGL context in it know of each other. Threads: any.
struct X11GlTarget {
  std::atomic<bool> isGone{false};    // the window; set by it
  std::atomic<Window> surface{None};  // inside the window, of its size; set by the context
};
