#include "toolkit/bitmap.h"

#include <png.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <map>
#include <mutex>
#include <numbers>
#include <string>
#include <utility>

#include "platform/resources.h"
#include "toolkit/coverage.h"
#include "toolkit/pixels.h"

namespace {

constexpr png_uint_32 kLargestSide = 4096;

std::atomic<std::uint64_t> picturesMade{0};

struct LoadedPictures {
  std::mutex guard;
  std::map<std::pair<int, bool>, Held<CBitmap>> pictures;  // by number and scale
};
LoadedPictures& loadedPictures() {
  static LoadedPictures all;
  return all;
}

std::size_t pixelCount(int width, int height) {
  return static_cast<std::size_t>(std::max(width, 0)) *
         static_cast<std::size_t>(std::max(height, 0));
}

// Memory of one thread's shapes, so that drawing one allocates nothing after the first.
struct Scratch {
  Coverage coverage;
  std::vector<CPoint> outline;
  std::vector<CPoint> hole;
};
thread_local Scratch scratch;

CRect boundsOf(std::span<const CPoint> outline) {
  CRect bounds{outline[0].x, outline[0].y, outline[0].x, outline[0].y};
  for (const CPoint point : outline) {
    bounds = {std::min(bounds.left, point.x), std::min(bounds.top, point.y),
              std::max(bounds.right, point.x), std::max(bounds.bottom, point.y)};
  }
  return bounds;
}

// Part of a circle as points whose chords stay within a hundredth of a pixel of it.
void addArc(std::vector<CPoint>& outline, CPoint centre, float radius, float from, float to) {
  const float step = std::acos(1.0F - std::min(0.01F / std::max(radius, 0.01F), 1.0F)) * 2.0F;
  const int count = std::max(1, static_cast<int>(std::ceil(std::fabs(to - from) / step)));
  for (int i = 0; i <= count; ++i) {
    const float angle = from + (to - from) * static_cast<float>(i) / static_cast<float>(count);
    outline.push_back({centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
  }
}

void addCircle(std::vector<CPoint>& outline, CPoint centre, float radius, bool clockwise) {
  constexpr float kTurn = 2.0F * std::numbers::pi_v<float>;
  outline.clear();
  addArc(outline, centre, radius, 0.0F, clockwise ? kTurn : -kTurn);
}

void addRoundBox(std::vector<CPoint>& outline, const CRect& rect, float radius, bool roundTop,
                 bool roundBottom) {
  constexpr float kQuarter = std::numbers::pi_v<float> * 0.5F;
  const float most = std::min({radius, rect.width() * 0.5F, rect.height() * 0.5F});
  const float top = roundTop ? std::max(most, 0.0F) : 0.0F;
  const float bottom = roundBottom ? std::max(most, 0.0F) : 0.0F;
  outline.clear();
  addArc(outline, {rect.left + top, rect.top + top}, top, 2.0F * kQuarter, 3.0F * kQuarter);
  addArc(outline, {rect.right - top, rect.top + top}, top, 3.0F * kQuarter, 4.0F * kQuarter);
  addArc(outline, {rect.right - bottom, rect.bottom - bottom}, bottom, 0.0F, kQuarter);
  addArc(outline, {rect.left + bottom, rect.bottom - bottom}, bottom, kQuarter, 2.0F * kQuarter);
}

void paint(CBitmap& picture, Coverage& coverage, CColor colour, float alpha) {
  const std::uint32_t source = pixels::premultiplied(colour);
  const float most = std::clamp(alpha, 0.0F, 1.0F);
  for (int row = 0; row < coverage.height(); ++row) {
    std::uint32_t* pixel =
        picture.pixels() + pixelCount(picture.getWidth(), coverage.top() + row) + coverage.left();
    for (const float share : coverage.shares(row)) {
      const std::uint32_t weight = pixels::weightOf(share * most);
      if (weight != 0) *pixel = pixels::over(*pixel, pixels::scaled(source, weight));
      ++pixel;
    }
  }
}

}  // namespace

CBitmap::CBitmap(int width, int height)
    : columns(std::max(width, 0)),
      rows(std::max(height, 0)),
      data(pixelCount(width, height)),
      number(picturesMade.fetch_add(1, std::memory_order_relaxed)) {}

CBitmap::~CBitmap() = default;

Held<CBitmap> CBitmap::load(int resourceNumber, bool isDouble) {
  if (resourceNumber == 0) return {};
  LoadedPictures& loaded = loadedPictures();
  const std::lock_guard lock(loaded.guard);
  Held<CBitmap>& kept = loaded.pictures[{resourceNumber, isDouble}];
  if (!kept) {
    kept = decode(findResource("PNG", std::to_string(resourceNumber) + (isDouble ? "@2x" : "")));
  }
  return kept;
}

void CBitmap::giveUpLoaded() {
  LoadedPictures& loaded = loadedPictures();
  const std::lock_guard lock(loaded.guard);
  loaded.pictures.clear();
}

Held<CBitmap> CBitmap::decode(std::string_view png) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, png.data(), png.size()) == 0) return {};
  Held<CBitmap> bitmap;
  if (image.width <= kLargestSide && image.height <= kLargestSide) {
    image.format = PNG_FORMAT_BGRA;
    bitmap = Held<CBitmap>::adopt(
        new CBitmap(static_cast<int>(image.width), static_cast<int>(image.height)));
    if (png_image_finish_read(&image, nullptr, bitmap->pixels(), 0, nullptr) == 0) bitmap = {};
  }
  png_image_free(&image);
  if (!bitmap) return {};
  for (std::uint32_t& pixel : bitmap->data) {
    const std::uint32_t alpha = pixels::alphaOf(pixel);
    pixel = alpha << 24 | (pixels::scaled(pixel, alpha) & 0x00FFFFFFU);
  }
  return bitmap;
}

