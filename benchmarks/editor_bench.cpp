// What the editor's surface costs: a frame with everything drawn again, one in which nothing has
// changed, and the way from `open` to the first picture. The argument is the scale in percent.

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
#include <thread>

#include "graphs/opengl/cgl_context.h"
#include "graphs/opengl/whole_frame.h"
#include "platform/gl_context.h"
#include "tests/support/becomes.h"
#include "tests/support/edited_effect.h"
#include "tests/support/x_server.h"
// Last, since its macros have common names.
#include "tests/support/host_window.h"

namespace {

/// The editor off the screen.
struct Surface : EditedEffect {
  explicit Surface(const benchmark::State& state) : EditedEffect({false, {}}, 1.0) {
    if (!editor->openOffScreen(static_cast<float>(state.range(0)) / 100)) return;
    frame = editor->shownFrame();
    const CBitmap& picture = *frame->picture();
    width = picture.getWidth();
    height = picture.getHeight();
    isDrawn = (picture.pixels()[width * 10 + 10] & 0xFFFFFFU) != 0;
  }

  CGFrame* frame = nullptr;
  int width = 0;
  int height = 0;
  bool isDrawn = false;
};

void openGlFrame(benchmark::State& state) {
  const Surface surface(state);
  const auto screen = GlContext::makeOffScreen(surface.width, surface.height, 0);
  if (screen == nullptr || !screen->makeCurrent()) {
    state.SkipWithError("there is no OpenGL");
    return;
  }
  {
    CGLContext context;
    const auto draw = [&] {
      const std::lock_guard guard(surface.frame->treeLock());
      drawWholeFrame(context, *surface.frame);
      glFinish();
    };
    draw();
    std::uint32_t pixel = 0;
    glReadPixels(10, surface.height - 11, 1, 1, GL_BGRA, GL_UNSIGNED_BYTE, &pixel);
    if ((pixel & 0xFFFFFFU) == 0) state.SkipWithError("nothing was drawn");
    for ([[maybe_unused]] auto _ : state) draw();
  }
  screen->release();
}

void plainFrame(benchmark::State& state) {
  const Surface surface(state);
  if (!surface.isDrawn) state.SkipWithError("nothing was drawn");
  for ([[maybe_unused]] auto _ : state) {
    surface.frame->setDirty();
    benchmark::DoNotOptimize(surface.frame->picture());
  }
}

double cpuSeconds(clockid_t whose) {
  timespec time{};
  clock_gettime(whose, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// The time of the processor for as long as a frame lasts, waking up included: of the thread that
/// draws, which in the plain way is the message thread.
void unchangedFrame(benchmark::State& state, bool usesOpenGl) {
  constexpr auto kFrame = std::chrono::milliseconds(16);
  const XServer server;
  const HostWindow host;
  EditedEffect effect({usesOpenGl, {}}, 1.0);
  const auto isShown = [&] { return effect.editor->idle(), host.isDrawn(); };
  if (!effect.editor->open(host.handle()) || !becomes(isShown)) {
    state.SkipWithError("no picture");
    return;
  }
  std::this_thread::sleep_for(kFrame * 10);
  for ([[maybe_unused]] auto _ : state) {
    const double all = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
    const double own = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    effect.editor->idle();
    std::this_thread::sleep_for(kFrame);
    const double ofThis = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - own;
    const double ofAll = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - all;
    state.SetIterationTime(usesOpenGl ? ofAll - ofThis : ofThis);
  }
  effect.editor->close();
}

void firstPicture(benchmark::State& state, bool usesOpenGl) {
  const XServer server;
  const HostWindow host;
  EditedEffect effect({usesOpenGl, {}}, 1.0);
  for ([[maybe_unused]] auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    const bool isOpen = effect.editor->open(host.handle());
    const auto isShown = [&] { return effect.editor->idle(), host.isDrawn(); };
    if (!isOpen || !becomes(isShown)) state.SkipWithError("no picture");
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(passed.count());
    effect.editor->close();
    if (!becomes([&] { return !host.isDrawn(); })) state.SkipWithError("it does not close");
  }
}

// Threads of a driver in software work beside: what counts is the time that passes.
BENCHMARK(openGlFrame)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(plainFrame)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(unchangedFrame, openGl, true)
    ->Iterations(30)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(unchangedFrame, plain, false)
    ->Iterations(30)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(firstPicture, openGl, true)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(firstPicture, plain, false)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

}  // namespace
