// What the editor's surface costs: a frame with everything drawn again, one in which nothing has
// changed, the way from `open` to the first picture, and what audio beside it feels of them. The
// argument is the scale in percent.

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <mutex>
#include <thread>

#include "benchmarks/callback_times.h"
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

constexpr int kWindowFrames = 735;  // of a picture, at 60 a second

/// Makes every band run and work: four split the signal, four lie on top.
void putBandsToWork(Plug& plug) {
  for (int band = 1; band < kNumBands; ++band) {
    plug.addBand(band < 4 ? kXoverList : kPostList, 60.0 * std::exp2(band));
  }
  for (int band = 0; band < kNumBands; ++band) {
    const auto set = [&](int row, float plain) {
      const int id = bandParameterId(band, row);
      plug.setParameter(id, plug.plainToNormalised(id, plain));
    };
    set(kB1SubType, static_cast<float>(band % 3));
    set(kB1Threshold, -48.0F);
    set(kB1Ratio, 0.6F);
  }
  plug.onIdle();
}

/// Stereo noise that goes through an effect.
class Noise {
 public:
  void playThrough(Plug& plug, int frames) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
      seed = seed * 1664525U + 1013904223U;
      left[i] = static_cast<float>(seed >> 8) / 16777216.0F - 0.5F;
      right[i] = 0.5F * left[i];
    }
    float* pins[] = {left.data(), right.data(), nullptr, nullptr};
    plug.processReplacing(pins, pins, frames);
  }

 private:
  std::array<float, kWindowFrames> left{};
  std::array<float, kWindowFrames> right{};
  std::uint32_t seed = 1;
};

/// What is drawn moves with each block.
struct PlayingSurface : Surface {
  explicit PlayingSurface(const benchmark::State& state) : Surface(state) {
    putBandsToWork(plug);
    play();
  }
  void play() {
    noise.playThrough(plug, kWindowFrames);
    editor->idle();
  }
  [[nodiscard]] bool works() const { return plug.getBandGain(7, 1, 0) < 1.0; }
  Noise noise;
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
    if (!surface.works()) state.SkipWithError("the last band does nothing");
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

/// Blocks as an audio interface asks for them, with the editor shown beside or closed.
void callbacks(benchmark::State& state, bool isShown) {
  constexpr int kFrames = 64;
  constexpr double kRate = 44100.0;
  const auto period = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(kFrames / kRate));
  ShownEditor window(true);
  putBandsToWork(window.plug);
  std::atomic<bool> isReady{!isShown};
  std::jthread messages;
  if (isShown) {
    messages = std::jthread([&](const std::stop_token& end) {
      isReady = window.shows();
      while (!end.stop_requested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        window.plug.onIdle();
        window.editor->idle();
      }
      window.editor->close();
    });
  }
  if (!becomes([&] { return isReady.load(); })) state.SkipWithError("no picture");
  Noise noise;
  CallbackTimes times(kFrames);
  auto next = std::chrono::steady_clock::now();
  const double before = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
  for ([[maybe_unused]] auto _ : state) {
    times.time([&] { noise.playThrough(window.plug, kFrames); });
    std::this_thread::sleep_until(next += period);
  }
  times.report(state, kFrames, kRate);
  const double passed = static_cast<double>(state.iterations()) * kFrames / kRate;
  state.counters["% of core, all"] = (cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - before) / passed * 100;
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
BENCHMARK_CAPTURE(callbacks, editorClosed, false)->Iterations(1000)->UseRealTime();
BENCHMARK_CAPTURE(callbacks, editorShown, true)->Iterations(1000)->UseRealTime();
BENCHMARK_CAPTURE(firstPicture, openGl, true)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(firstPicture, plain, false)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

}  // namespace
