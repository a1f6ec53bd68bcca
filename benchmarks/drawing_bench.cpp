// What a page of all figures costs by both contexts, beside clearing it, and what texts cost when
// they are made. The argument is the scale in percent.

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

#include "graphs/opengl/cgl_context.h"
#include "platform/gl_context.h"
#include "platform/resources.h"
#include "tests/support/drawing_page.h"
#include "toolkit/plain_context.h"

namespace {

DrawingPage makePage() { return {Face::find("DSP-Bold"), Face::find("OpenSans-Regular")}; }

float scaleOf(const benchmark::State& state) { return static_cast<float>(state.range(0)) / 100; }

int scaled(int pixels, float scale) { return static_cast<int>(static_cast<float>(pixels) * scale); }

bool isDrawn(const std::uint32_t* pixels, int count) {
  return std::any_of(pixels, pixels + count, [](std::uint32_t it) { return (it & 255U) > 200U; });
}

void plainPage(benchmark::State& state, bool draws) {
  const float scale = scaleOf(state);
  const Held<CBitmap> picture = Held<CBitmap>::adopt(
      new CBitmap(scaled(DrawingPage::kWidth, scale), scaled(DrawingPage::kHeight, scale)));
  const DrawingPage page = makePage();
  PlainContext context(*picture);
  context.setScale(scale);
  page.draw(context);
  if (!isDrawn(picture->pixels(), picture->getWidth() * picture->getHeight())) {
    state.SkipWithError("nothing was drawn");
  }
  for ([[maybe_unused]] auto _ : state) {
    context.beginFrame();
    if (draws) page.draw(context);
  }
}

void openGlPage(benchmark::State& state, bool draws) {
  const float scale = scaleOf(state);
  const int width = scaled(DrawingPage::kWidth, scale);
  const int height = scaled(DrawingPage::kHeight, scale);
  const std::unique_ptr<GlContext> screen = GlContext::makeOffScreen(width, height, 0);
  if (screen == nullptr || !screen->makeCurrent()) {
    state.SkipWithError("there is no OpenGL");
    return;
  }
  {
    const DrawingPage page = makePage();
    CGLContext context;
    context.setScale(scale);
    const auto frame = [&] {
      context.beginFrame(width, height);
      if (draws) page.draw(context);
      context.endFrame();
      glFinish();
    };
    frame();
    std::vector<std::uint32_t> shown(static_cast<std::size_t>(width * height));
    glReadPixels(0, 0, width, height, GL_BGRA, GL_UNSIGNED_BYTE, shown.data());
    if (isDrawn(shown.data(), width * height) != draws) state.SkipWithError("the picture is wrong");
    for ([[maybe_unused]] auto _ : state) frame();
  }
  screen->release();
}

void atlas(benchmark::State& state) {
  const auto face = Face::find("DSP-Bold");
  const float size = 12 * scaleOf(state);
  if (BakedFont(face, size).width("0") <= 0) state.SkipWithError("no characters");
  for ([[maybe_unused]] auto _ : state) {
    const BakedFont font(face, size);
    benchmark::DoNotOptimize(font.atlas().pixels());
  }
}

// The first time that a text is drawn, and any other.
void label(benchmark::State& state, bool isKept) {
  const auto face = Face::find("DSP-Bold");
  const float size = 12 * scaleOf(state);
  StaticTextLabelCache cache([](const CBitmap& /*label*/) {});
  if (cache.find("Threshold", face, size).width <= 0) state.SkipWithError("no text");
  for ([[maybe_unused]] auto _ : state) {
    if (!isKept) cache.clear();
    benchmark::DoNotOptimize(cache.find("Threshold", face, size).picture.get());
  }
}

void readFace(benchmark::State& state) {
  const std::string_view bytes = findResource("TTF", "DSP-Bold");
  for ([[maybe_unused]] auto _ : state) {
    if (!Face::read(bytes)) state.SkipWithError("the face is damaged");
  }
}

BENCHMARK_CAPTURE(plainPage, cleared, false)->Arg(100)->Arg(200)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(plainPage, drawn, true)->Arg(100)->Arg(200)->Unit(benchmark::kMicrosecond);
// Threads of a driver in software work beside: what counts is the time that passes.
BENCHMARK_CAPTURE(openGlPage, cleared, false)
    ->Arg(100)
    ->Arg(200)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(openGlPage, drawn, true)
    ->Arg(100)
    ->Arg(200)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(atlas)->Arg(100)->Arg(200)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(label, made, false)->Arg(100)->Arg(200)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(label, kept, true)->Arg(100)->Unit(benchmark::kMicrosecond);
BENCHMARK(readFace)->Unit(benchmark::kMicrosecond);

}  // namespace
