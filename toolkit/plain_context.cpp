#include "toolkit/plain_context.h"

#include <cairo/cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "toolkit/pixels.h"
#include "toolkit/triangle.h"

namespace {

std::uint32_t pixelOf(const std::array<float, 4>& channels) {
  std::uint32_t pixel = 0;
  for (std::size_t k = 0; k < 4; ++k) {
    const float value = std::clamp(channels[k], 0.0F, 255.0F) + 0.5F;
    pixel |= static_cast<std::uint32_t>(value) << (8 * k);
  }
  return pixel;
}

std::uint32_t* rowOf(CBitmap& picture, int y) {
  return picture.pixels() + static_cast<std::ptrdiff_t>(y) * picture.getWidth();
}

const std::uint32_t* rowOf(const CBitmap& picture, int y) {
  return picture.pixels() + static_cast<std::ptrdiff_t>(y) * picture.getWidth();
}

}  // namespace

struct PlainContext::Cairo {
  struct SurfaceEnd {
    void operator()(cairo_surface_t* ending) const { cairo_surface_destroy(ending); }
  };
  struct ContextEnd {
    void operator()(cairo_t* ending) const { cairo_destroy(ending); }
  };
  std::unique_ptr<cairo_surface_t, SurfaceEnd> surface;
  std::unique_ptr<cairo_t, ContextEnd> context;
};

PlainContext::PlainContext(CBitmap& target) : cairo(std::make_unique<Cairo>()) {
  setTarget(target);
}

PlainContext::~PlainContext() = default;

void PlainContext::setTarget(CBitmap& target) {
  picture = &target;
  cairo->surface.reset(cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(target.pixels()), CAIRO_FORMAT_ARGB32, target.getWidth(),
      target.getHeight(), target.getStride()));
  cairo->context.reset(cairo_create(cairo->surface.get()));
  cairo_set_antialias(cairo->context.get(), CAIRO_ANTIALIAS_NONE);
  beginFrame();
}

void PlainContext::beginFrame(std::span<const CRect> damage) {
  const CRect whole{0.0F, 0.0F, static_cast<float>(picture->getWidth()),
                    static_cast<float>(picture->getHeight())};
  cairo_t* const context = cairo->context.get();
  cairo_reset_clip(context);
  areas.clear();
  for (const CRect& rect : damage.empty() ? std::span(&whole, 1) : damage) {
    const CRect cut = rect.cutTo(whole);
    if (cut.isEmpty()) continue;
    const Area area{static_cast<int>(std::floor(cut.left)), static_cast<int>(std::floor(cut.top)),
                    static_cast<int>(std::ceil(cut.right)),
                    static_cast<int>(std::ceil(cut.bottom))};
    areas.push_back(area);
    cairo_rectangle(context, area.left, area.top, area.right - area.left, area.bottom - area.top);
    for (int y = area.top; y < area.bottom; ++y) {
      std::fill_n(rowOf(*picture, y) + area.left, area.right - area.left, 0xFF000000U);
    }
  }
  cairo_clip(context);
}

void PlainContext::putPolygon(std::span<const CPoint> corners, CColor colour) {
  const bool isBox = corners.size() == 4 && corners[0].y == corners[1].y &&
                     corners[1].x == corners[2].x && corners[2].y == corners[3].y &&
                     corners[3].x == corners[0].x;
  // For each translucent box cairo asks the heap.
  if (!isBox || colour.alpha < 255) {
    for (std::size_t i = 2; i < corners.size(); ++i) {
      putTriangle({corners[0], colour}, {corners[i - 1], colour}, {corners[i], colour});
    }
    return;
  }
  cairo_t* const context = cairo->context.get();
  cairo_surface_mark_dirty(cairo->surface.get());
  cairo_set_source_rgb(context, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0);
  cairo_rectangle(context, static_cast<double>(corners[0].x), static_cast<double>(corners[0].y),
                  static_cast<double>(corners[2].x - corners[0].x),
                  static_cast<double>(corners[2].y - corners[0].y));
  cairo_fill(context);
  cairo_surface_flush(cairo->surface.get());
}

void PlainContext::putStrip(std::span<const CVertex> corners) {
  for (std::size_t i = 2; i < corners.size(); ++i) {
    putTriangle(corners[i - 2], corners[i - 1], corners[i]);
  }
}

void PlainContext::putTriangle(const CVertex& a, const CVertex& b, const CVertex& c) {
  const Triangle triangle(a, b, c);
  if (triangle.isEmpty()) return;
  const std::uint32_t flat = pixels::premultiplied(a.colour);
  for (const Area& area : areas) {
    const int lastRow = std::min(triangle.lastRow(), area.bottom - 1);
    for (int y = std::max(triangle.firstRow(), area.top); y <= lastRow; ++y) {
      int left = area.left;
      int right = area.right;
      triangle.cut(y, left, right);
      if (left >= right) continue;
      std::uint32_t* const row = rowOf(*picture, y);
      if (triangle.hasOneColour()) {
        for (int x = left; x < right; ++x) row[x] = pixels::over(row[x], flat);
        continue;
      }
      std::array<float, 4> channels = triangle.colourAt(left, y);
      for (int x = left; x < right; ++x) {
        row[x] = pixels::over(row[x], pixelOf(channels));
        for (std::size_t k = 0; k < 4; ++k) channels[k] += triangle.colourStep()[k];
      }
    }
  }
}

void PlainContext::putQuads(const CBitmap& bitmap, std::span<const DeviceQuad> quads, CColor tint) {
  if (bitmap.isEmpty() || tint.alpha == 0) return;
  const std::uint32_t factor = pixels::premultiplied(tint);
  for (const DeviceQuad& quad : quads) {
    const Area place{static_cast<int>(quad.target.left), static_cast<int>(quad.target.top),
                     static_cast<int>(quad.target.right), static_cast<int>(quad.target.bottom)};
    for (const Area& area : areas) {
      const Area cut{std::max(place.left, area.left), std::max(place.top, area.top),
                     std::min(place.right, area.right), std::min(place.bottom, area.bottom)};
      if (cut.left < cut.right && cut.top < cut.bottom) putQuad(bitmap, quad, factor, cut);
    }
  }
}

// The pixel of the source that the middle of each of the target's falls into.
void PlainContext::putQuad(const CBitmap& bitmap, const DeviceQuad& quad, std::uint32_t tint,
                           Area area) {
  constexpr std::uint32_t kNoTint = 0xFFFFFFFFU;
  const float perColumn = quad.source.width() / quad.target.width();
  const float perRow = quad.source.height() / quad.target.height();
  const int rightmost = bitmap.getWidth() - 1;
  for (int y = area.top; y < area.bottom; ++y) {
    const float down = static_cast<float>(y) + 0.5F - quad.target.top;
    const int sourceY = static_cast<int>(quad.source.top + down * perRow);
    const std::uint32_t* const from = rowOf(bitmap, std::clamp(sourceY, 0, bitmap.getHeight() - 1));
    std::uint32_t* const to = rowOf(*picture, y);
    for (int x = area.left; x < area.right; ++x) {
      const float along = static_cast<float>(x) + 0.5F - quad.target.left;
      const int sourceX = static_cast<int>(quad.source.left + along * perColumn);
      const std::uint32_t pixel = from[std::clamp(sourceX, 0, rightmost)];
      if (pixel == 0) continue;
      to[x] = pixels::over(to[x], tint == kNoTint ? pixel : pixels::tinted(pixel, tint));
    }
  }
}
