#include "platform/linux/x11_gl_context.h"

// After the window system's own.
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glx.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/egl_context.h"

namespace {

/// The window that is drawn to, on the connection of whoever draws.
class GlSurface {
 public:
  GlSurface(const char* displayName, std::shared_ptr<X11GlTarget> ofWindow)
      : display(displayName), target(std::move(ofWindow)) {}
  ~GlSurface() {
    const X11Guard guard;
    target->surface = None;
    if (window != None && display.isAlive()) XDestroyWindow(display, window);
    if (colours != None && display.isAlive()) XFreeColormap(display, colours);
  }
  GlSurface(const GlSurface&) = delete;
  GlSurface& operator=(const GlSurface&) = delete;

  [[nodiscard]] bool open(Window parent, const XVisualInfo& visual) {
    XWindowAttributes size;
    if (XGetWindowAttributes(display, parent, &size) == 0) return false;
    colours = XCreateColormap(display, RootWindow(static_cast<Display*>(display), visual.screen),
                              visual.visual, AllocNone);
    XSetWindowAttributes own{};
    own.colormap = colours;
    // A parent of another depth needs both told.
    window = XCreateWindow(display, parent, 0, 0, static_cast<unsigned>(size.width),
                           static_cast<unsigned>(size.height), 0, visual.depth, InputOutput,
                           visual.visual, CWColormap | CWBorderPixel, &own);
    XMapWindow(display, window);
    XSync(display, False);  // before the connection of the events gives it another size
    target->surface = window;
    return true;
  }
  /// Also takes in what the server has to say on a connection that nobody reads.
  [[nodiscard]] bool isThere() {
    if (target->isGone || !display.isAlive()) return false;
    for (int waiting = XPending(display); waiting > 0; --waiting) {
      XEvent event;
      XNextEvent(display, &event);
    }
    return display.isAlive();
  }

  X11Display display;
  Window window = None;

 private:
  const std::shared_ptr<X11GlTarget> target;
  Colormap colours = None;
};

class GlxContext final : public GlContext {
 public:
  GlxContext(const char* displayName, std::shared_ptr<X11GlTarget> target)
      : surface(displayName, std::move(target)) {}
  ~GlxContext() override {
    const X11Guard guard;
    if (context != nullptr && surface.display.isAlive()) {
      glXDestroyContext(surface.display, context);
    }
  }
  [[nodiscard]] bool open(Window parent, int samples) {
    if (!surface.display.isAlive() || glXQueryExtension(surface.display, nullptr, nullptr) == 0) {
      return false;
    }
    for (const int wanted : {samples, 0}) {
      if (choose(parent, wanted)) break;
    }
    if (surface.window == None) return false;
    context = glXCreateNewContext(surface.display, config, GLX_RGBA_TYPE, nullptr, True);
    return context != nullptr;
  }

  [[nodiscard]] bool makeCurrent() override {
    whileCurrent.emplace();
    if (surface.isThere() && glXMakeCurrent(surface.display, surface.window, context) != 0) {
      return true;
    }
    whileCurrent.reset();
    return false;
  }
  void release() override {
    glXMakeCurrent(surface.display, None, nullptr);
    whileCurrent.reset();
  }
  void swap() override {
    if (surface.isThere()) glXSwapBuffers(surface.display, surface.window);
  }
  void setSwapInterval(int interval) override;
  [[nodiscard]] int samples() const override { return sampleCount; }

 private:
  [[nodiscard]] bool choose(Window parent, int samples);

