#include "graphs/opengl/cgl_context.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "toolkit/pixels.h"

namespace {

constexpr std::size_t kMostCorners = 60000;
// Pixels from which on a call of its own costs less than texture and blending do: some 20 us with
// a driver in software.
constexpr float kLargeArea = 16000.0F;

struct Premultiplied {
  std::uint8_t red, green, blue, alpha;
};

// Blending takes all colours for premultiplied.
Premultiplied premultiplied(CColor colour) {
  const std::uint32_t pixel = pixels::premultiplied(colour);
  return {static_cast<std::uint8_t>(pixel >> 16), static_cast<std::uint8_t>(pixel >> 8),
          static_cast<std::uint8_t>(pixel), static_cast<std::uint8_t>(pixel >> 24)};
}

void enable(GLenum what, bool on) {
  if (on) {
    glEnable(what);
  } else {
    glDisable(what);
  }
}

}  // namespace

CGLContext::CGLContext() : textures([this] { flush(); }) {}

CGLContext::~CGLContext() = default;

void CGLContext::beginFrame(int width, int height, int below) {
  textures.deleteForgotten();
  whole = {0.0F, 0.0F, static_cast<float>(width), static_cast<float>(height)};
  glViewport(0, below, width, height);
  clear(kBlackCColor);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, width, height, 0.0, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  glTexEnvf(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
}

void CGLContext::endFrame() { flush(); }

void CGLContext::clear(CColor colour) {
  corners.clear();
  indices.clear();
  glClearColor(static_cast<float>(colour.red) / 255.0F, static_cast<float>(colour.green) / 255.0F,
               static_cast<float>(colour.blue) / 255.0F, 1.0F);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void CGLContext::forgetBitmap(const CBitmap& bitmap) { textures.forget(bitmap); }

void CGLContext::gather(const Common& wanted) {
  if (wanted == common && corners.size() < kMostCorners) return;
  flush();
  common = wanted;
}

void CGLContext::gatherWithoutPicture() {
  const bool goesOn = common.isPage && common.isBlended;
  gather(goesOn ? common : Common{textures.whitePage(), true, true});
}

void CGLContext::addIndices(std::uint32_t first, std::uint32_t second, std::uint32_t third) {
  indices.push_back(first);
  indices.push_back(second);
  indices.push_back(third);
}

void CGLContext::putStrip(std::span<const CVertex> strip) {
  gatherWithoutPicture();
  const auto start = static_cast<std::uint32_t>(corners.size());
  for (const auto& [at, colour] : strip) {
    const auto [red, green, blue, alpha] = premultiplied(colour);
    corners.push_back({at.x, at.y, 0.0F, 0.0F, red, green, blue, alpha});
  }
  for (std::uint32_t i = 2; i < strip.size(); ++i) {
    addIndices(start + i - 2, start + i - 1, start + i);
  }
}

void CGLContext::putPolygon(std::span<const CPoint> outline, CColor colour) {
  const bool isOpaque = colour.alpha == 255;
  const CPoint across = outline[2] - outline[0];
  const CPoint everything[] = {
      whole.topLeft(), {whole.right, whole.top}, {whole.right, whole.bottom}, {0.0F, whole.bottom}};
  if (isOpaque && std::ranges::equal(outline, everything)) {
    // Nothing of what came before is seen, and a driver clears faster than it draws.
    clear(colour);
    return;
  }
  if (std::fabs(across.x * across.y) < kLargeArea) {
    gatherWithoutPicture();
  } else {
    gather({0, false, !isOpaque});
  }
  const auto start = static_cast<std::uint32_t>(corners.size());
  const auto [red, green, blue, alpha] = premultiplied(colour);
  for (const CPoint at : outline) {
    corners.push_back({at.x, at.y, 0.0F, 0.0F, red, green, blue, alpha});
  }
  for (std::uint32_t i = 2; i < outline.size(); ++i) addIndices(start, start + i - 1, start + i);
}

void CGLContext::putQuads(const CBitmap& bitmap, std::span<const DeviceQuad> quads, CColor tint) {
  if (bitmap.isEmpty() || tint.alpha == 0) return;
  const TextureStore::Place place = textures.find(bitmap);
  gather({place.texture, place.isOnPage, true});
  const auto [red, green, blue, alpha] = premultiplied(tint);
  for (const auto& [source, target] : quads) {
    const auto start = static_cast<std::uint32_t>(corners.size());
    const float left = place.u + source.left * place.perColumn;
    const float right = place.u + source.right * place.perColumn;
    const float top = place.v + source.top * place.perRow;
    const float bottom = place.v + source.bottom * place.perRow;
    corners.push_back({target.left, target.top, left, top, red, green, blue, alpha});
    corners.push_back({target.right, target.top, right, top, red, green, blue, alpha});
    corners.push_back({target.right, target.bottom, right, bottom, red, green, blue, alpha});
    corners.push_back({target.left, target.bottom, left, bottom, red, green, blue, alpha});
    addIndices(start, start + 1, start + 2);
    addIndices(start, start + 2, start + 3);
  }
}

void CGLContext::flush() {
  if (indices.empty()) return;
  const bool isTextured = common.texture != 0;
  enable(GL_BLEND, common.isBlended);
  enable(GL_TEXTURE_2D, isTextured);
  // Large areas have one colour each.
  glShadeModel(isTextured ? GL_SMOOTH : GL_FLAT);
  if (isTextured) {
    glBindTexture(GL_TEXTURE_2D, common.texture);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(2, GL_FLOAT, sizeof(Corner), &corners[0].u);
  }
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_COLOR_ARRAY);
  glVertexPointer(2, GL_FLOAT, sizeof(Corner), &corners[0].x);
  glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(Corner), &corners[0].red);
  glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices.size()), GL_UNSIGNED_INT,
                 indices.data());
  glDisableClientState(GL_COLOR_ARRAY);
  glDisableClientState(GL_VERTEX_ARRAY);
  if (isTextured) glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  corners.clear();
  indices.clear();
}
