// What the editor's surface costs: a frame with everything drawn again, one in which nothing has
// changed, and the way from `open` to the first picture. The argument is the scale in percent.

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <mutex>
#include <thread>

#include "core/parameter_table.h"
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

/// Every band runs and works, and what is drawn moves with each block.
struct PlayingSurface : Surface {
  explicit PlayingSurface(const benchmark::State& state) : Surface(state) {
    const auto set = [this](int id, float plain) {
      plug.setParameter(id, plug.plainToNormalised(id, plain));
    };
    for (int band = 0; band < kNumBands; ++band) {
      set(bandParameterId(band, kB1State), 1.0F);
      set(bandParameterId(band, kB1Type), band < 4 ? 0.0F : 1.0F);
      set(bandParameterId(band, kB1SubType), static_cast<float>(band % 3));
      set(bandParameterId(band, kB1Frequency), 60.0F * std::exp2(static_cast<float>(band)));
      set(bandParameterId(band, kB1Threshold), -48.0F);
      set(bandParameterId(band, kB1Ratio), 0.6F);
    }
    plug.onIdle();
    play();
  }
  /// A 60th of a second of noise.
  void play() {
    std::array<float, 735> left{};
    std::array<float, 735> right{};
    for (std::size_t i = 0; i < left.size(); ++i) {
      seed = seed * 1664525U + 1013904223U;
      left[i] = static_cast<float>(seed >> 8) / 16777216.0F - 0.5F;
      right[i] = 0.5F * left[i];
    }
    float* pins[] = {left.data(), right.data(), nullptr, nullptr};
    plug.processReplacing(pins, pins, static_cast<std::int32_t>(left.size()));
    editor->idle();
  }
  std::uint32_t seed = 1;
};

void openGlFrame(benchmark::State& state, bool plays) {
  PlayingSurface surface(state);
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
    for ([[maybe_unused]] auto _ : state) {
      if (plays) {
        state.PauseTiming();
        surface.play();
        state.ResumeTiming();
      }
      draw();
    }
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

/// The editor in a window that shows its first picture.
struct ShownEditor : XServer, HostWindow, EditedEffect {
  explicit ShownEditor(bool usesOpenGl) : EditedEffect({usesOpenGl, {}}, 1.0) {}
  ~ShownEditor() { editor->close(); }
  ShownEditor(const ShownEditor&) = delete;
  ShownEditor& operator=(const ShownEditor&) = delete;

  [[nodiscard]] bool shows() {
    return editor->open(handle()) && becomes([this] { return editor->idle(), isDrawn(); });
  }
};

/// What the message thread does: all of it in the plain way.
void unchangedFrame(benchmark::State& state) {
  ShownEditor window(false);
  if (!window.shows()) state.SkipWithError("no picture");
  for ([[maybe_unused]] auto _ : state) window.editor->idle();
}

/// What all other threads do for as long as a frame lasts: the one that draws wakes up for it.
void unchangedOpenGlFrame(benchmark::State& state) {
  constexpr auto kFrame = std::chrono::milliseconds(16);
  ShownEditor window(true);
  if (!window.shows()) state.SkipWithError("no picture");
  std::this_thread::sleep_for(kFrame * 10);
  for ([[maybe_unused]] auto _ : state) {
    const double all = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
    const double own = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
    window.editor->idle();
    std::this_thread::sleep_for(kFrame);
    const double ofThis = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - own;
    state.SetIterationTime(cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - all - ofThis);
  }
}

void firstPicture(benchmark::State& state, bool usesOpenGl) {
  ShownEditor window(usesOpenGl);
  for ([[maybe_unused]] auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    if (!window.shows()) state.SkipWithError("no picture");
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(passed.count());
    window.editor->close();
    if (!becomes([&] { return !window.isDrawn(); })) state.SkipWithError("it does not close");
  }
}

/// What hosts and automation move, shown at once.
void pushedValues(benchmark::State& state) {
  const Surface surface(state);
  float value = 0.0F;
  for ([[maybe_unused]] auto _ : state) {
    value = value > 0.5F ? 0.25F : 0.75F;
    for (std::int32_t id = 0; id < kNumParams; ++id) surface.editor->setParameter(id, value);
    surface.editor->idle();
  }
}

void layoutPass(benchmark::State& state) {
  Surface surface(state);
  for ([[maybe_unused]] auto _ : state) {
    surface.plug.editorState().layoutWanted = true;
    surface.editor->idle();
  }
}

// Threads of a driver in software work beside: what counts is the time that passes.
BENCHMARK_CAPTURE(openGlFrame, still, false)
    ->Arg(100)
    ->Arg(200)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(openGlFrame, playing, true)
    ->Arg(100)
    ->Arg(150)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(plainFrame)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(pushedValues)->Arg(100)->Unit(benchmark::kMicrosecond);
BENCHMARK(layoutPass)->Arg(100)->Unit(benchmark::kMicrosecond);
BENCHMARK(unchangedFrame)->Unit(benchmark::kMicrosecond);
BENCHMARK(unchangedOpenGlFrame)->Iterations(30)->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK_CAPTURE(firstPicture, openGl, true)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(firstPicture, plain, false)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

}  // namespace
