#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "graphs/opengl/texture_store.h"
#include "toolkit/draw_context.h"

/// Draws through OpenGL 1.x, fixed function. Figures are gathered and sent in one call for as long
/// as they can be drawn from one texture, and those without a picture from any page of small ones.
///
/// Threads: the one that has the OpenGL context current, for all but `forgetBitmap`, which only
/// needs the frame's lock. The OpenGL context is current in the destructor, too, which deletes the
/// textures.
class CGLContext : public CDrawContext {
 public:
  CGLContext();
  ~CGLContext() override;

  /// Starts a frame of this size in device pixels, opaque black, y down. `below`: rows of what is
  /// drawn to that lie under it; below 0 where it has fewer than the frame.
  void beginFrame(int width, int height, int below = 0);
  /// Sends what has been gathered.
  void endFrame();

  /// Its texture is deleted with the next frame.
  void forgetBitmap(const CBitmap& bitmap) override;

 private:
  /// As the arrays of OpenGL have it.
  struct Corner {
    float x, y, u, v;
    std::uint8_t red, green, blue, alpha;
  };
  /// What all that is gathered has in common.
  struct Common {
    unsigned texture = 0;  // 0: none
    bool isPage = false;
    bool isBlended = true;
    bool operator==(const Common&) const = default;
  };

  void putStrip(std::span<const CVertex> strip) override;
  void putPolygon(std::span<const CPoint> outline, CColor colour) override;
  void putQuads(const CBitmap& bitmap, std::span<const DeviceQuad> quads, CColor tint) override;

  void clear(CColor colour);
  void gather(const Common& wanted);
  void gatherWithoutPicture();
  void addIndices(std::uint32_t first, std::uint32_t second, std::uint32_t third);
  void flush();

  TextureStore textures;
  CRect whole;
  Common common;
  std::vector<Corner> corners;
  std::vector<std::uint32_t> indices;
};