  GlSurface surface;
  GLXFBConfig config = nullptr;
  GLXContext context = nullptr;
  int sampleCount = 0;
  std::optional<X11Guard> whileCurrent;
};

bool GlxContext::choose(Window parent, int samples) {
  Display* const display = surface.display;
  const int attributes[] = {GLX_X_RENDERABLE,
                            True,  //
                            GLX_DRAWABLE_TYPE,
                            GLX_WINDOW_BIT,
                            GLX_RENDER_TYPE,
                            GLX_RGBA_BIT,
                            GLX_RED_SIZE,
                            8,
                            GLX_GREEN_SIZE,
                            8,
                            GLX_BLUE_SIZE,
                            8,
                            GLX_DEPTH_SIZE,
                            24,
                            GLX_DOUBLEBUFFER,
                            True,
                            GLX_SAMPLE_BUFFERS,
                            samples > 0 ? 1 : 0,
                            GLX_SAMPLES,
                            samples,
                            None};
  int count = 0;
  GLXFBConfig* const found = glXChooseFBConfig(display, DefaultScreen(display), attributes, &count);
  for (int i = 0; i < count && surface.window == None; ++i) {
    XVisualInfo* const visual = glXGetVisualFromFBConfig(display, found[i]);
    if (visual == nullptr) continue;
    // One with transparency would let the desktop shine through.
    if (visual->depth == 24 && surface.open(parent, *visual)) {
      config = found[i];
      glXGetFBConfigAttrib(display, config, GLX_SAMPLES, &sampleCount);
    }
    XFree(visual);
  }
  if (found != nullptr) XFree(found);
  return surface.window != None;
}

void GlxContext::setSwapInterval(int interval) {
  Display* const display = surface.display;
  const char* const list = glXQueryExtensionsString(display, DefaultScreen(display));
  const std::string known = " " + std::string(list == nullptr ? "" : list) + " ";
  const auto has = [&](std::string_view name) {
    return known.find(" " + std::string(name) + " ") != std::string::npos;
  };
  // The function alone tells nothing: any name has one.
  const auto find = [](const char* name) {
    return glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name));
  };
  if (has("GLX_EXT_swap_control")) {
    const auto set = reinterpret_cast<PFNGLXSWAPINTERVALEXTPROC>(find("glXSwapIntervalEXT"));
    if (set != nullptr) set(display, surface.window, interval);
  } else if (has("GLX_MESA_swap_control")) {
    const auto set = reinterpret_cast<PFNGLXSWAPINTERVALMESAPROC>(find("glXSwapIntervalMESA"));
    if (set != nullptr) set(static_cast<unsigned>(interval));
  }
}

class EglWindowContext final : public EglContext {
 public:
  EglWindowContext(const char* displayName, std::shared_ptr<X11GlTarget> target)
      : surface(std::make_unique<GlSurface>(displayName, std::move(target))) {}
  ~EglWindowContext() override {
    const X11Guard guard;
    if (!surface->display.isAlive()) abandon();
    end();
  }

  [[nodiscard]] bool open(Window parent, int samples) {
    if (!surface->display.isAlive()) return false;
    Display* const native = surface->display;
    if (!choose(eglGetPlatformDisplay(EGL_PLATFORM_X11_KHR, native, nullptr), true, EGL_WINDOW_BIT,
                samples)) {
      return false;
    }
    const bool isOpen = surface->open(parent, visual);
    return isOpen &&
           make(eglCreatePlatformWindowSurface(display, config, &surface->window, nullptr));
  }

  [[nodiscard]] bool makeCurrent() override {
    whileCurrent.emplace();
    if (surface->isThere() && EglContext::makeCurrent()) return true;
    whileCurrent.reset();
    return false;
  }
  void release() override {
    EglContext::release();
    whileCurrent.reset();
  }
  void swap() override {
    if (surface->isThere()) EglContext::swap();
  }

 private:
  [[nodiscard]] bool accepts(EGLConfig candidate) override {
    XVisualInfo wanted{};
    wanted.visualid = static_cast<VisualID>(attributeOf(candidate, EGL_NATIVE_VISUAL_ID));
    int count = 0;
    XVisualInfo* const found = XGetVisualInfo(surface->display, VisualIDMask, &wanted, &count);
    if (found == nullptr) return false;
    visual = *found;
    XFree(found);
    return visual.depth == 24;  // others let the desktop shine through
  }

  std::unique_ptr<GlSurface> surface;
  XVisualInfo visual{};
  std::optional<X11Guard> whileCurrent;
};

template <typename Context>
std::unique_ptr<GlContext> make(Display* display, Window parent,
                                std::shared_ptr<X11GlTarget> target, int samples) {
  const X11Guard guard;
  XSync(display, False);  // the parent must be there for another connection
  auto context = std::make_unique<Context>(DisplayString(display), std::move(target));
  if (!context->open(parent, samples)) return nullptr;
  return context;
}

}  // namespace

std::unique_ptr<GlContext> makeX11EglContext(Display* display, Window parent,
                                             std::shared_ptr<X11GlTarget> target, int samples) {
  return make<EglWindowContext>(display, parent, std::move(target), samples);
}

std::unique_ptr<GlContext> makeX11GlxContext(Display* display, Window parent,
                                             std::shared_ptr<X11GlTarget> target, int samples) {
  return make<GlxContext>(display, parent, std::move(target), samples);
}
