#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/gl_context.h"
#include "toolkit/control.h"

class NativeWindow;

/// A view that a thread of its own draws with OpenGL, at most every 16 ms. Threads: opened and
/// closed on the message thread; `initGL` there as well, `platformDraw` and `swap` on the render
/// thread, with the context current and `lock` held.
class OpenGLView : public CControl {
 public:
  /// `multisampleSamples`: per pixel, 0 for none; a driver that has not as many gives none.
  OpenGLView(const CRect& size, int multisampleSamples);

  /// Makes a context that draws to `window`, which outlives it, and starts the render thread. False
  /// where there is no OpenGL; nothing is left of it then.
  [[nodiscard]] bool openWindow(NativeWindow& window);
  /// Waits for the frame being drawn. The context goes, what is kept in it first.
  void closeWindow();
  [[nodiscard]] bool isRunning() const noexcept { return thread.joinable(); }
  /// Samples per pixel that the context really has.
  [[nodiscard]] int samples() const noexcept { return context ? context->samples() : 0; }

  void removed() override;

 protected:
  ~OpenGLView() override;

  /// Once, the context current for the first time.
  virtual void initGL() {}
  /// Before a frame is looked at: what moves by itself moves on.
  virtual void renderIdle() {}
  /// Whether there is anything new to draw.
  [[nodiscard]] virtual bool hasNews() = 0;
  virtual void platformDraw() = 0;
  /// The context is about to go, and is current.
  virtual void contextCloses() {}
  virtual void swap() { context->swap(); }
  /// `closeWindow` waits for the render thread: it must not wait for anything any more.
  [[nodiscard]] bool isStopping() const noexcept {
    return stopRequested.load(std::memory_order_relaxed);
  }

  /// Guards the context: the render thread holds it for a whole frame.
  std::mutex lock;

 private:
  [[nodiscard]] bool createGLContext(NativeWindow& window);
  void run() noexcept;
  void drawOnce();

  const int multisampleSamples;
  const bool vsync = true;
  std::unique_ptr<GlContext> context;
  std::thread thread;
  std::atomic<bool> stopRequested{false};
};
