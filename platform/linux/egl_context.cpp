#include "platform/linux/egl_context.h"

#include <EGL/eglext.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>

void EglContext::end() {
  if (context != EGL_NO_CONTEXT) eglDestroyContext(display, context);
  if (surface != EGL_NO_SURFACE) eglDestroySurface(display, surface);
  if (endsDisplay) eglTerminate(display);
  abandon();
}

void EglContext::abandon() {
  context = EGL_NO_CONTEXT;
  surface = EGL_NO_SURFACE;
  endsDisplay = false;
}

bool EglContext::choose(EGLDisplay ofDisplay, bool isOwn, EGLint surfaceType, int samples) {
  display = ofDisplay;
  if (display == EGL_NO_DISPLAY || eglInitialize(display, nullptr, nullptr) != EGL_TRUE) {
    return false;
  }
  endsDisplay = isOwn;
  for (const int wanted : {samples, 0}) {
    const EGLint attributes[] = {EGL_SURFACE_TYPE,
                                 surfaceType,
                                 EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_BIT,
                                 EGL_RED_SIZE,
                                 8,
                                 EGL_GREEN_SIZE,
                                 8,
                                 EGL_BLUE_SIZE,
                                 8,
                                 EGL_ALPHA_SIZE,
                                 0,
                                 EGL_DEPTH_SIZE,
                                 24,
                                 EGL_SAMPLE_BUFFERS,
                                 wanted > 0 ? 1 : 0,
                                 EGL_SAMPLES,
                                 wanted,
                                 EGL_NONE};
    std::array<EGLConfig, 256> found{};
    EGLint count = 0;
    eglChooseConfig(display, attributes, found.data(), static_cast<EGLint>(found.size()), &count);
    for (const EGLConfig candidate : std::span(found).first(static_cast<std::size_t>(count))) {
      // Ones with more bits come first.
      if (attributeOf(candidate, EGL_RED_SIZE) != 8 || !accepts(candidate)) continue;
      config = candidate;
      sampleCount = attributeOf(config, EGL_SAMPLES);
      return true;
    }
  }
  return false;
}

EGLint EglContext::attributeOf(EGLConfig ofConfig, EGLint name) const {
  EGLint value = 0;
  eglGetConfigAttrib(display, ofConfig, name, &value);
  return value;
}

bool EglContext::make(EGLSurface ofSurface) {
  surface = ofSurface;
  // Per thread, and the host may have asked for another.
  const EGLenum before = eglQueryAPI();
  eglBindAPI(EGL_OPENGL_API);
  context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
  eglBindAPI(before);
  return surface != EGL_NO_SURFACE && context != EGL_NO_CONTEXT;
}

bool EglContext::makeCurrent() {
  return eglMakeCurrent(display, surface, surface, context) == EGL_TRUE;
}

void EglContext::release() {
  eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

void EglContext::swap() { eglSwapBuffers(display, surface); }

void EglContext::setSwapInterval(int interval) { eglSwapInterval(display, interval); }

namespace {

class OffScreenContext final : public EglContext {
 public:
  [[nodiscard]] bool open(int width, int height, int samples) {
    // One for the whole process, others in it included: never ended.
    const EGLDisplay none =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (!choose(none, false, EGL_PBUFFER_BIT, samples)) return false;
    const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
    return make(eglCreatePbufferSurface(display, config, size));
  }
};

}  // namespace

std::unique_ptr<GlContext> GlContext::makeOffScreen(int width, int height, int samples) {
  auto context = std::make_unique<OffScreenContext>();
  if (!context->open(std::max(width, 1), std::max(height, 1), samples)) return nullptr;
  return context;
}