void CDIB::clear(CColor colour) {
  std::fill_n(pixels(), pixelCount(getWidth(), getHeight()), pixels::premultiplied(colour));
}

void CDIB::setPixel(int x, int y, CColor colour, float alpha) {
  if (x < 0 || y < 0 || x >= getWidth() || y >= getHeight()) return;
  std::uint32_t& pixel = pixels()[pixelCount(getWidth(), y) + static_cast<std::size_t>(x)];
  const std::uint32_t weight = pixels::weightOf(std::clamp(alpha, 0.0F, 1.0F));
  pixel = pixels::over(pixel, pixels::scaled(pixels::premultiplied(colour), weight));
}

void CDIB::box(const CRect& rect, CColor colour, float alpha) {
  if (rect.isEmpty()) return;
  const CPoint corners[] = {
      rect.topLeft(), {rect.right, rect.top}, {rect.right, rect.bottom}, {rect.left, rect.bottom}};
  polygon(corners, colour, alpha);
}

void CDIB::line(CPoint from, CPoint to, float width, CColor colour, float alpha) {
  const CPoint way = to - from;
  const float length = std::hypot(way.x, way.y);
  if (!(length > 0.0F)) return;
  const CPoint side{-way.y / length * width * 0.5F, way.x / length * width * 0.5F};
  const CPoint corners[] = {from + side, to + side, to - side, from - side};
  polygon(corners, colour, alpha);
}

void CDIB::disc(CPoint centre, float radius, CColor colour, float alpha) {
  addCircle(scratch.outline, centre, radius, true);
  polygon(scratch.outline, colour, alpha);
}

void CDIB::ring(CPoint centre, float radius, float width, CColor colour, float alpha) {
  addCircle(scratch.outline, centre, radius + width * 0.5F, true);
  scratch.coverage.begin(boundsOf(scratch.outline), getWidth(), getHeight());
  scratch.coverage.add(scratch.outline);
  if (radius > width * 0.5F) {
    addCircle(scratch.hole, centre, radius - width * 0.5F, false);
    scratch.coverage.add(scratch.hole);
  }
  paint(*this, scratch.coverage, colour, alpha);
}

void CDIB::roundBox(const CRect& rect, float radius, bool roundTop, bool roundBottom, CColor colour,
                    float alpha) {
  if (rect.isEmpty()) return;
  addRoundBox(scratch.outline, rect, radius, roundTop, roundBottom);
  polygon(scratch.outline, colour, alpha);
}

void CDIB::roundFrame(const CRect& rect, float radius, bool roundTop, bool roundBottom, float width,
                      CColor colour, float alpha) {
  if (rect.isEmpty()) return;
  addRoundBox(scratch.outline, rect, radius, roundTop, roundBottom);
  scratch.coverage.begin(boundsOf(scratch.outline), getWidth(), getHeight());
  scratch.coverage.add(scratch.outline);
  const CRect inner = rect.inset(width, width);
  if (!inner.isEmpty()) {
    addRoundBox(scratch.hole, inner, radius - width, roundTop, roundBottom);
    std::ranges::reverse(scratch.hole);
    scratch.coverage.add(scratch.hole);
  }
  paint(*this, scratch.coverage, colour, alpha);
}

void CDIB::polygon(std::span<const CPoint> outline, CColor colour, float alpha) {
  if (outline.size() < 3) return;
  scratch.coverage.begin(boundsOf(outline), getWidth(), getHeight());
  scratch.coverage.add(outline);
  paint(*this, scratch.coverage, colour, alpha);
}

void CDIB::blend(const CBitmap& other, int x, int y, CColor tint) {
  const std::uint32_t factor = pixels::premultiplied(tint);
  const bool isPlain = tint == kWhiteCColor;
  const int left = std::max(-x, 0);
  const int right = std::min(other.getWidth(), getWidth() - x);
  for (int row = std::max(-y, 0); row < std::min(other.getHeight(), getHeight() - y); ++row) {
    const std::uint32_t* const source = other.pixels() + pixelCount(other.getWidth(), row);
    std::uint32_t* const target = pixels() + pixelCount(getWidth(), y + row) + x;
    for (int column = left; column < right; ++column) {
      const std::uint32_t pixel = source[column];
      if (pixel == 0) continue;
      target[column] =
          pixels::over(target[column], isPlain ? pixel : pixels::tinted(pixel, factor));
    }
  }
}
