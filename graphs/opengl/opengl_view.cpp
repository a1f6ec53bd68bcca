#include "graphs/opengl/opengl_view.h"

#include <chrono>
#include <cstdint>
#include <exception>

#include "platform/clock.h"
#include "platform/native_window.h"

namespace {

constexpr std::int64_t kFrameMs = 16;

}  // namespace

OpenGLView::OpenGLView(const CRect& rect, int samplesPerPixel)
    : CControl({rect, nullptr, -1}), multisampleSamples(samplesPerPixel) {
  setMouseEnabled(false);
}

OpenGLView::~OpenGLView() = default;

bool OpenGLView::createGLContext(NativeWindow& window) {
  context = window.makeGlContext(multisampleSamples);
  if (context == nullptr) return false;
  const std::lock_guard guard(lock);
  if (!context->makeCurrent()) {
    context.reset();
    return false;
  }
  context->setSwapInterval(vsync ? 1 : 0);
  initGL();
  context->release();
  return true;
}

bool OpenGLView::openWindow(NativeWindow& window) {
  closeWindow();
  if (!createGLContext(window)) return false;
  stopRequested.store(false, std::memory_order_relaxed);
  try {
    thread = std::thread([this] { run(); });
  } catch (const std::exception&) {  // the system has no thread to give
    closeWindow();
    return false;
  }
  return true;
}

void OpenGLView::closeWindow() {
  stopRequested.store(true, std::memory_order_relaxed);
  if (thread.joinable()) thread.join();
  if (context == nullptr) return;
  const std::lock_guard guard(lock);
  const bool isCurrent = context->makeCurrent();
  contextCloses();
  if (isCurrent) context->release();
  context.reset();
}

void OpenGLView::removed() {
  closeWindow();
  CControl::removed();
}

void OpenGLView::run() noexcept {
  while (!isStopping()) {
    const std::int64_t start = monotonicMilliseconds();
    try {
      drawOnce();
    } catch (const std::exception&) {  // no memory: the next frame may have it
    }
    const std::int64_t elapsed = monotonicMilliseconds() - start;
    if (elapsed < kFrameMs) {
      std::this_thread::sleep_for(std::chrono::milliseconds(kFrameMs - elapsed));
    }
  }
}

void OpenGLView::drawOnce() {
  const std::lock_guard guard(lock);
  renderIdle();
  if (!hasNews() || !context->makeCurrent()) return;
  platformDraw();
  swap();
  context->release();
}
