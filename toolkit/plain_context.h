#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "toolkit/bitmap.h"
#include "toolkit/draw_context.h"

/// Draws to pixels in memory, where there is no OpenGL: opaque boxes through cairo, all else by
/// loops of its own, which decide for each pixel's middle as OpenGL does, so that both show the
/// same, and which for many small ones are faster. Opaque black underneath.
class PlainContext : public CDrawContext {
 public:
  /// `target` outlives it or the next call of `setTarget`.
  explicit PlainContext(CBitmap& target);
  ~PlainContext() override;

  /// After a change of size.
  void setTarget(CBitmap& target);
  /// Starts a picture. Of one that is there only `damage`, in device pixels, is drawn anew; without
  /// any all of it.
  void beginFrame(std::span<const CRect> damage = {});

 private:
  /// Whole pixels; `right` and `bottom` lie outside.
  struct Area {
    int left, top, right, bottom;
  };
  struct Cairo;

  void putStrip(std::span<const CVertex> corners) override;
  void putPolygon(std::span<const CPoint> corners, CColor colour) override;
  void putQuads(const CBitmap& bitmap, std::span<const DeviceQuad> quads, CColor tint) override;

  void putTriangle(const CVertex& a, const CVertex& b, const CVertex& c);
  void putQuad(const CBitmap& bitmap, const DeviceQuad& quad, std::uint32_t tint, Area area);

  CBitmap* picture = nullptr;
  std::unique_ptr<Cairo> cairo;
  std::vector<Area> areas;  // what may be drawn to
};
